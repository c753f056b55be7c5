#pragma once

#include <string>

#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_records.h"
#include "platform/device_records.h"

/// The text keys of samples and networks.
namespace vexora_probe::monitor {

/// The whole minutes since the epoch, in decimal: the key of a sample. Compared as a text.
std::string MinuteKey(long time);

/// Name, security mode and guest flag of a network, joined by "|". The name may hold "|" itself.
std::string SSIDKey(const std::string& name, models::controller::SecModeType mode, bool guest);

/// An SSID key, and the band that the network is on.
std::string SSIDKeyWithRadio(const std::string& ssid_key, const std::string& radio_type);
std::string SSIDKeyWithRadio(const NetworksAttr& network);

/// Sets `out` to `ssid_key` up to its last "|"; leaves it unchanged when there is none. Logged at debug level.
void RemoveRadioTypeFromSSIDKey(const std::string& ssid_key, const HostFunctions& host, std::string& out);

/// Splits an SSID key without band into its parts, from its right end; logged at debug level.
///
/// Fails: false for a key with less than two "|"; `guest` may have been set then.
bool GetAttributeFromKey(const std::string& ssid_key, const HostFunctions& host, std::string& name,
                         models::controller::SecModeType& mode, bool& guest);

}  // namespace vexora_probe::monitor
