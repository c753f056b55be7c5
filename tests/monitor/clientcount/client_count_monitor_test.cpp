#include <gmock/gmock.h>

#include "tests/monitor/clientcount/client_count_fixture.h"

namespace {

using nlohmann::json;
using probe::log::Level;
using test::kAttic;
using test::kDevices;
using test::kLobby;
using test::kSsids;
using test::LogCapture;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const char* kNotDue = "[ClientCountMonitor::CalculateAverage] Don't need to merge";

class ClientCountMonitorViews : public test::ClientCountMonitorTest {};

TEST_F(ClientCountMonitorViews, HaveNoFiveMinutesBeforeThereAreFive) {
  PassWith({1, 2, 3});
  const LogCapture log;
  PassWith({4});
  EXPECT_THAT(OfDevice(kLobby, "5m"), IsEmpty());
  // five steps from view to view, of two series each
  EXPECT_THAT(log.Texts(Level::kDebug, kNotDue), SizeIs(10));
}

TEST_F(ClientCountMonitorViews, HoldThePeakOfFiveMinutes) {
  PassWith({3, 7, 2, 7, 1});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 7}}));
  EXPECT_EQ(OfSsid("Office", "5m"), (Counts{{5, 7}}));
}

TEST_F(ClientCountMonitorViews, AreMergedAgainOnlyAfterTheirTime) {
  PassWith({3, 7, 2, 7, 1});
  PassWith({9, 9, 9, 9});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 7}}));
  PassWith({9});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 7}, {10, 9}}));
}

TEST_F(ClientCountMonitorViews, BuildEachLongerViewFromTheOneBefore) {
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

TEST_F(ClientCountMonitorViews, KeepThirtySamplesOfEachInterval) {
  for (int round = 1; round <= 29; ++round) PassWith({1, 1, 1, 1, 1});
  EXPECT_THAT(OfDevice(kLobby, "5m"), SizeIs(29));
  PassWith({1, 1, 1, 1, 1});
  EXPECT_THAT(OfDevice(kLobby, "5m"), SizeIs(30));
  PassWith({1, 1, 1, 1, 1});
  EXPECT_THAT(OfDevice(kLobby, "5m"), SizeIs(30));
  EXPECT_EQ(OfDevice(kLobby, "5m").begin()->first, 10);
}

TEST_F(ClientCountMonitorViews, MergeEveryIdOnceOneIsDue) {
  PassWith({1, 2, 3, 4});
  Office(kAttic, 9);
  PassWith({5});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 5}}));
  EXPECT_EQ(OfDevice(kAttic, "5m"), (Counts{{5, 9}}));
}

TEST_F(ClientCountMonitorViews, GiveASampleToAnIdThatFiveMinutesBroughtNoClients) {
  PassWith({1, 1, 1, 1, 1});
  PassWith({0, 0, 0, 0, 0});
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 1}, {10, 0}}));
}

TEST_F(ClientCountMonitorViews, DropSamplesOfTheFutureBeforeTheyMerge) {
  PassWith({9, 9, 9, 9, 9, 9, 9});
  clock.Set(test::kStart);
  const LogCapture log;
  PassWith({1});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 1}}));
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 1}}));
  // six minutes and one of five minutes, by SSID and by device
  EXPECT_THAT(log.Texts(Level::kDebug, "[ClientCountMonitor::RemoveBadTimeSample] Remove junk sample"), SizeIs(14));
}

TEST_F(ClientCountMonitorViews, KeepSamplesOfTheFutureThatNothingIsMergedFrom) {
  for (int minute = 1; minute <= 1440; ++minute) PassWith({1});
  ASSERT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 1}}));
  clock.Set(test::kStart);
  PassWith({2});
  EXPECT_THAT(OfDevice(kLobby, "2h"), IsEmpty());
  EXPECT_EQ(OfDevice(kLobby, "1day"), (Counts{{1440, 1}}));
}

TEST_F(ClientCountMonitorViews, GiveAPeakOfZeroToAnIdThatHasNoSamplesLeft) {
  PassWith({3, 3, 3, 3, 3});
  monitor.Cleanup(kLobby);  // leaves its five minutes, which then lie in the future and are dropped
  network.AccessPoint(kLobby).Online(false);
  clock.Set(test::kStart - 3600);
  Office(kAttic, 4);
  for (int pass = 0; pass < 10; ++pass) Pass();
  EXPECT_EQ(OfDevice(kAttic, "10m"), (Counts{{-50, 4}}));
  EXPECT_EQ(OfDevice(kLobby, "10m"), (Counts{{-50, 0}}));
}

TEST_F(ClientCountMonitorViews, RepeatThePeakOfASeriesThatGetsNoMoreSamplesWhileOthersDo) {
  network.AccessPoint(kAttic).Wifi("wlan0", "Guest", "radio0", {0, 0}).Clients("wlan0", 1);
  PassWith({3, 3, 3, 3, 3, 3, 3, 3, 3, 3});
  monitor.Cleanup(kLobby);
  network.AccessPoint(kLobby).Online(false);
  for (int minute = 11; minute <= 30; ++minute) Pass();
  EXPECT_EQ(OfSsid("Office", "5m"), (Counts{{5, 3}, {10, 3}}));
  // its five minutes end at the tenth, and yet they are what each further ten minutes are made of
  EXPECT_EQ(OfSsid("Office", "10m"), (Counts{{10, 3}, {20, 3}, {30, 3}}));
}

TEST_F(ClientCountMonitorViews, TakeAPeakInPlaceOfOneOfTheSameMinute) {
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

TEST_F(ClientCountMonitorViews, ForgetTheSampleOfAFullSeriesThatTheClockLeapedBefore) {
  for (int minute = 1; minute <= 30; ++minute) PassWith({1});
  clock.Set(test::kStart - 600);
  // thirty later ones stand in the series, so the first zero is the oldest and goes; the count itself comes after
  PassWith({5});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{-9, 5}}));
}

TEST_F(ClientCountMonitorViews, LogWhatTheyMerge) {
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

TEST_F(ClientCountMonitorViews, LogHowOldTheSampleOfTheLongerViewIs) {
  PassWith({1, 1, 1, 1, 1});
  const LogCapture log;
  PassWith({1});
  const std::string line =
      "[ClientCountMonitor::CalculateAverage] rank: 5, merge_minutes: 5, last_collection_time_first: 29920326, "
      "last_collection_time_next 29920325";
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 5"), ElementsAre(line, line)) << "by SSID and by device";
}

TEST_F(ClientCountMonitorViews, StopLookingAtTheFirstIdThatIsDue) {
  Office(kAttic, 1);
  PassWith({1, 1, 1, 1});
  const LogCapture log;
  PassWith({1});
  // by SSID there is one id; of the two devices only the first is looked at
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 5"), SizeIs(2));
}

TEST_F(ClientCountMonitorViews, LookAtEveryIdWhenNoneIsDue) {
  Office(kAttic, 1);
  PassWith({1, 1, 1});
  const LogCapture log;
  PassWith({1});
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 5"), SizeIs(3));
  EXPECT_THAT(log.Texts(Level::kDebug, "rank: 2"), IsEmpty());
}

TEST_F(ClientCountMonitorViews, AreNotLookedAtInSeriesThatAreEmpty) {
  PassWith({1});
  clock.Set(test::kStart - 3600);
  monitor.set_current_time(clock.Now().tv_sec);
  const LogCapture log;
  monitor.MergeDataForInterval();  // drops the only minute, which lies in the future
  EXPECT_THAT(log.Texts(Level::kDebug, "rank:"), IsEmpty());
}

class ClientCountMonitorCleanup : public test::ClientCountMonitorTest {};

TEST_F(ClientCountMonitorCleanup, WithoutAMacOnlyLogs) {
  Office(kLobby, 1);
  Pass();
  const std::string before = Message(kSsids) + Message(kDevices);
  const LogCapture log;
  monitor.Cleanup("");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kError, 2, "[ClientCountMonitor::Cleanup] mac is empty"}));
  EXPECT_EQ(Message(kSsids) + Message(kDevices), before);
}

TEST_F(ClientCountMonitorCleanup, ForgetsPresentCountsAndMinutesButKeepsTheLongerViews) {
  PassWith({1, 1, 1, 1, 1});
  const LogCapture log;
  monitor.Cleanup(kLobby);
  EXPECT_EQ(
      log.Lines(),
      (std::vector<LogLine>{
          {Level::kDebug, 2, "[ClientCountMonitor::Cleanup] mac : AA:AA:AA:AA:AA:01"},
          {Level::kDebug, 2, "[ClientCountMonitor::Cleanup] ssid_mac_map size: 0"},
          {Level::kDebug, 2, "[ClientCountMonitor::Cleanup] Mac: AA:AA:AA:AA:AA:01, ssid: Office can be cleaned"}}));
  EXPECT_EQ(Body(kDevices).at("current_devices_counts"), json::object());
  EXPECT_EQ(Body(kSsids).at("current_ssid_clients_counts"), json::object());
  EXPECT_THAT(OfDevice(kLobby), IsEmpty());
  EXPECT_THAT(OfSsid("Office"), IsEmpty());
  EXPECT_EQ(OfDevice(kLobby, "5m"), (Counts{{5, 1}}));
  EXPECT_EQ(OfSsid("Office", "5m"), (Counts{{5, 1}}));
  EXPECT_EQ(OfDevice(kLobby, "10m"), (Counts{}));
  // merges visit only the ids of the shorter view, so the longer ones stay as they are and are still sent
  network.AccessPoint(kLobby).Online(false);
  for (int minute = 0; minute < 20; ++minute) Pass();
  EXPECT_EQ(OfSsid("Office", "5m"), (Counts{{5, 1}}));
}

TEST_F(ClientCountMonitorCleanup, KeepsEveryViewButThatOfMinutes) {
  for (int minute = 1; minute <= 1440; ++minute) PassWith({1});
  std::map<std::string, Counts> before;
  for (const char* view : {"5m", "10m", "1h", "2h", "1day"}) before[view] = OfDevice(kLobby, view);
  monitor.Cleanup(kLobby);
  EXPECT_THAT(OfDevice(kLobby, "1m"), IsEmpty());
  EXPECT_THAT(OfSsid("Office", "1m"), IsEmpty());
  for (const auto& [view, counts] : before) {
    EXPECT_THAT(counts, Not(IsEmpty())) << view;
    EXPECT_EQ(OfDevice(kLobby, view), counts) << view;
    EXPECT_EQ(OfSsid("Office", view), counts) << view;
  }
}

TEST_F(ClientCountMonitorCleanup, ForgetsTheSecondTimeOnlyWhatIsLeft) {
  Office(kAttic, 3);
  PassWith({1});
  monitor.Cleanup(kLobby);
  const LogCapture log;
  monitor.Cleanup(kLobby);
  // the one pair that is left is the attic's
  EXPECT_THAT(log.Texts(Level::kDebug, "ssid_mac_map size"),
              ElementsAre("[ClientCountMonitor::Cleanup] ssid_mac_map size: 1"));
}

TEST_F(ClientCountMonitorCleanup, ForgetsTheSsidsThatOnlyTheDeviceCarriesAndNoOthers) {
  Office(kAttic, 3);
  Office(kLobby, 1);
  network.AccessPoint(kLobby).Wifi("wlan1", "Tower", "radio1", {0, 0}).Clients("wlan1", 2);
  Pass();
  monitor.Cleanup(kLobby);
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 4}}));
  EXPECT_THAT(OfSsid("Tower"), IsEmpty());
}

TEST_F(ClientCountMonitorCleanup, KeepsTheMinutesOfAnSsidThatAnotherDeviceCarries) {
  Office(kAttic, 3);
  PassWith({1});
  const LogCapture log;
  monitor.Cleanup(kLobby);
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 4}}));
  EXPECT_EQ(Body(kSsids).at("current_ssid_clients_counts"), json::parse(R"({"Office": {"count": 3}})"));
  // once for the device that goes and once for the one that stays: all pairs are walked
  EXPECT_EQ(log.Texts(Level::kDebug, "ssid_mac_map size"),
            (std::vector<std::string>(2, "[ClientCountMonitor::Cleanup] ssid_mac_map size: 1")));
  EXPECT_THAT(log.Texts(Level::kDebug, "can be cleaned"), IsEmpty());
  monitor.Cleanup(kAttic);
  EXPECT_THAT(OfSsid("Office"), IsEmpty());
}

TEST_F(ClientCountMonitorCleanup, OfADeviceThatIsUnknownOrBeforeTheFirstPassChangesNothing) {
  monitor.Cleanup(kLobby);
  PassWith({1});
  const std::string before = Message(kSsids) + Message(kDevices);
  monitor.Cleanup(kAttic);
  EXPECT_EQ(Message(kSsids) + Message(kDevices), before);
}

TEST_F(ClientCountMonitorCleanup, LetsADeviceComeBackAsANewOne) {
  PassWith({1});
  monitor.Cleanup(kLobby);
  PassWith({2});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{2, 2}}));
  EXPECT_EQ(OfSsid("Office"), (Counts{{2, 2}}));
}

}  // namespace
