#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/device_centre.h"
#include "platform/device_records.h"

namespace monitoring::wirelesstop {

/// A wireless network that a device carries.
struct Network {
  const vexora_probe::models::controller::SSIDIfState* state = nullptr;
  std::vector<std::string> client_macs;  ///< Formatted, in the order of the clients.
};

/// Those of one reading, which stays as long as they do.
struct Networks {
  std::shared_ptr<const vexora_probe::models::controller::SSIDInterfaceStates> reading;
  std::vector<Network> named;
};

/// The wireless networks that a device carries at present: its SSID interfaces that have a name, in the order of the
/// interfaces' names. Each interface is logged at debug level, also a nameless one.
Networks ReadNetworks(const std::string& mac, const Device& device);

}  // namespace monitoring::wirelesstop
