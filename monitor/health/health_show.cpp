#include "monitor/health/health_show.h"

#include <utility>

#include "monitor/engine/json_keys.h"

namespace monitoring::health {
namespace {

/// A value with its level.
JsonTree Figure(JsonTree value, std::int32_t level) {
  JsonTree figure = NewObject();
  Add(figure, json_key::kValue, std::move(value));
  Add(figure, json_key::kLevel, NewInteger(level));
  return figure;
}

}  // namespace

JsonTree GenerateLevelJson(const vexora_probe::evcenter::Summary& summary) {
  JsonTree object = NewObject();
  Add(object, json_key::kAlert, NewInteger(summary.alert));
  Add(object, json_key::kWarning, NewInteger(summary.warning));
  Add(object, json_key::kInfo, NewInteger(summary.info));
  return object;
}

JsonTree DeviceObject(const std::string& mac, const HealthStatus& status) {
  JsonTree device = NewObject();
  Add(device, json_key::kDevice, NewText(mac));
  Add(device, json_key::kHostname, NewText(status.hostname));
  Add(device, json_key::kActualCpu, Figure(NewReal(status.cpu), status.cpu_level));
  Add(device, json_key::kUptime, Figure(NewInteger(status.uptime), status.uptime_level));
  Add(device, json_key::kDeviceclass, NewText(status.deviceclass));
  Add(device, json_key::kNotification,
      GenerateLevelJson({.info = status.info, .warning = status.warning, .alert = status.alert}));
  return device;
}

void AddWireless(const JsonTree& device, const HealthStatus& status) {
  Add(device, json_key::kClients, Figure(NewInteger(status.clients), status.clients_level));
  Add(device, json_key::kRogueAps, Figure(NewInteger(status.rogue_aps), status.rogue_aps_level));
}

void AddLevel(const JsonTree& device, std::int32_t level) {
  Add(device, json_key::kLevel, NewInteger(level));
}

}  // namespace monitoring::health
