#pragma once

#include "monitor/clientcount/client_count_records.h"
#include "platform/device_centre.h"

namespace monitoring::clientcount {

/// The clients of each SSID interface of a device. Empty when it reports no SSID interface.
InterfaceClients ReadClients(const Device& device);

}  // namespace monitoring::clientcount
