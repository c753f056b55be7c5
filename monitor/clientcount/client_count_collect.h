#pragma once

#include <vector>

#include "monitor/clientcount/client_count_records.h"
#include "platform/device_centre.h"

namespace monitoring::clientcount {

/// The SSID interfaces of a device, in the order of their names. Empty when it reports none.
std::vector<InterfaceClients> ReadClients(const Device& device);

}  // namespace monitoring::clientcount
