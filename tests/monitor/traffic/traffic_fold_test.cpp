#include "monitor/traffic/traffic_fold.h"
#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace {

using monitoring::Traffic;
using namespace monitoring::traffic;

constexpr std::uint64_t kMostOctets = std::numeric_limits<std::uint64_t>::max();

std::pair<std::uint64_t, std::uint64_t> Speed(Counters last, Counters now, std::uint64_t seconds) {
  const Traffic speed = SpeedBetween(last, now, seconds);
  return {speed.input, speed.output};
}

TEST(TrafficFoldSpeed, IsTheDifferenceOverTheInterval) {
  EXPECT_EQ(Speed({1'000, 200}, {7'000, 800}, 60), (std::pair<std::uint64_t, std::uint64_t>{100, 10}));
}

TEST(TrafficFoldSpeed, IsRoundedDown) {
  EXPECT_EQ(Speed({0, 0}, {119, 59}, 60), (std::pair<std::uint64_t, std::uint64_t>{1, 0}));
}

TEST(TrafficFoldSpeed, IsZeroOverNoTime) {
  EXPECT_EQ(Speed({0, 0}, {6'000, 600}, 0), (std::pair<std::uint64_t, std::uint64_t>{0, 0}));
}

TEST(TrafficFoldInterval, IsZeroWhenTheDeviceClockStoodStillWentBackOrTheDifferenceOverflows) {
  EXPECT_EQ(SampleInterval(100, 160), 60U);
  EXPECT_EQ(SampleInterval(160, 160), 0U);
  EXPECT_EQ(SampleInterval(160, 100), 0U);
  EXPECT_EQ(SampleInterval(std::numeric_limits<time_t>::max(), std::numeric_limits<time_t>::min()), 0U);
  const auto huge = std::numeric_limits<time_t>::max();
  EXPECT_EQ(SampleInterval(-10, huge), sizeof(time_t) == 8 ? 0U : static_cast<std::uint64_t>(huge) + 10);
}

TEST(TrafficFoldSpeed, HoldsTheLargestCounters) {
  EXPECT_EQ(Speed({0, 0}, {kMostOctets, kMostOctets}, 1), (std::pair{kMostOctets, kMostOctets}));
}

TEST(TrafficFoldSpeed, CountsFromZeroAfterACounterRestarted) {
  const Counters last = AfterRestart({5'000'000, 70}, {1'000, 80});
  EXPECT_EQ(last, (Counters{0, 70}));
  EXPECT_EQ(AfterRestart({70, 5'000'000}, {80, 1'000}), (Counters{70, 0}));
  EXPECT_EQ(Speed(last, {1'000, 80}, 60), (std::pair<std::uint64_t, std::uint64_t>{16, 0}));
}

TEST(TrafficFoldSpeed, KeepsTheLastReadingOfACounterThatStoodStill) {
  EXPECT_EQ(AfterRestart({5, 6}, {5, 6}), (Counters{5, 6}));
}

std::string DisplayName(AttributeInfo info) {
  SetDisplayName(info);
  return info.interface_name;
}

TEST(TrafficFoldName, IsBandAndSsidOfAWirelessNetwork) {
  EXPECT_EQ(DisplayName({.interface_name = "wlan0", .ssid = "Office", .radio = 0}), "2.4Ghz - Office");
  EXPECT_EQ(DisplayName({.interface_name = "wlan1", .ssid = "Lab", .radio = 1}), "5Ghz - Lab");
  EXPECT_EQ(DisplayName({.interface_name = "wlan2", .ssid = "Yard", .radio = 2}), " - Yard");
  EXPECT_EQ(DisplayName({.interface_name = "wlan3", .ssid = "Yard", .radio = -1}), " - Yard");
}

TEST(TrafficFoldName, IsTheDevicesOwnWithoutAnSsid) {
  EXPECT_EQ(DisplayName({.interface_name = "ge1", .ssid = "", .radio = 1}), "ge1");
}

/// A history with one sample, of these speeds.
History HistoryOf(std::uint64_t input, std::uint64_t output) {
  History history;
  history.Append({.time = 60, .input = input, .output = output}, 30);
  return history;
}

/// Time, input and output of the sample that a step gives.
using Point = std::tuple<time_t, std::uint64_t, std::uint64_t>;
std::optional<Point> Next(const History& history, const Step& step) {
  const std::optional<Traffic> sample = NextSample(history, step);
  if (!sample) return std::nullopt;
  return Point{sample->time, sample->input, sample->output};
}

/// A minute by the device's clock, ended in the pass of second 120.
Step Minute(Counters last, Counters now) {
  return {.last = last, .now = now, .last_sample_time = 1'000, .sample_time = 1'060, .polling_time = 120};
}

TEST(TrafficFoldStep, GivesTheSpeedStampedWithThePassTime) {
  EXPECT_EQ(Next(HistoryOf(0, 0), Minute({1'000, 200}, {7'000, 800})), (Point{120, 100, 10}));
  EXPECT_EQ(Next({}, Minute({1'000, 200}, {7'000, 800})), (Point{120, 100, 10}));
}

TEST(TrafficFoldStep, CountsFromZeroAfterACounterRestarted) {
  EXPECT_EQ(Next(HistoryOf(9, 9), Minute({5'000'000, 200}, {1'000, 800})), (Point{120, 16, 10}));
}

TEST(TrafficFoldStep, WaitsForTheFirstChangeOfAnEmptyHistory) {
  EXPECT_EQ(Next({}, Minute({5, 6}, {5, 6})), std::nullopt);
  EXPECT_EQ(Next({}, Minute({5, 6}, {5, 7})), (Point{120, 0, 0}));
}

TEST(TrafficFoldStep, DoesNotWaitForCountersThatAreZeroNorWithSamples) {
  EXPECT_EQ(Next({}, Minute({0, 0}, {0, 0})), (Point{120, 0, 0}));
  EXPECT_EQ(Next(HistoryOf(3, 4), Minute({5, 6}, {5, 6})), (Point{120, 0, 0}));
}

TEST(TrafficFoldStep, ComparesARestartedCounterWithZero) {
  EXPECT_EQ(Next({}, Minute({5, 6}, {0, 0})), (Point{120, 0, 0}));
  EXPECT_EQ(Next({}, Minute({5, 6}, {0, 6})), std::nullopt);
}

TEST(TrafficFoldStep, RepeatsTheNewestSpeedWhenTheDeviceKeptItsSampleTime) {
  Step step = Minute({0, 0}, {6'000, 600});
  step.sample_time = step.last_sample_time;
  EXPECT_EQ(Next(HistoryOf(3, 4), step), (Point{120, 3, 4}));
  EXPECT_EQ(Next({}, step), (Point{120, 0, 0}));  // nothing to repeat
}

TEST(TrafficFoldStep, IsZeroWhenTheDevicesClockWasSetBack) {
  Step step = Minute({0, 0}, {6'000, 600});
  step.sample_time = step.last_sample_time - 1;
  EXPECT_EQ(Next(HistoryOf(3, 4), step), (Point{120, 0, 0}));
}

}  // namespace
