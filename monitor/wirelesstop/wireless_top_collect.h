#pragma once

#include <string>
#include <vector>

#include "platform/device_centre.h"

namespace monitoring::wirelesstop {

/// The wireless networks that a device carries at present: its SSID interfaces that have a name, in the order of the
/// interfaces' names, with the clients' MACs formatted. Each interface is logged at debug level, also a nameless one.
std::vector<vexora_probe::models::controller::SSIDIfState> ReadNetworks(const std::string& mac, const Device& device);

}  // namespace monitoring::wirelesstop
