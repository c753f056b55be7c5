#pragma once

#include <map>
#include <string>
#include <vector>

#include "monitor/reports/network/network_records.h"
#include "platform/configuration.h"
#include "platform/device_centre.h"

/// Asks the host for the data of the wireless network report. Called without the report's lock.
///
/// `mac`: that under which the host lists the device. Nothing else need be known of the device.
namespace vexora_probe::monitor {

/// One sample of every SSID interface of a device that has a name, statistics, a known band, and a configuration among
/// `configurations`. An interface that lacks one of them is logged and left out.
std::vector<Networks> ReadSSIDs(const std::string& mac, const Device& device, const SSIDConfigurations& configurations);

/// What the device heard in its latest scan. The records of the entries are new: first and last seen now.
Scan ReadScan(const std::string& mac, const Device& device);

/// The SSID configurations of a device, whatever its type. Empty when nothing is known of the device.
SSIDConfigurations ReadConfigurations(const std::string& mac);

/// Name, model and firmware of an access point, in an otherwise empty description.
using AccessPointInfos = std::map<std::string, NetworksAttr>;

/// What the host knows of these access points, by MAC. One of which it has no basic information is left out; model and
/// firmware are empty where it has no platform information.
AccessPointInfos ReadAccessPointInfos(const std::vector<std::string>& macs);

}  // namespace vexora_probe::monitor
