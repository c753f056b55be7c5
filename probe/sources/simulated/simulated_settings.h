#pragma once

#include <chrono>

#include "probe/sources/simulated/simulated_network.h"

namespace probe {

/// How the source `simulated` works.
struct SimulatedSettings {
  static constexpr int kMaxDevices = 10'000;
  static constexpr int kMaxClients = 1'000'000;

  bool enabled = false;              ///< Whether there is a simulated network.
  std::chrono::seconds refresh{10};  ///< Time between two of its states, by the probe's clock.
  SimulatedNetworkSettings network;  ///< Which network.
};

}  // namespace probe
