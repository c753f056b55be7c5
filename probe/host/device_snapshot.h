#pragma once

#include <cstdint>
#include <ctime>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/configuration.h"
#include "platform/device_records.h"
#include "platform/event_centre.h"
#include "probe/host/device_details.h"

namespace probe {

/// Everything that is known about one device at one moment. A source replaces it as a whole; nobody
/// changes it in place.
///
/// A fresh snapshot is that of a device which is there and has told nothing.
struct DeviceSnapshot {
  bool online = true;        ///< Listed among the online managed devices.
  bool known = true;         ///< The device manager gives a `Device` for it; false: listed, but unknown.
  bool driver = true;        ///< A driver serves it.
  bool is_wireless = false;  ///< That driver's answer to the wireless query.

  /// Nothing: `GetDevicesBasicInfo` leaves the device out, and `Device::basic_info` gives an empty record.
  std::optional<vexora_probe::models::controller::BasicInfo> basic_info = vexora_probe::models::controller::BasicInfo{};
  std::optional<vexora_probe::models::controller::PlatformInfo> platform_info;

  std::optional<time_t> sample_time;  ///< When the interfaces were read; nothing: at the time of the call.
  vexora_probe::models::controller::InterfaceStates interfaces;

  std::optional<time_t> polling_time;  ///< When the SSID interfaces' counters were read; nothing: as above.
  std::map<std::string, vexora_probe::models::controller::SSIDIfState> ssid_interfaces;
  std::map<std::string, vexora_probe::models::controller::RadioIfState> radios;
  std::map<std::string, vexora_probe::models::controller::PortalUser> portal_users;
  std::list<vexora_probe::models::controller::NeighboringAP> neighbours;

  std::int32_t cpu = 0;           ///< Percent.
  std::int32_t uptime = 0;        ///< Seconds.
  std::int32_t health_level = 0;  ///< As in `HealthState`.
  vexora_probe::evcenter::Summary notifications;
  std::string credential_json;  ///< Text of a JSON object; empty when there is nothing to tell.
  SSIDConfigurations ssid_config;
  DeviceDetails details;  ///< Beside what the contract carries.
};

/// MAC -> what was last known of the device. No null pointers.
using LastSnapshots = std::map<std::string, std::shared_ptr<const DeviceSnapshot>>;

}  // namespace probe
