#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/reports/network/network_records.h"
#include "platform/configuration.h"
#include "platform/device_centre.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <list>
#include <memory>
#include <string>

#include "monitor/engine/report_limits.h"
#include "monitor/reports/network/network_keys.h"
#include "probe/host/device_centre.h"
#include "tests/monitor/reports/network/network_report_fixture.h"

namespace {

using probe::log::Level;
using test::At;
using test::kAp;
using test::kFar;
using test::kMegabitForFiveMinutes;
using test::kOtherAp;
using test::LogLine;
using test::NetworkReportTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using vexora_probe::models::controller::SSIDCfg;
using vexora_probe::monitor::SampleCountCurrentTime;
using vexora_probe::monitor::WirelessNetworkReport;

TEST_F(NetworkReportTest, IsCalledWirelessNetworkReport) {
  EXPECT_EQ(monitor.GetMonitorName(), "wireless_network_report");
}

TEST_F(NetworkReportTest, TakesSamplesOnEveryFifthPass) {
  Office(kAp, 3);
  std::vector<std::size_t> days;
  for (int pass = 1; pass <= 11; ++pass) {
    PassAt(clock.Now().tv_sec + 60);
    days.push_back(Periods("daily").size());
  }
  EXPECT_THAT(days, ElementsAre(0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1));
  Office(kAp, 9);  // the twelfth to the fourteenth pass do not see it, the fifteenth does
  for (int pass = 12; pass <= 14; ++pass) PassAt(clock.Now().tv_sec + 60);
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["client_count"]["peak"], 3);
  PassAt(clock.Now().tv_sec + 60);
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["client_count"]["peak"], 9);
}

TEST_F(NetworkReportTest, CountsTheSlotsOfTheDayThatHaveBegun) {
  const test::LogCapture log;
  SampleAt(At(2026, 11, 18, 13, 7));
  EXPECT_EQ(SampleCountCurrentTime, 157);
  EXPECT_THAT(log.Texts(Level::kDebug, "SampleCountCurrentTime"),
              ElementsAre("[WirelessNetworkReport::CollectData] timeinfo.tm_hour: 13, timeinfo.tm_min: 7, "
                          "SampleCountCurrentTime: 157"));
  SampleAt(At(2026, 11, 18, 23, 59));
  EXPECT_EQ(SampleCountCurrentTime, 287);
  SampleAt(At(2026, 11, 19, 0, 4));
  EXPECT_EQ(SampleCountCurrentTime, 0);
}

TEST_F(NetworkReportTest, CollectsNothingWhenTheWeekCannotBeNamedAndTriesAgainFivePassesLater) {
  constexpr time_t kYearTenThousand = 253'402'300'800;  // its dates are longer than a day key
  Office(kAp, 3);
  Sample();
  const std::string before = monitor.GetAvailableTypePeriod();
  const test::LogCapture log;
  for (int pass = 0; pass < 9; ++pass) PassAt(kYearTenThousand + 604'800 + pass * 60);
  EXPECT_THAT(log.Texts(Level::kError),
              ElementsAre("[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format",
                          "[WirelessNetworkReport::CollectData] Get start and end day failed"));
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), before);
  PassAt(kYearTenThousand + 604'800 + 600);
  EXPECT_THAT(log.Texts(Level::kError, "failed"), SizeIs(2));
}

TEST_F(NetworkReportTest, GoesThroughTheStepsOfAPassInOrder) {
  Office(kAp, 3).Neighbours({Heard(kFar, "rogue", -60)});
  Sample();
  Office(kAp, 3, {1'000, 1'000});
  test::LogCapture log;
  Sample();
  std::vector<std::string> steps;
  for (const LogLine& line : log.Lines()) {
    const std::string step = line.text.substr(0, line.text.find(']') + 1);
    if (steps.empty() || steps.back() != step) steps.push_back(step);
  }
  const auto at = [](const std::string& name) { return "[WirelessNetworkReport::" + name + "]"; };
  EXPECT_THAT(
      steps,
      ElementsAre(at("GetStartEndTimeOfWeek"), at("CollectData"), at("ClearOtherSnapShot"), at("CollectData"),
                  at("CollectNeighboringAPs"), at("GetAverageSignalStrength"), at("CollectNeighboringAPs"),
                  at("GetAverageSignalStrength"), at("CollectOneSSID"), at("CalculateClientCountData"),
                  at("CalculateTrafficData"), at("CollectSSIDsByMac"), at("RemoveRadioTypeFromSSIDKey"),
                  at("GetSSIDNameFromKey"), at("CollectSSIDs"), at("CalculateClientCountData"), at("CollectSSIDs"),
                  at("CalculateDailyTraffic"), at("CalculateWeeklyTraffic"), at("CollectSSIDs"),
                  at("CollectAccessPoints"), at("CalculateClientCountData"), at("CollectAccessPoints"),
                  at("CalculateAccesspointsDailyTraffic"), at("CalculateWeeklyTraffic"), at("CollectAccessPoints"),
                  at("CollectSpectrums"), at("CalculateClientCountData"), at("CollectSpectrums"),
                  at("CalculateSpectrumDailyTraffic"), at("CalculateWeeklyTraffic")));
  EXPECT_THAT(
      log.Texts(Level::kDebug, "Collect"),
      ::testing::IsSupersetOf(
          {"[WirelessNetworkReport::CollectData] Times up",
           "[WirelessNetworkReport::CollectSSIDsByMac] ID: AA:AA:AA:AA:AA:01, key: Office|3|0|5GHz, radio "
           "type: 5GHz, delta time: 300",
           "[WirelessNetworkReport::CollectSSIDs] new ssid key: Office|3|0",
           "[WirelessNetworkReport::CollectSSIDs] Minsutes: 29916605, ssid: Office|3|0, client "
           "count(current): 3, traffic average: 0.000051",
           "[WirelessNetworkReport::CollectSSIDs] Start", "[WirelessNetworkReport::CollectSSIDs] End",
           "[WirelessNetworkReport::CollectAccessPoints] ID: AA:AA:AA:AA:AA:01, Minsutes: 29916605, client "
           "count(current): 3, traffic average: 0.000051",
           "[WirelessNetworkReport::CollectAccessPoints] Start", "[WirelessNetworkReport::CollectAccessPoints] End",
           "[WirelessNetworkReport::CollectSpectrums] ID: 5GHz, Minsutes: 29916605, client count(current): 3, "
           "traffic average: 0.000051",
           "[WirelessNetworkReport::CollectSpectrums] Start"}));
  EXPECT_THAT(log.Texts(Level::kDebug, "CollectSpectrums] End"), IsEmpty());
  EXPECT_THAT(log.Texts(Level::kInfo), IsEmpty());
  EXPECT_THAT(log.Texts(Level::kError), IsEmpty());
}

TEST_F(NetworkReportTest, WritesTheLinesOfDaysAndWeekOnceForAllIdsOfAFamily) {
  for (int number = 0; number < 9; ++number) Office("AA:AA:AA:AA:AA:0" + std::to_string(number), 1);
  Sample();
  clock.Set(At(2026, 11, 19, 9, 0));
  test::LogCapture log;
  Sample();
  // nine devices of one network, nine access points, one SSID and one band: a line for each of their finished days
  EXPECT_THAT(log.Texts(Level::kDebug, "day: 2026-11-18, average count"), SizeIs(9 + 9 + 1 + 1));
}

TEST_F(NetworkReportTest, FoldsClientsAndTrafficOfADayAndAWeek) {
  Office(kAp, 3, {0, 0});
  Sample();  // 10:00, slot 120
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["traffic"], (Json{{"peak", 0.0}, {"average", 0.0}}));
  Office(kAp, 5, {kMegabitForFiveMinutes, kMegabitForFiveMinutes});
  Sample();  // 10:05, slot 121: two megabits a second
  const Json day{{"client_count", {{"peak", 5}, {"average", 8 / 121.0}}},
                 {"traffic", {{"peak", 2.0}, {"average", 2 / 121.0}}}};
  const Json week{{"client_count", {{"peak", 5}, {"average", 8 / 121.0 / 4}}},  // a Wednesday
                  {"traffic", {{"peak", 2.0}, {"average", 2 / 121.0 / 4}}}};
  EXPECT_EQ(Today()["spectrum_usage"], (Json{{"5GHz", day}}));
  EXPECT_EQ(ThisWeek()["spectrum_usage"], (Json{{"5GHz", week}}));
  Json office = day;
  office.update({{"name", "Office"}, {"guest", false}, {"security", "WPA/PSK"}});
  EXPECT_EQ(Today()["wireless_network"], Json::array({office}));
  Json access_point = day;
  access_point.update({{"apname", "ap-01"}, {"model", ""}, {"version", ""}});
  EXPECT_EQ(Today()["wireless_access_points"], (Json{{kAp, access_point}}));
}

/// An access point with one network on both bands: four clients and one megabit a second on the lower one, three and
/// two on the upper one.
class TwoBands : public NetworkReportTest {
 protected:
  TwoBands() {
    auto device = Office(kAp, 3, {0, 0});
    device.Radio("radio0", Band::k2_4GHz).Wifi("wifi0", "Office", "radio0", {0, 0}).Clients("wifi0", 4);
    device.Configured("Office@BOTH", {.name = "Office", .security_mode = Security::kWpaPersonal});
    Sample();
    device.Wifi("wifi0", "Office", "radio0", {kMegabitForFiveMinutes, 0}).Clients("wifi0", 4);
    device.Wifi("wifi1", "Office", "radio1", {0, kMegabitForFiveMinutes * 2}).Clients("wifi1", 3);
    log.Forget();
    Sample();
  }

  test::LogCapture log;  // of the second sample
};

TEST_F(TwoBands, OfOneSSIDAreSummedMinuteByMinute) {
  const Json networks = Today()["wireless_network"];
  ASSERT_THAT(networks, SizeIs(1)) << "two keys with radio, one without";
  EXPECT_EQ(networks[0]["client_count"]["peak"], 7);
  EXPECT_EQ(networks[0]["traffic"]["peak"], 3.0);
  EXPECT_EQ(Today()["spectrum_usage"]["2.4GHz"]["client_count"]["peak"], 4);
  EXPECT_EQ(Today()["spectrum_usage"]["2.4GHz"]["traffic"]["peak"], 1.0);
  EXPECT_EQ(Today()["spectrum_usage"]["5GHz"]["traffic"]["peak"], 2.0);
}

TEST_F(TwoBands, AreFoldedOneAfterTheOtherClientsThenSpeedThenTheirLine) {
  std::vector<std::string> steps;
  for (const std::string& text : log.Texts(Level::kDebug)) {
    if (text.find("CollectSSIDsByMac") != std::string::npos) steps.emplace_back("line");
    if (text.find("ID: Office|3|0|2.4GHz, average_count") != std::string::npos)
      steps.emplace_back("clients of 2.4 GHz");
    if (text.find("ID: Office|3|0|5GHz, average_count") != std::string::npos) steps.emplace_back("clients of 5 GHz");
    if (text.find("ID: Office|3|0|2.4GHz, time delta") != std::string::npos) steps.emplace_back("speed of 2.4 GHz");
    if (text.find("ID: Office|3|0|5GHz, time delta") != std::string::npos) steps.emplace_back("speed of 5 GHz");
  }
  EXPECT_THAT(steps, ElementsAre("clients of 2.4 GHz", "speed of 2.4 GHz", "line", "clients of 5 GHz", "speed of 5 GHz",
                                 "line"));
}

TEST_F(TwoBands, AreLoggedOneByOneAndTheirSumsMinuteByMinute) {
  std::vector<LogLine> lines;
  for (const LogLine& line : log.Lines()) {
    if (line.text.find("CollectSSIDs") != std::string::npos) lines.push_back(line);
  }
  const auto debug = [](const std::string& text) {
    return LogLine{Level::kDebug, 2, "[WirelessNetworkReport::" + text};
  };
  const std::string device = "CollectSSIDsByMac] ID: AA:AA:AA:AA:AA:01, key: Office|3|0|";
  const std::string sum = "CollectSSIDs] Minsutes: ";
  EXPECT_THAT(
      lines, ElementsAre(debug(device + "2.4GHz, radio type: 2.4GHz, delta time: 300"),
                         debug(device + "5GHz, radio type: 5GHz, delta time: 300"),
                         debug("CollectSSIDs] new ssid key: Office|3|0"),
                         debug(sum + "29916600, ssid: Office|3|0, client count(current): 4, traffic average: 0.000000"),
                         debug(sum + "29916605, ssid: Office|3|0, client count(current): 4, traffic average: 1.000000"),
                         debug("CollectSSIDs] new ssid key: Office|3|0"),
                         debug(sum + "29916600, ssid: Office|3|0, client count(current): 7, traffic average: 0.000000"),
                         debug(sum + "29916605, ssid: Office|3|0, client count(current): 7, traffic average: 3.000000"),
                         debug("CollectSSIDs] Start"), debug("CollectSSIDs] End")));
}

TEST_F(NetworkReportTest, CalculatesTheTrafficOfAWeekByItself) {
  Sample();  // on a Wednesday: four days of the week have begun
  vexora_probe::monitor::Report report;
  const auto set_day = [&](const char* day, double average, double peak) {
    report["daily"][day]["id"].measured.traffic.average = average;
    report["daily"][day]["id"].measured.traffic.peak = peak;
  };
  for (const char* day : {"2026-11-11", "2026-11-12", "2026-11-13", "2026-11-14"}) set_day(day, 100, 200);
  set_day("2026-11-15", 1, 4);
  set_day("2026-11-16", 2, 9);
  set_day("2026-11-17", 3, 5);
  set_day("2026-11-18", 6, 7);
  report["weekly"]["any"]["id"].measured.client.item.peak = 8;
  const test::LogCapture log;
  monitor.CalculateWeeklyTraffic(report, "2026-11-18", "any");
  EXPECT_THAT(report["daily"], SizeIs(7));
  EXPECT_FALSE(report["daily"].contains("2026-11-11"));
  EXPECT_THAT(report["weekly"], SizeIs(1)) << "filed under the key that is given, from the days of the pass's week";
  const auto& week = report["weekly"]["any"]["id"].measured;
  EXPECT_EQ(week.traffic.average, (1 + 2 + 3 + 6) / 4.0);
  EXPECT_EQ(week.traffic.peak, 9);
  EXPECT_EQ(week.client.item.peak, 8U) << "the week's clients stay";
  const std::string at = "[WirelessNetworkReport::CalculateWeeklyTraffic] ";
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 2, at + "Exceed 7 days"},
                                       LogLine{Level::kDebug, 2, at + "ID: id, average: 3.000000, peak: 9.000000"}));
}

TEST_F(NetworkReportTest, TellsNetworksOfOneNameButDifferentSecurityOrGuestFlagApart) {
  Office(kAp, 1);
  Office(kOtherAp, 2).Configured("Office@radio1", {.name = "Office", .security_mode = Security::kNone, .guest = true});
  Sample();
  const Json networks = Today()["wireless_network"];
  ASSERT_THAT(networks, SizeIs(2));
  EXPECT_EQ(networks[0]["security"], "None");
  EXPECT_EQ(networks[0]["guest"], true);
  EXPECT_EQ(networks[1]["security"], "WPA/PSK");
  EXPECT_EQ(networks[1]["guest"], false);
}

TEST_F(NetworkReportTest, KeepsASeparatorInANameWhole) {
  network.AccessPoint(kAp).Named("ap").Radio("radio1", Band::k5GHz).Wifi("wifi1", "a|b|7", "radio1", {0, 0});
  network.AccessPoint(kAp).Configured("a|b|7@BOTH", {.name = "a|b|7", .security_mode = Security::kWpaEnterprise});
  Sample();
  EXPECT_EQ(Today()["wireless_network"][0]["name"], "a|b|7");
  EXPECT_EQ(Today()["wireless_network"][0]["security"], "WPA/ENT");
}

TEST_F(NetworkReportTest, PrefersTheConfigurationOfTheRadioToTheOneForBoth) {
  Office(kAp, 1).Configured("Office@BOTH", {.name = "Office", .security_mode = Security::kNone});
  Sample();
  EXPECT_EQ(Today()["wireless_network"][0]["security"], "WPA/PSK");
}

TEST_F(NetworkReportTest, ReadsTheConfigurationOfARouterToo) {
  auto router = network.Router(kAp);
  router.Named("router").Radio("r", Band::k2_4GHz).Wifi("w", "Home", "r", {0, 0});
  router.Configured("Home@BOTH", {.name = "Home", .security_mode = static_cast<Security>(7)});
  Sample();
  EXPECT_EQ(Today()["wireless_network"][0]["security"], "Unknown");
}

TEST_F(NetworkReportTest, ChoosesTheConfigurationOfAnSSID) {
  Office(kAp, 1).Configured("Office@BOTH", {.name = "both"});
  SSIDConfigurations configurations;
  WirelessNetworkReport::GetSSIDCfgs(kAp, configurations);
  EXPECT_THAT(configurations, SizeIs(2));
  SSIDCfg chosen;
  EXPECT_TRUE(WirelessNetworkReport::GetSSIDCfg("Office", "radio1", configurations, chosen));
  EXPECT_EQ(chosen.name, "Office");
  EXPECT_TRUE(WirelessNetworkReport::GetSSIDCfg("Office", "radio0", configurations, chosen));
  EXPECT_EQ(chosen.name, "both");
  EXPECT_FALSE(WirelessNetworkReport::GetSSIDCfg("Other", "radio1", configurations, chosen));
  EXPECT_EQ(chosen.name, "both") << "left as it was";
  WirelessNetworkReport::GetSSIDCfgs(kOtherAp, configurations);
  EXPECT_THAT(configurations, IsEmpty()) << "an unknown device has none";
}

TEST_F(NetworkReportTest, LeavesInterfacesOutThatLackANameStatisticsABandOrAConfiguration) {
  auto device = network.AccessPoint(kAp);
  device.Named("ap").Radio("r", Band::k2_4GHz).Radio("strange", static_cast<Band>(2));
  device.Wifi("w1", "", "r", {0, 0}).WifiWithoutStatistics("w2", "Two", "r").Wifi("w3", "Three", "strange", {1, 2});
  device.Wifi("w4", "Four", "nowhere", {3, 4}).Wifi("w5", "Five", "r", {5, 6}).Wifi("w6", "Six", "r", {7, 8});
  device.Configured("Three@BOTH", {}).Configured("Four@BOTH", {}).Configured("Six@r", {.name = "Six"});
  const test::LogCapture log;
  Sample();
  const std::string at = "[WirelessNetworkReport::CollectOneSSID] Device: AA:AA:AA:AA:AA:01, ";
  std::vector<LogLine> lines;
  for (const LogLine& line : log.Lines()) {
    if (line.text.find("CollectOneSSID") != std::string::npos) lines.push_back(line);
  }
  EXPECT_THAT(lines, ElementsAre(LogLine{Level::kDebug, 2, at + "interface: w1, SSID name is empty"},
                                 LogLine{Level::kDebug, 2, at + "interface: w2, traffic statistics is empty"},
                                 LogLine{Level::kDebug, 2, at + "interface: w3, inOctets: 1,outOctets: 2"},
                                 LogLine{Level::kError, 2, at + "radio type is empty. WIFIBandType type: 2"},
                                 LogLine{Level::kDebug, 2, at + "interface: w4, inOctets: 3,outOctets: 4"},
                                 LogLine{Level::kError, 2, at + "radio type is empty. WIFIBandType type: -1"},
                                 LogLine{Level::kDebug, 2, at + "interface: w5, inOctets: 5,outOctets: 6"},
                                 LogLine{Level::kError, 2, at + "SSID config is empty."},
                                 LogLine{Level::kDebug, 2, at + "interface: w6, inOctets: 7,outOctets: 8"}));
  ASSERT_THAT(Today()["wireless_network"], SizeIs(1));
  EXPECT_EQ(Today()["wireless_network"][0]["name"], "Six");
}

TEST_F(NetworkReportTest, LeavesOutDevicesThatAreUnknownHaveNoDriverNoWirelessSideOrAreOffline) {
  Office(kAp, 1).Known(false);
  Office(kOtherAp, 1).Driven(false);
  Office("AA:AA:AA:AA:AA:03", 1).Wireless(false);
  Office("AA:AA:AA:AA:AA:04", 1).Online(false);
  Office("AA:AA:AA:AA:AA:05", 1);
  Sample();
  EXPECT_THAT(Today()["wireless_access_points"], SizeIs(1));
  EXPECT_TRUE(Today()["wireless_access_points"].contains("AA:AA:AA:AA:AA:05"));
}

TEST_F(NetworkReportTest, NamesADeviceWithoutBasicInformationInTheLogByTheMacOfTheList) {
  Office(kAp, 1).WithoutBasicInfo();
  const test::LogCapture log;
  Sample();
  EXPECT_THAT(log.Texts(Level::kError),
              ElementsAre("[WirelessNetworkReport::CollectOneSSID] Device: AA:AA:AA:AA:AA:01, SSID config is empty."));
}

TEST_F(NetworkReportTest, TakesACountBelowZeroForNobody) {
  Office(kAp, 2).CountedBy("wifi1", -1);
  Sample();
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["client_count"]["peak"], 0);
}

TEST_F(NetworkReportTest, TakesNoSampleOfADeviceWithoutDriver) {
  Office(kAp, 1).Driven(false);
  monitor.CollectOneSSID(DeviceManager::GetInstance().device(kAp), At(2026, 11, 18, 10, 0), "2026-11-18",
                         "2026-11-15/2026-11-21");
  monitor.CollectAccessPoints(At(2026, 11, 18, 10, 0), "2026-11-18", "2026-11-15/2026-11-21");
  EXPECT_THAT(Periods("daily"), IsEmpty());
}

TEST_F(NetworkReportTest, AddsEveryManagedAccessPointThatHearsARogueOneToTheDay) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  Office(kOtherAp, 1).Neighbours({Heard(kFar, "rogue", -80)});
  Sample();
  clock.Set(clock.Now().tv_sec + 60);  // the next sample comes after 360 seconds
  Sample();
  const Json rogues = Today()["rogue_ap"];
  ASSERT_THAT(rogues, SizeIs(1));
  EXPECT_EQ(rogues[0]["seen_by"], (Json{{kAp, "ap-01"}, {kOtherAp, "ap-02"}}));
  EXPECT_EQ(rogues[0]["total_time"], 360) << "the gap between the two sightings";
  EXPECT_EQ(rogues[0]["first_seen"], "2026-11-18 10:00:00");
  EXPECT_EQ(rogues[0]["last_seen"], "2026-11-18 10:06:00");
  EXPECT_NEAR(rogues[0]["average_strength"].get<double>(), -80, 1e-9) << "the last to hear it in a minute counts";
  EXPECT_EQ(ThisWeek()["rogue_ap"], rogues);
}

TEST_F(NetworkReportTest, AveragesTheSamplesOfTheDayInThePowerDomain) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  Sample();
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -80)});
  Sample();
  EXPECT_NEAR(Today()["rogue_ap"][0]["average_strength"].get<double>(), -43.0099, 1e-3);
}

TEST_F(NetworkReportTest, LogsWhatItHears) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  clock.Set(At(2026, 11, 14, 9, 55));  // a Saturday
  Sample();
  clock.Set(At(2026, 11, 15, 9, 55));
  Sample();
  const test::LogCapture log;
  Sample();
  const std::string at = "[WirelessNetworkReport::CollectNeighboringAPs] ";
  EXPECT_THAT(log.Texts(Level::kDebug, "CollectNeighboringAPs"),
              ElementsAre(at + "Mac: BB:BB:BB:BB:BB:01,now: 1794737100, last seen: 1794736800, first seen: 1794736800",
                          at + "Mac: BB:BB:BB:BB:BB:01, average signal strength: -40.000000",
                          at + "day: 2026-11-14 is not in this week: 2026-11-15/2026-11-21",
                          at + "Add key: BB:BB:BB:BB:BB:01/rogue/6/2.4GHz, day: 2026-11-15"));
}

TEST_F(NetworkReportTest, ForgetsARogueAccessPointThatEveryHearerTrustsNow) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  Office(kOtherAp, 1).Neighbours({Heard(kFar, "rogue", -50)});
  Sample();
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40, true)});
  Office(kOtherAp, 1).Neighbours({});
  Sample();
  EXPECT_EQ(Today()["rogue_ap"][0]["seen_by"], (Json{{kOtherAp, "ap-02"}}));
  Office(kOtherAp, 1).Neighbours({Heard(kFar, "rogue", -50, true)});
  const test::LogCapture log;
  Sample();
  EXPECT_THAT(Today()["rogue_ap"], IsEmpty());
  EXPECT_THAT(ThisWeek()["rogue_ap"], SizeIs(1))
      << "the first scan of the pass built the week while it was still there";
  EXPECT_THAT(log.Texts(Level::kDebug, "trusted"),
              ElementsAre("[WirelessNetworkReport::CollectNeighboringAPs] The AP: "
                          "BB:BB:BB:BB:BB:01/rogue/6/2.4GHz is changed to trusted"));
  Sample();
  EXPECT_THAT(ThisWeek()["rogue_ap"], IsEmpty());
}

TEST_F(NetworkReportTest, StoresNothingOfATrustedAccessPoint) {
  Office(kAp, 1).Neighbours({Heard(kFar, "ours", -40, true)});
  Sample();
  EXPECT_THAT(Today()["rogue_ap"], IsEmpty());
  EXPECT_THAT(ThisWeek()["rogue_ap"], IsEmpty());
}

TEST_F(NetworkReportTest, NamesARogueAccessPointInTheWeekAsInItsFirstDay) {
  Office(kOtherAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  Office(kAp, 1).Neighbours({Heard("m", "x/y", -40)});
  Sample();
  // another one, whose key is the same, takes its place within one scan
  Office(kAp, 1).Neighbours({Heard("m", "x/y", -40, true), Heard("m/x", "y", -40)});
  Sample();
  const Json expected = Today()["rogue_ap"];
  EXPECT_EQ(expected[1]["mac"], "m/x");
  EXPECT_EQ(ThisWeek()["rogue_ap"], expected);
}

TEST_F(NetworkReportTest, BuildsTheRogueWeekFromItsDays) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  Sample();  // Wednesday 10:00
  Sample();  // and 10:05
  Office(kAp, 1).Neighbours({});
  Office(kOtherAp, 1).Neighbours({Heard(kFar, "rogue", -80)});
  SampleAt(At(2026, 11, 19, 8, 0));
  SampleAt(At(2026, 11, 19, 8, 5));
  SampleAt(At(2026, 11, 19, 8, 10));
  const Json rogues = ThisWeek()["rogue_ap"];
  ASSERT_THAT(rogues, SizeIs(1));
  EXPECT_EQ(rogues[0]["first_seen"], "2026-11-18 10:00:00");
  EXPECT_EQ(rogues[0]["last_seen"], "2026-11-19 08:10:00");
  EXPECT_EQ(rogues[0]["total_time"], 300 + 600);
  EXPECT_EQ(rogues[0]["seen_by"], (Json{{kAp, "ap-01"}})) << "the first day's";
  EXPECT_NEAR(rogues[0]["average_strength"].get<double>(), -43.0099, 1e-3);
}

TEST_F(NetworkReportTest, KeepsARogueWeekWhileLaterWeeksHearTrustedAccessPointsAlone) {
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40)});
  Sample();
  const Json rogues = ThisWeek()["rogue_ap"];
  ASSERT_THAT(rogues, SizeIs(1));
  const std::string week = Monitor::GetWeekStr(static_cast<long>(clock.Now().tv_sec));
  Office(kAp, 1).Neighbours({Heard(kFar, "rogue", -40, true)});
  for (int day = 25; day <= 25 + 5 * 7; day += 7) SampleAt(At(2026, 11, day, 10, 0));
  EXPECT_EQ(Reply("weekly", week)["rogue_ap"], rogues);
}

TEST_F(NetworkReportTest, NamesAccessPointsInEveryBucketAndRenewsTheNames) {
  Office(kAp, 1).Named("old name").Platform("M1", "1.0");
  Sample();
  clock.Set(At(2026, 11, 19, 9, 0));
  Office(kAp, 1).Named("new name").Platform("M1", "2.0");
  Sample();
  for (const Json& reply : {Reply("daily", "2026-11-18"), Today(), ThisWeek()}) {
    const Json& access_point = reply["wireless_access_points"][kAp];
    EXPECT_EQ(access_point["apname"], "new name");
    EXPECT_EQ(access_point["model"], "M1");
    EXPECT_EQ(access_point["version"], "2.0");
  }
}

TEST_F(NetworkReportTest, KeepsTheNameOfAnAccessPointThatTheHostForgotAndEmptiesAModelItDoesNotKnow) {
  Office(kAp, 1).Named("known").Platform("M1", "1.0");
  Office(kOtherAp, 1).Named("other");
  Sample();
  probe::DeviceCentre::Instance().Forget(kAp);
  monitor.UpdateAccessPointsInfo();
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["apname"], "known");
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["model"], "M1");
  EXPECT_EQ(Today()["wireless_access_points"][kOtherAp]["apname"], "other");
  EXPECT_EQ(Today()["wireless_access_points"][kOtherAp]["model"], "");
  EXPECT_EQ(Today()["wireless_access_points"][kOtherAp]["version"], "");
}

TEST_F(NetworkReportTest, CountsAnAccessPointThatWentOfflineAsIdleForTheRestOfTheDay) {
  Office(kAp, 120);
  Sample();  // slot 120
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["client_count"]["average"], 1.0);
  Office(kAp, 120).Online(false);
  SampleAt(At(2026, 11, 18, 20, 0));  // slot 240
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["client_count"]["average"], 0.5);
  EXPECT_EQ(Today()["wireless_access_points"][kAp]["client_count"]["peak"], 120);
}

TEST_F(NetworkReportTest, HasNothingToMergeAndPushesNothing) {
  monitor.DataMerge();
  monitor.MergeDataForInterval();
  monitor.MergeDifferentInterval("1m", "5m", 5, 5);
  monitor.monitor("");
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), R"({ "daily": [ ], "weekly": [ ] })");
}

TEST_F(NetworkReportTest, TellsOnceADayThatRogueAccessPointsWereLeftOut) {
  const test::LogCapture log;
  const auto told = [&log] { return log.Texts(Level::kError, "left out"); };
  probe::log::SetLevel(Level::kInfo);  // the debug lines of so many are a gigabyte
  constexpr std::size_t kRoom = monitoring::kMaxRogueKeysADay + monitoring::kRogueKeysADayPerDevice;
  std::list<Neighbour> heard;
  for (std::size_t number = 0; number < kRoom; ++number) {
    heard.push_back(Heard("rogue-" + std::to_string(number), "", -60));
  }
  Office(kAp, 1).Neighbours(heard);
  Sample();
  EXPECT_THAT(told(), IsEmpty());
  EXPECT_EQ(Today()["rogue_ap"].size(), kRoom);

  heard.push_back(Heard("one", "", -60));
  heard.push_back(Heard("two", "", -60));
  Office(kAp, 1).Neighbours(heard);
  Sample();
  Sample();
  EXPECT_THAT(told(), ElementsAre("[WirelessNetworkReport::CollectData] More than 10020 rogue access points on "
                                  "2026-11-18: new ones are left out, 2 entries of scans in this pass"));
  EXPECT_EQ(Today()["rogue_ap"].size(), kRoom);

  SampleAt(clock.Now().tv_sec + 24 * 3600);
  EXPECT_THAT(told(), SizeIs(2)) << "a day later";
}

}  // namespace
