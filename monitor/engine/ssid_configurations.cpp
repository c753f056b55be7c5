#include "monitor/engine/ssid_configurations.h"

#include <memory>

namespace monitoring {
namespace {

using vexora_probe::models::controller::DeviceType;
using vexora_probe::models::controller::SSIDCfg;

template <typename Configuration>
SSIDConfigurations ConfigurationsIn(const std::shared_ptr<Configuration>& device) {
  SSIDConfigurations configurations;
  if (device != nullptr) device->GetSSIDCfg(configurations);
  return configurations;
}

}  // namespace

SSIDConfigurations ConfigurationsOf(const std::string& mac, DeviceType type) {
  switch (type) {
    case DeviceType::kAccessPoint:
      return ConfigurationsIn(APManager::GetInstance().GetAPConfig(mac));
    case DeviceType::kRouter:
      return ConfigurationsIn(RouterManager::GetInstance().GetRouterConfig(mac));
    // A switch carries no SSID, and no manager has the configuration of an unknown type.
    default:
      return {};
  }
}

const SSIDCfg* ConfigurationFor(const SSIDConfigurations& configurations, const std::string& ssid,
                                const std::string& radio) {
  auto found = configurations.find(ssid + "@" + radio);
  if (found == configurations.end()) found = configurations.find(ssid + "@BOTH");
  return found == configurations.end() ? nullptr : &found->second;
}

}  // namespace monitoring
