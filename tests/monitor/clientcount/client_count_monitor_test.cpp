#include <gmock/gmock.h>

#include "tests/monitor/clientcount/client_count_fixture.h"

namespace {

using probe::log::Level;
using test::kAttic;
using test::kLobby;
using test::LogCapture;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kNotDue = "[ClientCountMonitor::CalculateAverage] Don't need to merge";

class ClientCountViews : public test::ClientCountMonitorTest {};

TEST_F(ClientCountViews, HaveNoFiveMinutesBeforeThereAreFive) {
  PassWith({1, 2, 3});
  const LogCapture log;
  PassWith({4});
  EXPECT_THAT(OfDevice(kLobby, "5m"), IsEmpty());
  // five steps from view to view, of two series each
  EXPECT_THAT(log.Texts(Level::kDebug, kNotDue), SizeIs(10));
}

TEST_F(ClientCountViews, HoldThePeakOfFiveMinutes) {
  PassWith({3, 7, 2, 7, 1});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 7}}));
  EXPECT_EQ(OfSsid("Office", "5m"), (Counts{{5, 7}}));
}

TEST_F(ClientCountViews, AreMergedAgainOnlyAfterTheirTime) {
  PassWith({3, 7, 2, 7, 1});
  PassWith({9, 9, 9, 9});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 7}}));
  PassWith({9});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 7}, {10, 9}}));
}

TEST_F(ClientCountViews, BuildEachLongerViewFromTheOneBefore) {
  for (int minute = 1; minute <= 60; ++minute) PassWith({minute});
  EXPECT_EQ(OfDevice(kLobby, "10m"), (Counts{{10, 10}, {20, 20}, {30, 30}, {40, 40}, {50, 50}, {60, 60}}));
  EXPECT_EQ(OfDevice(kLobby, "1h"), (Counts{{60, 60}}));
  EXPECT_THAT(OfDevice(kLobby, "2h"), IsEmpty());
  for (int minute = 61; minute <= 1440; ++minute) PassWith({1});
  EXPECT_EQ(OfDevice(kLobby, "2h").begin()->first, 120);
  EXPECT_EQ(OfDevice(kLobby, "2h").at(120), 60);
  EXPECT_EQ(OfDevice(kLobby, "2h").size(), 12U);
  EXPECT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 60}}));
  for (int minute = 1441; minute <= 2879; ++minute) PassWith({1});
  EXPECT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 60}}));
  PassWith({1});
  EXPECT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 60}, {2880, 1}}));
}

TEST_F(ClientCountViews, KeepThirtySamplesOfEachInterval) {
  for (int round = 1; round <= 29; ++round) PassWith({1, 1, 1, 1, 1});
  EXPECT_THAT(OfDevice(kLobby, "5m"), SizeIs(29));
  PassWith({1, 1, 1, 1, 1});
  EXPECT_THAT(OfDevice(kLobby, "5m"), SizeIs(30));
  PassWith({1, 1, 1, 1, 1});
  EXPECT_THAT(OfDevice(kLobby, "5m"), SizeIs(30));
  EXPECT_EQ(OfDevice(kLobby, "5m").begin()->first, 10);
}

TEST_F(ClientCountViews, MergeEveryIdOnceOneIsDue) {
  PassWith({1, 2, 3, 4});
  Office(kAttic, 9);
  PassWith({5});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 5}}));
  EXPECT_EQ(OfDevice(kAttic, "5m"), (Counts{{5, 9}}));
}

TEST_F(ClientCountViews, GiveASampleToAnIdThatFiveMinutesBroughtNoClients) {
  PassWith({1, 1, 1, 1, 1});
  PassWith({0, 0, 0, 0, 0});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 1}, {10, 0}}));
}

TEST_F(ClientCountViews, DropSamplesOfTheFutureBeforeTheyMerge) {
  PassWith({9, 9, 9, 9, 9, 9, 9});
  clock.Set(test::kStart);
  const LogCapture log;
  PassWith({1});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 1}}));
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 1}}));
  // six minutes and one of five minutes, by SSID and by device
  EXPECT_THAT(log.Texts(Level::kDebug, "[ClientCountMonitor::RemoveBadTimeSample] Remove junk sample"), SizeIs(14));
}

TEST_F(ClientCountViews, KeepSamplesOfTheFutureThatNothingIsMergedFrom) {
  for (int minute = 1; minute <= 1440; ++minute) PassWith({1});
  ASSERT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 1}}));
  clock.Set(test::kStart);
  PassWith({2});
  EXPECT_THAT(OfDevice(kLobby, "2h"), IsEmpty());
  EXPECT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 1}}));
}

TEST_F(ClientCountViews, GiveAPeakOfZeroToAnIdThatHasNoSamplesLeft) {
  PassWith({3, 3, 3, 3, 3});
  monitor.Cleanup(kLobby);  // leaves its five minutes, which then lie in the future and are dropped
  network.AccessPoint(kLobby).Online(false);
  clock.Set(test::kStart - 3600);
  Office(kAttic, 4);
  for (int pass = 0; pass < 10; ++pass) Pass();
  EXPECT_EQ(OfDevice(kAttic, "10m"), (Counts{{-50, 4}}));
  EXPECT_EQ(OfDevice(kLobby, "10m"), (Counts{{-50, 0}}));
}

TEST_F(ClientCountViews, RepeatThePeakOfASeriesThatGetsNoMoreSamplesWhileOthersDo) {
  network.AccessPoint(kAttic).Wifi("wlan0", "Guest", "radio0", {0, 0}).Clients("wlan0", 1);
  PassWith({3, 3, 3, 3, 3, 3, 3, 3, 3, 3});
  monitor.Cleanup(kLobby);
  network.AccessPoint(kLobby).Online(false);
  for (int minute = 11; minute <= 30; ++minute) Pass();
  EXPECT_EQ(OfSsid("Office", "5m"), (Counts{{5, 3}, {10, 3}}));
  // its five minutes end at the tenth, and yet they are what each further ten minutes are made of
  EXPECT_EQ(OfSsid("Office", "10m"), (Counts{{10, 3}, {20, 3}, {30, 3}}));
}

TEST_F(ClientCountViews, TakeAPeakInPlaceOfOneOfTheSameMinute) {
  PassWith({1, 1, 1, 1, 1});
  Office(kAttic, 9);
  clock.Set(test::kStart + 4 * 60);
  // the attic is new, so five minutes are due for it as soon as it has five; the lobby has a sample of that minute
  for (int pass = 0; pass < 5; ++pass) {
    Office(kLobby, 6);
    Pass();
  }
  EXPECT_EQ(OfDevice(kAttic, "5m").rbegin()->second, 9);
  EXPECT_EQ(OfDevice(kLobby, "5m").rbegin()->second, 6);
}

TEST_F(ClientCountViews, ForgetTheSampleOfAFullSeriesThatTheClockLeapedBefore) {
  for (int minute = 1; minute <= 30; ++minute) PassWith({1});
  clock.Set(test::kStart - 600);
  // thirty later ones stand in the series, so the first zero is the oldest and goes; the count itself comes after
  PassWith({5});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{-9, 5}}));
}

TEST_F(ClientCountViews, LogWhatTheyMerge) {
  PassWith({3, 7, 2, 7});
  const LogCapture log;
  PassWith({1});
  const auto lines = log.Texts(Level::kDebug, "CalculateAverage]");
  const std::string prefix = "[ClientCountMonitor::CalculateAverage] ";
  const std::vector<std::string> merged{
      prefix + "rank: 5, merge_minutes: 5, last_collection_time_first: 29920325, last_collection_time_next 0",
      prefix + "i: 0, time: 29920325, count: 1",
      prefix + "i: 1, time: 29920324, count: 7",
      prefix + "i: 2, time: 29920323, count: 2",
      prefix + "i: 3, time: 29920322, count: 7",
      prefix + "i: 4, time: 29920321, count: 3",
  };
  ASSERT_GE(lines.size(), 14U);
  EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 6), merged);
  EXPECT_EQ(lines[6], prefix + "id: Office, max count: 7, time 29920325");
  EXPECT_EQ(std::vector(lines.begin() + 7, lines.begin() + 13), merged);
  EXPECT_EQ(lines[13], prefix + "id: AA:AA:AA:AA:AA:01, max count: 7, time 29920325");
  // the one sample of five minutes is looked at, but it is not two
  EXPECT_EQ(lines[14],
            prefix + "rank: 2, merge_minutes: 10, last_collection_time_first: 29920325, last_collection_time_next 0");
  EXPECT_EQ(lines[15], kNotDue);
}

TEST_F(ClientCountViews, StopLookingAtTheFirstIdThatIsDue) {
  Office(kAttic, 1);
  PassWith({1, 1, 1, 1});
  const LogCapture log;
  PassWith({1});
  // by SSID there is one id; of the two devices only the first is looked at
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 5"), SizeIs(2));
}

TEST_F(ClientCountViews, LookAtEveryIdWhenNoneIsDue) {
  Office(kAttic, 1);
  PassWith({1, 1, 1});
  const LogCapture log;
  PassWith({1});
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 5"), SizeIs(3));
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 2"), IsEmpty());
}

TEST_F(ClientCountViews, AreNotLookedAtInSeriesThatAreEmpty) {
  PassWith({1});
  clock.Set(test::kStart - 3600);
  monitor.set_current_time(clock.Now().tv_sec);
  const LogCapture log;
  monitor.MergeDataForInterval();  // drops the only minute, which lies in the future
  EXPECT_THAT(log.Texts(Level::kDebug, "rank:"), IsEmpty());
}

}  // namespace
