#pragma once

#include <string>

#include "platform/configuration.h"

namespace plain {

/// The SSID configurations of a router or an access point; none of any other device.
inline SSIDConfigurations ConfigurationsOf(const std::string& mac, vexora_probe::models::controller::DeviceType type) {
  using vexora_probe::models::controller::DeviceType;
  SSIDConfigurations configurations;
  if (type == DeviceType::kAccessPoint) {
    if (const auto access_point = APManager::GetInstance().GetAPConfig(mac)) access_point->GetSSIDCfg(configurations);
  } else if (type == DeviceType::kRouter) {
    if (const auto router = RouterManager::GetInstance().GetRouterConfig(mac)) router->GetSSIDCfg(configurations);
  }
  return configurations;
}

/// The configuration of an SSID for this radio comes before the one for both; null when there is neither.
inline const vexora_probe::models::controller::SSIDCfg* ConfigurationFor(const SSIDConfigurations& configurations,
                                                                         const std::string& ssid,
                                                                         const std::string& radio) {
  for (const std::string& key : {ssid + "@" + radio, ssid + "@BOTH"}) {
    if (configurations.contains(key)) return &configurations.at(key);
  }
  return nullptr;
}

/// "2.4GHz" or "5GHz"; `unknown` for any other band.
inline std::string BandName(vexora_probe::models::controller::WIFIBandType band, const char* unknown) {
  using vexora_probe::models::controller::WIFIBandType;
  if (band == WIFIBandType::k2_4GHz) return "2.4GHz";
  return band == WIFIBandType::k5GHz ? "5GHz" : unknown;
}

}  // namespace plain
