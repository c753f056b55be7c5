#pragma once

#include <cstdint>
#include <ctime>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "monitor/engine/ssid_configurations.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"
#include "platform/configuration.h"
#include "platform/device_centre.h"
#include "platform/device_records.h"

/// Asks the host for the data of the wireless network report. Called without the report's lock.
///
/// `mac`: that under which the host lists the device. Nothing else need be known of the device.
namespace vexora_probe::monitor {

/// What a device tells of one of its SSID interfaces.
struct NetworkReading {
  std::string name;  ///< The SSID.
  models::controller::SecModeType security_mode = models::controller::SecModeType::kNone;
  bool is_guest = false;
  models::controller::WIFIBandType band = models::controller::WIFIBandType::kUnknown;
  std::uint32_t clients = 0;
  CounterReading counters;
};

/// A reading of every SSID interface of a device that has a name, statistics, a known band, and a configuration among
/// `configurations`. An interface that lacks one of them is logged and left out.
std::vector<NetworkReading> ReadSSIDs(const std::string& mac, const Device& device,
                                      const SSIDConfigurations& configurations);

/// A reading as a sample.
Networks SampleOf(const std::string& mac, const NetworkReading& reading);

/// What a device heard in its latest scan.
struct Hearing {
  std::string mac;                                     ///< Of the device.
  std::string hostname;                                ///< Its host name.
  time_t time = 0;                                     ///< When the host was asked, seconds since the epoch.
  std::list<models::controller::NeighboringAP> heard;  ///< In the order of the scan.
};

Hearing ReadScan(const std::string& mac, const Device& device);

/// The access point that an entry of a scan is of, first and last seen in this scan.
RogueAPs RogueOf(const Hearing& hearing, const models::controller::NeighboringAP& heard);

/// A scan with a record for each entry.
Scan ScanOf(const Hearing& hearing);

/// The SSID configurations of a device, whatever its type. Empty when nothing is known of the device.
monitoring::SharedConfigurations ReadConfigurations(const std::string& mac);

/// Fills the name, model and firmware of an access point in an otherwise empty description; model and firmware stay
/// empty where the host has no platform information.
///
/// Fails: false when the host has no basic information of it.
bool ReadAccessPointInfo(const std::string& mac, NetworksAttr& info);

}  // namespace vexora_probe::monitor
