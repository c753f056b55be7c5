#pragma once

#include <nlohmann/json.hpp>

#include "platform/device_records.h"

namespace probe {

/// How answers name a band: "2.4GHz", "5GHz", or null for another one and an unknown one.
inline nlohmann::ordered_json BandTree(vexora_probe::models::controller::WIFIBandType band) {
  using vexora_probe::models::controller::WIFIBandType;
  if (band == WIFIBandType::kUnknown) return nullptr;
  return band == WIFIBandType::k2_4GHz ? "2.4GHz" : "5GHz";
}

}  // namespace probe
