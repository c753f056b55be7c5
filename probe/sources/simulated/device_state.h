#pragma once

#include <cstdint>
#include <vector>

#include "probe/sources/simulated/octets.h"

namespace probe::simulated {

/// The part of one device's state that changes from reading to reading.
struct DeviceState {
  bool is_online = true;
  bool has_restarted = false;    ///< Since the reading before; its counters then begin at 0.
  std::int32_t uptime = 0;       ///< Seconds since it started.
  std::int64_t last_start = 0;   ///< Calendar minute of that start.
  std::vector<Octets> counters;  ///< One for each port, in the order of `DevicePlan::ports`.
};

}  // namespace probe::simulated
