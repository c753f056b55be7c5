#include "monitor/engine/ssid_configurations.h"

#include <memory>

namespace monitoring {
namespace {

using vexora_probe::models::controller::DeviceType;
using vexora_probe::models::controller::SSIDCfg;

template <typename Configuration>
SharedConfigurations ConfigurationsIn(const std::shared_ptr<Configuration>& device) {
  return device == nullptr ? NoConfigurations() : device->SharedSSIDCfg();
}

}  // namespace

SharedConfigurations NoConfigurations() {
  static const auto none = std::make_shared<const SSIDConfigurations>();
  return none;
}

SharedConfigurations ConfigurationsOf(const std::string& mac, DeviceType type) {
  switch (type) {
    case DeviceType::kAccessPoint:
      return ConfigurationsIn(APManager::GetInstance().GetAPConfig(mac));
    case DeviceType::kRouter:
      return ConfigurationsIn(RouterManager::GetInstance().GetRouterConfig(mac));
    // A switch carries no SSID, and no manager has the configuration of an unknown type.
    default:
      return NoConfigurations();
  }
}

const SSIDCfg* ConfigurationFor(const SSIDConfigurations& configurations, const std::string& ssid,
                                const std::string& radio) {
  // The keys that begin with the SSID stand together, and are few.
  const std::string start = ssid + "@";
  const SSIDCfg* of_both = nullptr;
  for (auto found = configurations.lower_bound(start); found != configurations.end(); ++found) {
    const std::string& key = found->first;
    if (key.compare(0, start.size(), start) != 0) break;
    if (key.compare(start.size(), std::string::npos, radio) == 0) return &found->second;
    if (key.compare(start.size(), std::string::npos, "BOTH") == 0) of_both = &found->second;
  }
  return of_both;
}

}  // namespace monitoring
