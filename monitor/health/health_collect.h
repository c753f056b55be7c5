#pragma once

#include <string>

#include "monitor/health/health_status.h"
#include "platform/device_centre.h"

namespace monitoring::health {

/// Reads a device's health into `status`: its wireless figures only when it has a wireless side, and its open
/// notifications, for which the event centre is asked. Each neighbouring access point is logged at debug level.
void ReadDevice(const std::string& mac, const Device& device, HealthStatus& status);

}  // namespace monitoring::health
