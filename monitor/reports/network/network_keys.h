#pragma once

#include <string>

#include "monitor/reports/network/network_records.h"

/// The text keys under which the wireless network report files things.
namespace vexora_probe::monitor {

/// The whole minutes since the epoch, in decimal: the key of a sample. Compared as a text.
std::string MinuteKey(long time);

/// Name, security mode and guest flag of a network, joined by "|". The name may hold "|" itself.
std::string SSIDKey(const std::string& name, models::controller::SecModeType mode, bool guest);

/// The same, and the band that the network is on.
std::string SSIDKeyWithRadio(const NetworksAttr& network);

/// Sets `out` to `ssid_key` as far as its last "|"; leaves it as it was when there is none. Logged at debug level.
void RemoveRadioTypeFromSSIDKey(const std::string& ssid_key, std::string& out);

/// Takes an SSID key without band apart, from its right end; logged at debug level.
///
/// Fails: false for a key with less than two "|"; `guest` may have been set then.
bool GetAttributeFromKey(const std::string& ssid_key, std::string& name, models::controller::SecModeType& mode,
                         bool& guest);

/// Takes a week key apart into its first and its last day; logged at debug level, a failure at error level.
bool GetStartEndTimeOfWeek(const std::string& week, std::string& start, std::string& end);

}  // namespace vexora_probe::monitor
