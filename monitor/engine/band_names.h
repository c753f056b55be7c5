#pragma once

#include "platform/device_records.h"

namespace monitoring {

/// The name that both reports give to a band: "2.4GHz" or "5GHz"; `unknown` for any other.
constexpr const char* BandName(vexora_probe::models::controller::WIFIBandType band, const char* unknown) {
  using vexora_probe::models::controller::WIFIBandType;
  switch (band) {
    case WIFIBandType::k2_4GHz:
      return "2.4GHz";
    case WIFIBandType::k5GHz:
      return "5GHz";
    default:
      return unknown;
  }
}

}  // namespace monitoring
