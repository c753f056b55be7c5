#pragma once

#include <string>

#include "monitor/health/health_status.h"
#include "platform/device_centre.h"

namespace monitoring::health {

/// Reads what a device tells of its health into `status`; its wireless figures only when it has a wireless side.
///
/// Asks the event centre for the open notifications. Logs each neighbouring access point at debug level.
void ReadDevice(const std::string& mac, const Device& device, HealthStatus& status);

}  // namespace monitoring::health
