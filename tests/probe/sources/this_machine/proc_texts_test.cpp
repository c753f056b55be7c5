#include "probe/sources/this_machine/proc_texts.h"

#include <gtest/gtest.h>

#include <limits>

namespace probe {
namespace {

TEST(ProcTextsStat, CountsAllButIdleAndWaitingAsBusy) {
  // user 100, nice 20, system 30, idle 1000, iowait 40, irq 5, softirq 6, steal 7
  const auto times = CpuTimesOf("cpu  100 20 30 1000 40 5 6 7 90 10\ncpu0 1 2 3 4 5 6 7 8 9 10\n");

  EXPECT_EQ(times, (CpuTimes{.busy = 168, .total = 1208}));
}

TEST(ProcTextsStat, CountsGuestTimeOnce) {
  EXPECT_EQ(CpuTimesOf("cpu 100 0 0 0 0 0 0 0 100 0\n"), (CpuTimes{.busy = 100, .total = 100}));
}

TEST(ProcTextsStat, NeedsNoLineEndAndNoGuestTimes) {
  EXPECT_EQ(CpuTimesOf("cpu 1 1 1 1 1 1 1 1"), (CpuTimes{.busy = 6, .total = 8}));
}

TEST(ProcTextsStat, IsUnknownWithoutTheLineOfAllProcessors) {
  EXPECT_EQ(CpuTimesOf(""), std::nullopt);
  EXPECT_EQ(CpuTimesOf("cpu0 1 2 3 4 5 6 7 8 9 10\n"), std::nullopt);
}

TEST(ProcTextsStat, IsUnknownWhenANumberIsMissingOrNone) {
  EXPECT_EQ(CpuTimesOf("cpu 1 2 3 4 5 6 7\ncpu0 1 2 3 4 5 6 7 8\n"), std::nullopt);
  EXPECT_EQ(CpuTimesOf("cpu 1 2 3 x 5 6 7 8\n"), std::nullopt);
  EXPECT_EQ(CpuTimesOf("cpu 1 2 3 -4 5 6 7 8\n"), std::nullopt);
  EXPECT_EQ(CpuTimesOf("cpu 1 2 3 99999999999999999999 5 6 7 8\n"), std::nullopt);
}

struct Use {
  const char* name;
  CpuTimes before;
  CpuTimes now;
  std::int32_t percent;
};

class ProcTextsCpuUse : public ::testing::TestWithParam<Use> {};

TEST_P(ProcTextsCpuUse, IsTheBusyShareOfTheTimeBetween) {
  EXPECT_EQ(CpuPercent(GetParam().before, GetParam().now), GetParam().percent);
}

INSTANTIATE_TEST_SUITE_P(
    TwoReadings, ProcTextsCpuUse,
    ::testing::Values(Use{"None", {10, 100}, {10, 300}, 0}, Use{"Half", {10, 100}, {110, 300}, 50},
                      Use{"All", {10, 100}, {210, 300}, 100}, Use{"RoundedDown", {0, 0}, {794, 1000}, 79},
                      Use{"RoundedUp", {0, 0}, {795, 1000}, 80}, Use{"NoTimePassed", {10, 100}, {20, 100}, 0},
                      Use{"TotalWentBack", {10, 100}, {20, 90}, 0}, Use{"BusyWentBack", {10, 100}, {5, 200}, 0},
                      Use{"IdleWentBack", {10, 100}, {120, 200}, 100}),
    [](const auto& test) { return test.param.name; });

TEST(ProcTextsUptime, IsInWholeSeconds) {
  EXPECT_EQ(UptimeOf("1474.96 2857.03\n"), 1474);
  EXPECT_EQ(UptimeOf("0.01 0.00\n"), 0);
}

TEST(ProcTextsUptime, IsUnknownWithoutANumber) {
  EXPECT_EQ(UptimeOf(""), std::nullopt);
  EXPECT_EQ(UptimeOf("up\n"), std::nullopt);
}

TEST(ProcTextsUptime, StopsAtTheGreatestNumberOfItsField) {
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(UptimeOf("2147483647.5 0.0\n"), kMax);
  EXPECT_EQ(UptimeOf("2147483648.0 0.0\n"), kMax);
}

}  // namespace
}  // namespace probe
