#include "monitor/traffic/histories.h"
#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_collect.h"
#include "monitor/traffic/traffic_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <string>
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
  for (const auto& [time, input, output] : points) {
    AppendFirst(history, {.time = time, .input = input, .output = output});
  }
  return history;
}

std::vector<Point> Points(const History& history) {
  std::vector<Point> points;
  for (std::size_t index = 0; index < history.size(); ++index) {
    points.emplace_back(history[index].time, history[index].input, history[index].output);
  }
  return points;
}

/// `length` samples a minute apart, the newest at `newest`.
History Minutes(std::size_t length, time_t newest) {
  History history;
  for (std::size_t before = length; before-- > 0;) {
    AppendFirst(history, {.time = newest - 60 * static_cast<time_t>(before), .input = 1, .output = 1});
  }
  return history;
}

/// One that had a sample which the clock took away.
History Emptied() {
  History history = Of({{200, 1, 1}});
  DropFutureSamples(history, 100);
  return history;
}

TEST(HistoriesAppendMinute, GrowsToThirtySamplesAndThenDropsTheOldest) {
  History history = Minutes(28, 6'000);
  AppendMinute(history, {.time = 6'060});
  EXPECT_EQ(history.size(), 29U);
  AppendMinute(history, {.time = 6'120});
  EXPECT_EQ(history.size(), 30U);
  const time_t oldest = history.oldest().time;
  AppendMinute(history, {.time = 6'180});
  EXPECT_EQ(history.size(), 30U);
  EXPECT_EQ(history.oldest().time, oldest + 60);
  EXPECT_EQ(history.newest().time, 6'180);
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
  EXPECT_THAT(Points(history), IsEmpty());
  EXPECT_EQ(DropFutureSamples(history, 100), 0U);
}

class HistoriesRenameInterface : public ::testing::Test {
 protected:
  HistoriesRenameInterface() {
    FindOrAddInterface(device, "wlan0");
    FindOrAddInterface(device, "5Ghz - Lab");
  }

  History& OldName(std::size_t view) { return FindInterface(device, "wlan0")->histories[view]; }
  History& NewName(std::size_t view) { return FindInterface(device, "5Ghz - Lab")->histories[view]; }
  void Rename() { RenameInterface(device, "wlan0", "5Ghz - Lab"); }

  DeviceRecord device;
};

TEST_F(HistoriesRenameInterface, TakesItsHistoryAlongInPlaceOfAnother) {
  OldName(0) = Of({{60, 1, 1}});
  NewName(0) = Of({{120, 2, 2}});
  Rename();
  EXPECT_FALSE(OldName(0).exists());
  EXPECT_THAT(Points(NewName(0)), ElementsAre(Point{60, 1, 1}));
}

TEST_F(HistoriesRenameInterface, LeavesViewsInWhichItHasNoHistory) {
  OldName(0) = Of({{60, 1, 1}});
  NewName(1) = Of({{120, 2, 2}});
  Rename();
  EXPECT_THAT(Points(NewName(1)), ElementsAre(Point{120, 2, 2}));
}

TEST_F(HistoriesRenameInterface, TakesEveryViewAlong) {
  for (std::size_t view = 0; view < kViewNames.size(); ++view) OldName(view) = Minutes(view + 1, 6'000);
  Rename();
  for (std::size_t view = 0; view < kViewNames.size(); ++view) {
    EXPECT_EQ(NewName(view).size(), view + 1);
    EXPECT_FALSE(OldName(view).exists());
  }
}

TEST_F(HistoriesRenameInterface, WithoutAHistoryChangesNothing) {
  NewName(0) = Of({{120, 2, 2}});
  Rename();
  EXPECT_THAT(Points(NewName(0)), ElementsAre(Point{120, 2, 2}));
  RenameInterface(device, "unknown", "5Ghz - Lab");
  EXPECT_THAT(Points(NewName(0)), ElementsAre(Point{120, 2, 2}));
  RenameInterface(device, "wlan0", "nowhere");
  EXPECT_EQ(FindInterface(device, "nowhere"), nullptr);
}

TEST_F(HistoriesRenameInterface, TakesAHistoryAlongThatTheClockHasEmptied) {
  OldName(0) = Emptied();
  NewName(0) = Of({{120, 2, 2}});
  Rename();
  EXPECT_FALSE(OldName(0).exists());
  EXPECT_TRUE(NewName(0).exists());
  EXPECT_THAT(Points(NewName(0)), IsEmpty());
}

TEST_F(HistoriesRenameInterface, MakesTheNewNameKnown) {
  OldName(0) = Of({{60, 1, 1}});
  RenameInterface(device, "wlan0", "2.4Ghz - Yard");  // sorts before the others
  EXPECT_THAT(Points(FindInterface(device, "2.4Ghz - Yard")->histories[0]), ElementsAre(Point{60, 1, 1}));
  EXPECT_FALSE(OldName(0).exists());
}

class HistoriesAppendAverage : public ::testing::Test {
 protected:
  void Merge(int count, int minutes, time_t now) { AppendAverage(source, count, minutes, now, target); }

  History source;
  History target;
};

TEST_F(HistoriesAppendAverage, IsTheMeanOfTheNewestSamplesStampedNow) {
  source = Of({{60, 900, 900}, {120, 10, 1}, {180, 20, 2}, {240, 30, 3}, {300, 40, 4}, {360, 50, 5}});
  Merge(5, 5, 361);
  EXPECT_THAT(Points(target), ElementsAre(Point{361, 30, 3}));
}

TEST_F(HistoriesAppendAverage, IsRoundedDown) {
  source = Of({{60, 1, 0}, {120, 2, 1}});
  Merge(2, 2, 120);
  EXPECT_THAT(Points(target), ElementsAre(Point{120, 1, 0}));
}

TEST_F(HistoriesAppendAverage, WaitsForEnoughSamples) {
  source = Minutes(4, 6'000);
  Merge(5, 5, 6'000);
  EXPECT_FALSE(target.exists()) << "a history exists from its first sample on";
  source = Minutes(5, 6'060);
  Merge(5, 5, 6'060);
  EXPECT_EQ(target.size(), 1U);
}

TEST_F(HistoriesAppendAverage, WaitsForEnoughWholeMinutesOfTheClock) {
  source = Minutes(30, 6'000 + 299);  // minute 104: less than five after minute 100
  target = Of({{6'000, 1, 1}});
  Merge(5, 5, 6'299);
  EXPECT_EQ(target.size(), 1U);
  source = Minutes(30, 6'300);
  Merge(5, 5, 6'300);
  EXPECT_EQ(target.size(), 2U);
}

TEST_F(HistoriesAppendAverage, CountsMinutesOfTheClockAndNotSixtySeconds) {
  source = Minutes(30, 6'300);  // 241 seconds, but five minutes of the clock later
  target = Of({{6'059, 1, 1}});
  Merge(5, 5, 6'300);
  EXPECT_EQ(target.size(), 2U);
}

TEST_F(HistoriesAppendAverage, KeepsThirtyOneSamplesForTheCapIsAppliedFirst) {
  source = Minutes(30, 60'000);
  for (const std::size_t length : {29U, 30U, 31U}) {
    target = Minutes(length, 6'000);
    Merge(5, 5, 60'000);
    EXPECT_EQ(target.size(), std::min<std::size_t>(length + 1, 31U)) << length;
    EXPECT_EQ(target.newest().time, 60'000);
  }
}

class HistoriesStoreReading : public ::testing::Test {
 protected:
  /// A reading of interfaces with these names, whose counters are their places in it.
  void Store(std::initializer_list<const char*> names) {
    reading.Clear();
    std::int32_t place = 0;
    for (const char* name : names) {
      MeasuredInterface& interface = reading.Append();
      interface.name = name;
      interface.counters.in = static_cast<std::uint64_t>(++place);
      interface.if_index = place;
    }
    reading.SortByName();
    StoreReading(device, reading);
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const InterfaceRecord& interface : device.interfaces) names.push_back(interface.name);
    return names;
  }

  /// The counters of the latest reading.
  std::map<std::string, std::uint64_t> Latest() const {
    std::map<std::string, std::uint64_t> latest;
    for (const InterfaceRecord& interface : device.interfaces) {
      if (device.HasLatest(interface)) latest[interface.name] = interface.latest.in;
    }
    return latest;
  }

  DeviceRecord device;
  Reading reading;
};

using Latest = std::map<std::string, std::uint64_t>;

TEST_F(HistoriesStoreReading, MakesRecordsInTheOrderOfNames) {
  Store({"b", "d"});
  Store({"a", "b", "c", "d", "e"});
  EXPECT_THAT(Names(), ElementsAre("a", "b", "c", "d", "e"));
  EXPECT_EQ(Latest(), (::Latest{{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}, {"e", 5}}));
}

TEST_F(HistoriesStoreReading, KeepsTheRecordsOfInterfacesThatItLacks) {
  Store({"a", "b", "c"});
  EXPECT_EQ(FindInterface(device, "c")->if_index, 0) << "shown before it is folded";
  StoreAsLast(device, 60);
  EXPECT_EQ(FindInterface(device, "c")->if_index, 3);
  Store({"b"});
  EXPECT_THAT(Names(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(Latest(), (::Latest{{"b", 1}}));
  EXPECT_EQ(FindInterface(device, "c")->if_index, 3);
}

TEST_F(HistoriesStoreReading, TakesTheLastOfSeveralInterfacesWithOneName) {
  Store({"b", "a", "b", "c", "b"});
  EXPECT_THAT(Names(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(Latest(), (::Latest{{"a", 2}, {"b", 5}, {"c", 4}}));
  Store({"b", "b"});
  EXPECT_EQ(Latest(), (::Latest{{"b", 2}}));
}

TEST_F(HistoriesStoreReading, BecomesTheLastOne) {
  Store({"a", "b"});
  StoreAsLast(device, 60);
  EXPECT_TRUE(FindInterface(device, "a")->has_last);
  EXPECT_EQ(FindInterface(device, "b")->last.in, 2U);
  AppendFirst(FindInterface(device, "a")->histories[0], {.time = 60});
  Store({"b"});
  EXPECT_TRUE(FindInterface(device, "a")->has_last) << "until the next pass is over";
  StoreAsLast(device, 120);
  EXPECT_FALSE(FindInterface(device, "a")->has_last);
  EXPECT_TRUE(FindInterface(device, "b")->has_last);
  EXPECT_EQ(device.last_polling_time, 120);
}

TEST_F(HistoriesStoreReading, DropsRecordsWithoutCountersAndHistories) {
  Store({"a", "b", "c"});
  StoreAsLast(device, 60);
  AppendFirst(FindInterface(device, "a")->histories[3], {.time = 60});
  Store({"b"});
  StoreAsLast(device, 120);
  EXPECT_THAT(Names(), ElementsAre("a", "b"));
}

}  // namespace
