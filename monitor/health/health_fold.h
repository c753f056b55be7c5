#pragma once

#include <cstdint>

#include "monitor/health/health_status.h"

// The grading of health figures. Levels: 1 unknown, 2 good, 3 fair, 4 bad.
namespace monitoring::health {

/// The level of a CPU use in percent: 4 from 80, 3 above 20, 2 from 0, 1 for a negative one, which is an unknown one.
std::int32_t CpuLevel(double cpu);

/// The level of the seconds since a device started: 4 for up to 5 minutes, 3 for less than 30 minutes, 1 for a negative
/// number, which is an unknown one; else `fallback`.
std::int32_t UptimeLevel(std::int32_t uptime, std::int32_t fallback);

/// The level of a number of clients: 4 above 48, else `fallback`.
std::int32_t ClientsLevel(std::int32_t clients, std::int32_t fallback);

/// The level of a number of rogue access points: 4 for any, else `fallback`.
std::int32_t RogueApsLevel(std::int32_t rogue_aps, std::int32_t fallback);

/// The host's own level of a device as messages show it: 1, its best, as 2, which is our best; all others as they are.
std::int32_t ShownLevel(std::int32_t level);

/// A copy of `status` with all its figures graded. The levels that it has are the fallbacks.
HealthStatus Graded(HealthStatus status);

}  // namespace monitoring::health
