#include "monitor/engine/counters.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using namespace monitoring;

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

TEST(Counters, IncreaseByTheDifference) {
  EXPECT_EQ(CounterIncrease(1'000, 7'000), 6'000U);
  EXPECT_EQ(CounterIncrease(7'000, 7'000), 0U);
  EXPECT_EQ(CounterIncrease(0, kMax), kMax);
  EXPECT_EQ(CounterIncrease(kMax - 1, kMax), 1U);
}

TEST(Counters, CountFromZeroAfterARestart) {
  EXPECT_EQ(CounterIncrease(5'000'000, 1'000), 1'000U);
  EXPECT_EQ(CounterIncrease(kMax, 0), 0U);
  EXPECT_EQ(CounterIncrease(1'000, 999), 999U);
}

TEST(Counters, CountFromTheLastReadingOrFromZero) {
  EXPECT_EQ(CounterBase(70, 80), 70U);
  EXPECT_EQ(CounterBase(80, 80), 80U);
  EXPECT_EQ(CounterBase(81, 80), 0U);
}

TEST(SecondsBetween, IsTheDifference) {
  EXPECT_EQ(SecondsBetween(100, 160), 60U);
  EXPECT_EQ(SecondsBetween(-60, 60), 120U);
}

TEST(SecondsBetween, IsZeroWhenTheClockStoodStillOrWasSetBack) {
  EXPECT_EQ(SecondsBetween(160, 160), 0U);
  EXPECT_EQ(SecondsBetween(160, 159), 0U);
  EXPECT_EQ(SecondsBetween(std::numeric_limits<time_t>::max(), std::numeric_limits<time_t>::min()), 0U);
}

TEST(SecondsBetween, IsExactBeyondWhatATimeCanHold) {
  constexpr time_t kLatest = std::numeric_limits<time_t>::max();
  EXPECT_EQ(SecondsBetween(-10, kLatest), static_cast<std::uint64_t>(kLatest) + 10);
  EXPECT_EQ(SecondsBetween(std::numeric_limits<time_t>::min(), kLatest),
            sizeof(time_t) == 8 ? kMax : std::numeric_limits<std::uint32_t>::max());
}

TEST(SaturatedSeconds, AreThoseThat32BitsHold) {
  EXPECT_EQ(SaturatedSeconds(0), 0);
  EXPECT_EQ(SaturatedSeconds(2'147'483'646), 2'147'483'646);
  EXPECT_EQ(SaturatedSeconds(2'147'483'647), 2'147'483'647);
}

TEST(SaturatedSeconds, AreNoMoreThan32BitsHold) {
  EXPECT_EQ(SaturatedSeconds(2'147'483'648), 2'147'483'647);
  EXPECT_EQ(SaturatedSeconds(4'294'967'296), 2'147'483'647) << "which is 0 in 32 bits";
  EXPECT_EQ(SaturatedSeconds(kMax), 2'147'483'647);
}

}  // namespace
