#include "monitor/traffic/traffic_fold.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "monitor/traffic/attributes.h"

namespace {

using monitoring::Traffic;
using namespace monitoring::traffic;

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

std::pair<std::uint64_t, std::uint64_t> Speed(Counters last, Counters now, std::uint64_t seconds) {
  const Traffic speed = SpeedBetween(last, now, seconds);
  return {speed.input, speed.output};
}

TEST(Speed, IsTheDifferenceOverTheInterval) {
  EXPECT_EQ(Speed({1'000, 200}, {7'000, 800}, 60), (std::pair<std::uint64_t, std::uint64_t>{100, 10}));
}

TEST(Speed, IsRoundedDown) {
  EXPECT_EQ(Speed({0, 0}, {119, 59}, 60), (std::pair<std::uint64_t, std::uint64_t>{1, 0}));
}

TEST(Speed, IsZeroOverNoTime) {
  EXPECT_EQ(Speed({0, 0}, {6'000, 600}, 0), (std::pair<std::uint64_t, std::uint64_t>{0, 0}));
}

TEST(SampleInterval, IsZeroWhenTheDeviceClockStoodStillWentBackOrTheDifferenceOverflows) {
  EXPECT_EQ(SampleInterval(100, 160), 60U);
  EXPECT_EQ(SampleInterval(160, 160), 0U);
  EXPECT_EQ(SampleInterval(160, 100), 0U);
  EXPECT_EQ(SampleInterval(std::numeric_limits<time_t>::max(), std::numeric_limits<time_t>::min()), 0U);
  const auto huge = std::numeric_limits<time_t>::max();
  EXPECT_EQ(SampleInterval(-10, huge), sizeof(time_t) == 8 ? 0U : static_cast<std::uint64_t>(huge) + 10);
}

TEST(Speed, HoldsTheLargestCounters) {
  EXPECT_EQ(Speed({0, 0}, {kMax, kMax}, 1), (std::pair{kMax, kMax}));
}

TEST(Speed, CountsFromZeroAfterACounterRestarted) {
  const Counters last = AfterRestart({5'000'000, 70}, {1'000, 80});
  EXPECT_EQ(last, (Counters{0, 70}));
  EXPECT_EQ(AfterRestart({70, 5'000'000}, {80, 1'000}), (Counters{70, 0}));
  EXPECT_EQ(Speed(last, {1'000, 80}, 60), (std::pair<std::uint64_t, std::uint64_t>{16, 0}));
}

TEST(Speed, KeepsTheLastReadingOfACounterThatStoodStill) {
  EXPECT_EQ(AfterRestart({5, 6}, {5, 6}), (Counters{5, 6}));
}

TEST(Attributes, CarryCountersAsDecimalTexts) {
  const Attributes attributes = AttributesOf({.if_index = 3, .in_bytes = kMax, .out_bytes = 0});
  EXPECT_EQ(attributes, (Attributes{{"inbytes", "18446744073709551615"}, {"outbytes", "0"}}));
  EXPECT_EQ(CountersOf(attributes), (Counters{kMax, 0}));
}

TEST(Attributes, CountAMissingTextAsZero) {
  EXPECT_EQ(CountersOf({{"inbytes", "7"}}), (Counters{7, 0}));
}

}  // namespace
