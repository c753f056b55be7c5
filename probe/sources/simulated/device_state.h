#pragma once

#include <cstdint>
#include <vector>

#include "probe/sources/simulated/octets.h"

namespace probe::simulated {

/// What changes about one device from reading to reading.
struct DeviceState {
  bool is_online = true;
  bool has_restarted = false;    ///< Since the reading before: everything that it counted begins at 0.
  std::int32_t uptime = 0;       ///< Seconds since it started.
  std::int64_t last_start = 0;   ///< Calendar minute of that start.
  std::vector<Octets> counters;  ///< Of its ports, as in its plan.
};

}  // namespace probe::simulated
