#pragma once

#include <cstdint>

#include "monitor/health/health_status.h"

// Health figures as levels: 1 unknown, 2 good, 3 fair, 4 bad.
namespace monitoring::health {

/// Of the CPU use in percent: 4 from 80, 3 above 20, 2 from 0, 1 below.
std::int32_t CpuLevel(double cpu);

/// Of the seconds since the device started: 4 for up to 5 minutes, 3 for less than 30 minutes, 1 below 0; else
/// `fallback`.
std::int32_t UptimeLevel(std::int32_t uptime, std::int32_t fallback);

/// Of the number of clients: 4 above 48, else `fallback`.
std::int32_t ClientsLevel(std::int32_t clients, std::int32_t fallback);

/// Of the number of untrusted neighbours: 4 for any, else `fallback`.
std::int32_t RogueApsLevel(std::int32_t rogue_aps, std::int32_t fallback);

/// The host's own judgement as it is shown: its best level, 1, is shown as 2, all others as they are.
std::int32_t ShownLevel(std::int32_t level);

/// The status with all its figures graded.
HealthStatus Graded(HealthStatus status);

}  // namespace monitoring::health
