#pragma once

#include <cstdint>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/health/health_status.h"
#include "platform/event_centre.h"

namespace monitoring::health {

/// The open notifications as `{"alert", "warning", "info"}`. Null when there is no memory for it.
JsonTree GenerateLevelJson(const vexora_probe::evcenter::Summary& summary);

/// One device of a message: MAC, host name, CPU, uptime, class and notifications. `status` is graded.
JsonTree DeviceObject(const std::string& mac, const HealthStatus& status);

/// Adds what a wireless device has in addition: clients and rogue access points. `status` is graded.
void AddWireless(const JsonTree& device, const HealthStatus& status);

/// Adds the host's own level of the device, as `ShownLevel` gives it.
void AddLevel(const JsonTree& device, std::int32_t level);

}  // namespace monitoring::health
