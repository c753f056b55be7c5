#include "monitor/health/health_fold.h"
#include "monitor/health/health_status.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using monitoring::HealthStatus;
using namespace monitoring::health;

struct Cpu {
  double cpu;
  std::int32_t level;
};

class HealthFoldCpu : public ::testing::TestWithParam<Cpu> {};

TEST_P(HealthFoldCpu, IsGradedAtTwentyAndEightyPercent) {
  EXPECT_EQ(CpuLevel(GetParam().cpu), GetParam().level) << GetParam().cpu;
}

INSTANTIATE_TEST_SUITE_P(Bounds, HealthFoldCpu,
                         ::testing::Values(Cpu{-1.0, 1}, Cpu{-0.1, 1}, Cpu{0.0, 2}, Cpu{20.0, 2}, Cpu{20.5, 3},
                                           Cpu{79.9, 3}, Cpu{80.0, 4}, Cpu{80.1, 4}, Cpu{1000.0, 4}));

struct Uptime {
  std::int32_t seconds;
  std::int32_t level;
};

class HealthFoldUptime : public ::testing::TestWithParam<Uptime> {};

TEST_P(HealthFoldUptime, IsGradedAtFiveAndThirtyMinutes) {
  EXPECT_EQ(UptimeLevel(GetParam().seconds, 2), GetParam().level) << GetParam().seconds;
}

INSTANTIATE_TEST_SUITE_P(Bounds, HealthFoldUptime,
                         ::testing::Values(Uptime{std::numeric_limits<std::int32_t>::min(), 1}, Uptime{-1, 1},
                                           Uptime{0, 4}, Uptime{300, 4}, Uptime{301, 3}, Uptime{1799, 3},
                                           Uptime{1800, 2}, Uptime{std::numeric_limits<std::int32_t>::max(), 2}));

TEST(HealthFold, KeepsTheStoredLevelWhereNothingIsWrong) {
  EXPECT_EQ(UptimeLevel(1800, 7), 7);
  EXPECT_EQ(ClientsLevel(48, 7), 7);
  EXPECT_EQ(RogueApsLevel(0, 7), 7);
}

TEST(HealthFold, IsBadForMoreThanFortyEightClientsAndForAnyUntrustedNeighbour) {
  EXPECT_EQ(ClientsLevel(48, 2), 2);
  EXPECT_EQ(ClientsLevel(49, 2), 4);
  EXPECT_EQ(RogueApsLevel(0, 2), 2);
  EXPECT_EQ(RogueApsLevel(1, 2), 4);
}

TEST(HealthFold, ShowsTheHostsBestLevelAsGoodAndEveryOtherAsItIs) {
  EXPECT_EQ(ShownLevel(0), 0);
  EXPECT_EQ(ShownLevel(1), 2);
  EXPECT_EQ(ShownLevel(2), 2);
  EXPECT_EQ(ShownLevel(3), 3);
  EXPECT_EQ(ShownLevel(4), 4);
  EXPECT_EQ(ShownLevel(-1), -1);
}

TEST(HealthFold, GradesACopyOfAllFigures) {
  HealthStatus status;
  status.cpu = 90.0;
  status.uptime = 10;
  status.clients = 60;
  status.rogue_aps = 1;
  const HealthStatus graded = Graded(status);
  EXPECT_EQ(graded.cpu_level, 4);
  EXPECT_EQ(graded.uptime_level, 4);
  EXPECT_EQ(graded.clients_level, 4);
  EXPECT_EQ(graded.rogue_aps_level, 4);
  EXPECT_EQ(status.cpu_level, 2);
}

}  // namespace
