#pragma once

#include <cstdint>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/health/health_status.h"
#include "platform/event_centre.h"

namespace monitoring::health {

/// The open notifications as `{"alert", "warning", "info"}`. Null when there is no memory for it.
JsonTree GenerateLevelJson(const vexora_probe::evcenter::Summary& summary);

/// What every device shows: who it is, CPU, uptime, class and notifications. `status` is graded.
JsonTree DeviceObject(const std::string& mac, const HealthStatus& status);

/// Adds what a wireless device shows in addition: clients and untrusted neighbours.
void AddWireless(const JsonTree& device, const HealthStatus& status);

/// Adds the host's judgement of the device, as it is shown.
void AddLevel(const JsonTree& device, std::int32_t level);

}  // namespace monitoring::health
