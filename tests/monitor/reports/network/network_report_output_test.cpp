#include <gmock/gmock.h>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_show.h"
#include "tests/monitor/reports/network/network_report_fixture.h"

namespace {

using probe::log::Level;
using test::At;
using test::kAp;
using test::kFar;
using test::LogLine;
using test::NetworkReportTest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using vexora_probe::monitor::Networks;
using vexora_probe::monitor::WirelessNetworkReport;

constexpr const char* kEmptyReply =
    R"({ "rogue_ap": [ ], "expire": false, "wireless_access_points": { }, "wireless_network": [ ], "spectrum_usage": { } })";
constexpr const char* kExpiredReply =
    R"({ "rogue_ap": [ ], "expire": true, "wireless_access_points": { }, "wireless_network": [ ], "spectrum_usage": { } })";

TEST_F(NetworkReportTest, ShowsFourSectionsAndWhetherTheBucketHasAgedOut) {
  auto device = Office(kAp, 3);
  device.Platform("M1", "1.2.3").Neighbours({Heard(kFar, "rogue", -60)});
  Sample();
  const char* expected =
      R"({ "rogue_ap": [ { "mac": "BB:BB:BB:BB:BB:01", "networks": "rogue", "first_seen": "2026-11-18 10:00:00", )"
      R"x("last_seen": "2026-11-18 10:00:00", "total_time": 0, "channel": "6 (2.4GHz)", "average_strength": -60.0, )x"
      R"("seen_by": { "AA:AA:AA:AA:AA:01": "ap-01" } } ], "expire": false, )"
      R"("wireless_access_points": { "AA:AA:AA:AA:AA:01": { "client_count": { "peak": 3, "average": 0.025000000000000001 }, )"
      R"("traffic": { "peak": 0.0, "average": 0.0 }, "apname": "ap-01", "model": "M1", "version": "1.2.3" } }, )"
      R"("wireless_network": [ { "name": "Office", "guest": false, "security": "WPA\/PSK", )"
      R"("client_count": { "peak": 3, "average": 0.025000000000000001 }, "traffic": { "peak": 0.0, "average": 0.0 } } ], )"
      R"("spectrum_usage": { "5GHz": { "client_count": { "peak": 3, "average": 0.025000000000000001 }, )"
      R"("traffic": { "peak": 0.0, "average": 0.0 } } } })";
  EXPECT_EQ(monitor.GetWirelessReport("daily", "2026-11-18"), expected);
}

TEST_F(NetworkReportTest, ListsDaysAndWeeksOldestFirst) {
  Office(kAp, 3);
  SampleAt(At(2026, 11, 20, 10, 0));
  SampleAt(At(2026, 11, 21, 10, 0));
  SampleAt(At(2026, 11, 22, 10, 0));
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), R"({ "daily": [ "2026-11-20", "2026-11-21", "2026-11-22" ], )"
                                              R"("weekly": [ "2026-11-15\/2026-11-21", "2026-11-22\/2026-11-28" ] })");
}

TEST_F(NetworkReportTest, ListsTheBucketsOfAccessPointsOnly) {
  network.AccessPoint(kAp).Named("ap").Neighbours({Heard(kFar, "rogue", -60)});
  Sample();
  EXPECT_THAT(Periods("daily"), IsEmpty()) << "rogue access points have a day, but no managed one has";
  EXPECT_THAT(Today()["rogue_ap"], SizeIs(1));
}

TEST_F(NetworkReportTest, SaysThatADayWhichWasDroppedHasAgedOut) {
  Office(kAp, 3);
  for (int day = 1; day <= 8; ++day) SampleAt(At(2026, 11, day, 10, 0));
  EXPECT_EQ(monitor.GetWirelessReport("daily", "2026-11-01"), kExpiredReply);
  EXPECT_FALSE(monitor.CheckPeriodExpire("daily", "2026-11-02"));
}

TEST_F(NetworkReportTest, SaysNothingHasAgedOutForAnEmptyOrUnknownTypeOrBeforeTheFirstSample) {
  EXPECT_EQ(monitor.GetWirelessReport("daily", "2026-11-18"), kEmptyReply) << "no bucket at all";
  Office(kAp, 3);
  Sample();
  EXPECT_EQ(monitor.GetWirelessReport("", ""), kEmptyReply);
  EXPECT_EQ(monitor.GetWirelessReport("", "2026-11-18"), kEmptyReply);
  EXPECT_EQ(monitor.GetWirelessReport("yearly", "2026"), kEmptyReply);
  EXPECT_EQ(monitor.GetWirelessReport("daily", ""), kExpiredReply) << "there are days, but not this one";
  EXPECT_EQ(monitor.GetWirelessReport("weekly", "2026-11-18"), kExpiredReply);
}

TEST_F(NetworkReportTest, ShowsAHiddenNetworkAsSuch) {
  Office(kAp, 1).Neighbours({Heard(kFar, "", -60)});
  Sample();
  EXPECT_EQ(Today()["rogue_ap"][0]["networks"], "<hidden>");
}

TEST_F(NetworkReportTest, ShowsTheChannelWithItsBand) {
  Neighbour unknown = Heard("BB:BB:BB:BB:BB:02", "x", -60);
  unknown.band = Band::kUnknown;
  Neighbour fast = Heard("BB:BB:BB:BB:BB:03", "x", -60);
  fast.band = Band::k5GHz;
  fast.channel = 36;
  Office(kAp, 1).Neighbours({Heard(kFar, "x", -60), unknown, fast});
  Sample();
  std::vector<std::string> channels;
  const Json today = Today();
  for (const Json& rogue : today["rogue_ap"]) channels.push_back(rogue["channel"]);
  EXPECT_THAT(channels, ElementsAre("6 (2.4GHz)", "6 ()", "36 (5GHz)"));
}

TEST_F(NetworkReportTest, IsNeverExpiredWhileThereAreRogueAccessPointsOnly) {
  network.AccessPoint(kAp).Neighbours({Heard(kFar, "rogue", -60)});
  Sample();
  EXPECT_THAT(Today()["rogue_ap"], SizeIs(1));
  EXPECT_EQ(Today()["expire"], false);
  // Access points alone tell which periods there are.
  for (const char* day : {"2026-11-17", "2026-11-19", ""}) EXPECT_EQ(Reply("daily", day)["expire"], false) << day;
  EXPECT_EQ(Reply("weekly", "2026-11-08/2026-11-14")["expire"], false);
}

TEST_F(NetworkReportTest, LeavesOutRogueAccessPointsWithoutAMac) {
  Office(kAp, 1).Neighbours({Heard("", "nameless", -60), Heard(kFar, "rogue", -60)});
  Sample();
  const test::LogCapture log;
  EXPECT_THAT(Today()["rogue_ap"], SizeIs(1));
  EXPECT_THAT(log.Texts(Level::kError, "GetRogueAPsReport"),
              ElementsAre("[WirelessNetworkReport::GetRogueAPsReport] Mac is empty"));
}

TEST_F(NetworkReportTest, LeavesHearersWithoutMacOrNameOutAndLogsTheOthersAsErrors) {
  const test::LogCapture log;
  const auto seen_by = WirelessNetworkReport::GenerateSeenByString({{"", "no mac"}, {"m1", "one"}, {"m2", ""}});
  EXPECT_EQ(monitoring::TextOf(seen_by.get()), R"({ "m1": "one" })");
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(LogLine{Level::kError, 2, "[WirelessNetworkReport::GenerateSeenByString] Mac: m1, hostname: one"}));
}

TEST(SSIDSection, LeavesOutAnSSIDWhoseNamePartIsEmpty) {
  const test::LogCapture log;
  const auto shown =
      vexora_probe::monitor::SSIDsArray({{"|3|1", Networks{}}, {"noseparator", Networks{}}, {"b|4|1", Networks{}}});
  const auto networks = nlohmann::json::parse(monitoring::TextOf(shown.get()));
  ASSERT_THAT(networks, SizeIs(1));
  EXPECT_EQ(networks[0]["name"], "b");
  EXPECT_THAT(log.Texts(Level::kInfo),
              ElementsAre("[WirelessNetworkReport::GetSSIDsReport] The SSID name is empty. Key: noseparator",
                          "[WirelessNetworkReport::GetSSIDsReport] The SSID name is empty. Key: |3|1"));
}

TEST(SSIDSection, NamesTheSecurityModes) {
  const test::LogCapture log;
  const auto shown =
      vexora_probe::monitor::SSIDsArray({{"a|0|0", {}}, {"b|1|0", {}}, {"c|3|0", {}}, {"d|4|1", {}}, {"e|-1|0", {}}});
  std::vector<std::string> modes;
  for (const auto& network : nlohmann::json::parse(monitoring::TextOf(shown.get()))) {
    modes.push_back(network["security"]);
  }
  EXPECT_THAT(modes, ElementsAre("None", "Unknown", "WPA/PSK", "WPA/ENT", "Unknown"));
  EXPECT_THAT(log.Texts(Level::kDebug, "security mode"),
              ElementsAre("[WirelessNetworkReport::GetSSIDsReport] security mode: 0",
                          "[WirelessNetworkReport::GetSSIDsReport] security mode: 1",
                          "[WirelessNetworkReport::GetSSIDsReport] security mode: 3",
                          "[WirelessNetworkReport::GetSSIDsReport] security mode: 4",
                          "[WirelessNetworkReport::GetSSIDsReport] security mode: -1"));
}

TEST_F(NetworkReportTest, ShowsWhatIsNotFiniteAsSuchInTheFirstFiveMinutesOfADay) {
  Office(kAp, 3);
  SampleAt(At(2026, 11, 19, 0, 2));
  EXPECT_THAT(monitor.GetWirelessReport("daily", "2026-11-19"),
              HasSubstr(R"("5GHz": { "client_count": { "peak": 3, "average": 3.0 }, )"
                        R"("traffic": { "peak": 0.0, "average": NaN } })"));
  EXPECT_THAT(monitor.GetWirelessReport("weekly", "2026-11-15/2026-11-21"), HasSubstr(R"("average": NaN)"));
  SampleAt(At(2026, 11, 19, 0, 7));
  EXPECT_THAT(monitor.GetWirelessReport("weekly", "2026-11-15/2026-11-21"), Not(HasSubstr("NaN")));
}

}  // namespace
