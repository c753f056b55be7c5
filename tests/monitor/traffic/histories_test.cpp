#include "monitor/traffic/histories.h"
#include "monitor/traffic/traffic_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <tuple>
#include <vector>

namespace {

using monitoring::Traffic;
using namespace monitoring::traffic;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Point = std::tuple<time_t, std::uint64_t, std::uint64_t>;  // time, input, output

History Of(std::initializer_list<Point> points) {
  History history;
  for (const auto& [time, input, output] : points) history.push_back({.time = time, .input = input, .output = output});
  return history;
}

std::vector<Point> Points(const History& history) {
  std::vector<Point> points;
  for (const Traffic& sample : history) points.emplace_back(sample.time, sample.input, sample.output);
  return points;
}

/// `length` samples a minute apart, the newest at `newest`.
History Minutes(std::size_t length, time_t newest) {
  History history;
  for (std::size_t index = 0; index < length; ++index) {
    history.push_front({.time = newest - 60 * static_cast<time_t>(index), .input = 1, .output = 1});
  }
  return history;
}

TEST(HistoriesAppendMinute, GrowsToThirtySamplesAndThenDropsTheOldest) {
  History history = Minutes(28, 6'000);
  AppendMinute(history, {.time = 6'060});
  EXPECT_EQ(history.size(), 29U);
  AppendMinute(history, {.time = 6'120});
  EXPECT_EQ(history.size(), 30U);
  const time_t oldest = history.front().time;
  AppendMinute(history, {.time = 6'180});
  EXPECT_EQ(history.size(), 30U);
  EXPECT_EQ(history.front().time, oldest + 60);
  EXPECT_EQ(history.back().time, 6'180);
}

TEST(HistoriesDropFutureSamples, AreDroppedFromTheFront) {
  History history = Of({{200, 1, 1}, {300, 2, 2}, {100, 3, 3}});
  EXPECT_EQ(DropFutureSamples(history, 100), 2U);
  EXPECT_THAT(Points(history), ElementsAre(Point{100, 3, 3}));
}

TEST(HistoriesDropFutureSamples, StayBehindOneThatIsNotInTheFuture) {
  History history = Of({{100, 1, 1}, {300, 2, 2}});
  EXPECT_EQ(DropFutureSamples(history, 100), 0U);
  EXPECT_THAT(Points(history), ElementsAre(Point{100, 1, 1}, Point{300, 2, 2}));
}

TEST(HistoriesDropFutureSamples, MayBeAllThereIs) {
  History history = Of({{200, 1, 1}, {300, 2, 2}});
  EXPECT_EQ(DropFutureSamples(history, 100), 2U);
  EXPECT_THAT(history, IsEmpty());
  EXPECT_EQ(DropFutureSamples(history, 100), 0U);
}

TEST(HistoriesRenameInterface, TakesItsHistoryAlongInPlaceOfAnother) {
  InterfaceHistories histories{{"wlan0", Of({{60, 1, 1}})}, {"5Ghz - Lab", Of({{120, 2, 2}})}};
  RenameInterface(histories, "wlan0", "5Ghz - Lab");
  EXPECT_EQ(histories.size(), 1U);
  EXPECT_THAT(Points(histories.at("5Ghz - Lab")), ElementsAre(Point{60, 1, 1}));
}

TEST(HistoriesRenameInterface, WithoutAHistoryChangesNothing) {
  InterfaceHistories histories{{"5Ghz - Lab", Of({{120, 2, 2}})}};
  RenameInterface(histories, "wlan0", "5Ghz - Lab");
  EXPECT_THAT(Points(histories.at("5Ghz - Lab")), ElementsAre(Point{120, 2, 2}));
}

TEST(HistoriesRenameInterface, WithAnEmptyHistoryLeavesWhatStandsUnderTheNewName) {
  InterfaceHistories histories{{"wlan0", {}}, {"5Ghz - Lab", Of({{120, 2, 2}})}};
  RenameInterface(histories, "wlan0", "5Ghz - Lab");
  EXPECT_EQ(histories.size(), 1U);
  EXPECT_THAT(Points(histories.at("5Ghz - Lab")), ElementsAre(Point{120, 2, 2}));
}

class HistoriesAppendAverages : public ::testing::Test {
 protected:
  void Merge(int count, int minutes, time_t now) { AppendAverages(source, count, minutes, now, target); }

  DeviceHistories source;
  DeviceHistories target;
};

TEST_F(HistoriesAppendAverages, AreTheMeanOfTheNewestSamplesStampedNow) {
  source["m"]["ge1"] = Of({{60, 900, 900}, {120, 10, 1}, {180, 20, 2}, {240, 30, 3}, {300, 40, 4}, {360, 50, 5}});
  Merge(5, 5, 361);
  EXPECT_THAT(Points(target["m"]["ge1"]), ElementsAre(Point{361, 30, 3}));
}

TEST_F(HistoriesAppendAverages, AreRoundedDown) {
  source["m"]["ge1"] = Of({{60, 1, 0}, {120, 2, 1}});
  Merge(2, 2, 120);
  EXPECT_THAT(Points(target["m"]["ge1"]), ElementsAre(Point{120, 1, 0}));
}

TEST_F(HistoriesAppendAverages, WaitForEnoughSamples) {
  source["m"]["ge1"] = Minutes(4, 6'000);
  Merge(5, 5, 6'000);
  EXPECT_THAT(target["m"]["ge1"], IsEmpty());
  source["m"]["ge1"] = Minutes(5, 6'060);
  Merge(5, 5, 6'060);
  EXPECT_EQ(target["m"]["ge1"].size(), 1U);
}

TEST_F(HistoriesAppendAverages, WaitForEnoughWholeMinutesOfTheClock) {
  source["m"]["ge1"] = Minutes(30, 6'000 + 299);  // minute 104: less than five after minute 100
  target["m"]["ge1"] = Of({{6'000, 1, 1}});
  Merge(5, 5, 6'299);
  EXPECT_EQ(target["m"]["ge1"].size(), 1U);
  source["m"]["ge1"] = Minutes(30, 6'300);
  Merge(5, 5, 6'300);
  EXPECT_EQ(target["m"]["ge1"].size(), 2U);
}

TEST_F(HistoriesAppendAverages, CountMinutesOfTheClockAndNotSixtySeconds) {
  source["m"]["ge1"] = Minutes(30, 6'300);  // 241 seconds, but five minutes of the clock later
  target["m"]["ge1"] = Of({{6'059, 1, 1}});
  Merge(5, 5, 6'300);
  EXPECT_EQ(target["m"]["ge1"].size(), 2U);
}

TEST_F(HistoriesAppendAverages, KeepThirtyOneSamplesForTheCapIsAppliedFirst) {
  source["m"]["ge1"] = Minutes(30, 60'000);
  for (const std::size_t length : {29U, 30U, 31U}) {
    target["m"]["ge1"] = Minutes(length, 6'000);
    Merge(5, 5, 60'000);
    EXPECT_EQ(target["m"]["ge1"].size(), std::min<std::size_t>(length + 1, 31U)) << length;
    EXPECT_EQ(target["m"]["ge1"].back().time, 60'000);
  }
}

TEST_F(HistoriesAppendAverages, AreMadeForEachInterfaceByItself) {
  source["m"]["ge1"] = Minutes(5, 6'000);
  source["m"]["ge2"] = Minutes(4, 6'000);
  source["n"]["ge1"] = Minutes(6, 6'000);
  Merge(5, 5, 6'000);
  EXPECT_EQ(target["m"]["ge1"].size(), 1U);
  EXPECT_EQ(target["m"]["ge2"].size(), 0U);
  EXPECT_EQ(target["n"]["ge1"].size(), 1U);
}

}  // namespace
