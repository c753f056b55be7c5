#include "monitor/health/health_fold.h"

namespace monitoring::health {
namespace {

constexpr std::int32_t kUnknown = 1;
constexpr std::int32_t kGood = 2;
constexpr std::int32_t kFair = 3;
constexpr std::int32_t kBad = 4;
constexpr std::int32_t kHostBest = 1;  // where our scale has "unknown", the host's has its best level

constexpr double kBadCpuPercent = 80.0;
constexpr double kGoodCpuPercent = 20.0;
constexpr std::int32_t kBadUptimeSeconds = 300;
constexpr std::int32_t kGoodUptimeSeconds = 1800;
constexpr std::int32_t kMaxGoodClients = 48;

}  // namespace

std::int32_t CpuLevel(double cpu) {
  if (cpu >= kBadCpuPercent) return kBad;
  if (cpu > kGoodCpuPercent) return kFair;
  return cpu >= 0.0 ? kGood : kUnknown;
}

std::int32_t UptimeLevel(std::int32_t uptime, std::int32_t fallback) {
  if (uptime < 0) return kUnknown;
  if (uptime <= kBadUptimeSeconds) return kBad;
  return uptime < kGoodUptimeSeconds ? kFair : fallback;
}

std::int32_t ClientsLevel(std::int32_t clients, std::int32_t fallback) {
  return clients > kMaxGoodClients ? kBad : fallback;
}

std::int32_t RogueApsLevel(std::int32_t rogue_aps, std::int32_t fallback) {
  return rogue_aps != 0 ? kBad : fallback;
}

std::int32_t ShownLevel(std::int32_t level) {
  return level == kHostBest ? kGood : level;
}

HealthStatus Graded(HealthStatus status) {
  status.cpu_level = CpuLevel(status.cpu);
  status.uptime_level = UptimeLevel(status.uptime, status.uptime_level);
  status.clients_level = ClientsLevel(status.clients, status.clients_level);
  status.rogue_aps_level = RogueApsLevel(status.rogue_aps, status.rogue_aps_level);
  return status;
}

}  // namespace monitoring::health
