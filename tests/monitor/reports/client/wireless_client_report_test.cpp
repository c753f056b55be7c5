// What a pass makes of what the devices say.

#include "monitor/reports/client/wireless_client_report.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "monitor/engine/report_limits.h"
#include "probe/host/device_centre.h"
#include "tests/monitor/reports/client/client_report_fixture.h"
#include "tests/support/log_capture.h"

namespace test {
namespace {

using probe::log::Level;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kOtherAccessPoint = "AA:AA:AA:AA:AA:02";
const vexora_probe::models::controller::PortalUser kAnnAtThePortal{
    .username = "ann", .hostname = "anns-phone", .in_bytes = 0, .out_bytes = 0};
constexpr const char* kAnnJustSeen = "anns-phone 2026-11-18 12:01:00 - 2026-11-18 12:01:00, 0 s, up 0, down 0";
/// The laptop when it was seen for one pass, the first.
constexpr const char* kLaptopJustSeen = "laptop 2026-11-18 12:01:00 - 2026-11-18 12:01:00, 0 s, up 0, down 0";

TEST_F(ClientReportTest, HasItsName) {
  EXPECT_EQ(monitor.GetMonitorName(), "wireless_client_report");
}

TEST_F(ClientReportTest, BeginsWithoutPeriods) {
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), R"({ "daily": [ ], "weekly": [ ] })");
  Pass();
  EXPECT_THAT(Kept("daily"), IsEmpty());  // nobody is there
}

TEST_F(ClientReportTest, TakesAFirstClientInWithNothingCountedForDayAndWeek) {
  InOffice({Laptop(1'000, 2'000)});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre(kLaptopJustSeen));
  EXPECT_THAT(Week(kThisWeek), ElementsAre(kLaptopJustSeen));
}

TEST_F(ClientReportTest, AddsAMinuteAndTheTrafficOfAContinuingClientToDayAndWeek) {
  InOffice({Laptop(1'000, 2'000)});
  Pass();
  InOffice({Laptop(1'005, 2'007)});
  Pass();
  constexpr const char* kOneMinute = "laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 5, down 7";
  EXPECT_THAT(Day(kToday), ElementsAre(kOneMinute));
  EXPECT_THAT(Week(kThisWeek), ElementsAre(kOneMinute));
}

TEST_F(ClientReportTest, CountsTheTimeThatPassesReallyAreApart) {
  InOffice({Laptop()});
  Pass();
  Pass(67);
  Pass(0);
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:07, 67 s, up 0, down 0"));
}

TEST_F(ClientReportTest, GoesByTheClockAndNotByTheTimeNotedForThePass) {
  InOffice({Laptop()});
  Pass();
  clock.Set(clock.Now().tv_sec + 5);
  monitor.set_current_time(0);
  monitor.DataUpdate();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:01:05, 5 s, up 0, down 0"));
}

TEST_F(ClientReportTest, AddsNothingAcrossMidnightAndOpensNewRows) {
  InOffice({Laptop(1'000, 0)});
  PassAt(At(2026, 11, 18, 23, 58, 30));
  PassAt(At(2026, 11, 18, 23, 59, 30));
  InOffice({Laptop(1'600, 0)});
  PassAt(At(2026, 11, 19, 0, 0, 30));
  PassAt(At(2026, 11, 19, 0, 1, 30));
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 23:58:30 - 2026-11-18 23:59:30, 60 s, up 0, down 0"));
  EXPECT_THAT(Day("2026-11-19"), ElementsAre("laptop 2026-11-19 00:00:30 - 2026-11-19 00:01:30, 60 s, up 600, down 0"));
  EXPECT_THAT(Week(kThisWeek), ElementsAre("laptop 2026-11-18 23:58:30 - 2026-11-19 00:01:30, 120 s, up 600, down 0"));
}

TEST_F(ClientReportTest, CountsAResetCounterFromZero) {
  InOffice({Laptop(1'000, 1'000)});
  Pass();
  InOffice({Laptop(400, 1'100)});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 400, down 100"));
}

TEST_F(ClientReportTest, TakesAClientThatMissedAPassForANewOneOnItsReturn) {
  InOffice({Laptop(1'000, 0)});
  Pass();
  Pass();
  InOffice({});
  Pass();
  Client back = Laptop(9'000, 0);
  back.data_rate = 54;
  InOffice({back});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 0, down 0"));
  EXPECT_EQ(Report("daily", kToday).clients.at(0).data_rate, 54);
  InOffice({Laptop(9'010, 0)});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:05:00, 120 s, up 10, down 0"));
}

TEST_F(ClientReportTest, TellsTheNetworksOfOneClientApart) {
  AccessPoint().Configured("Lab@BOTH", {}).Wifi("ath2", "Lab", "wlan1", {});
  InOffice({Laptop()});
  Pass();
  InOffice({});
  OnNetwork("ath2", {Laptop(500, 0)});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:02:00 - 2026-11-18 12:02:00, 0 s, up 0, down 0",
                                       kLaptopJustSeen));  // Lab, Office
}

TEST_F(ClientReportTest, GoesOnCountingAClientThatMovesToAnotherAccessPoint) {
  AccessPoint(kOtherAccessPoint).Radio("wlan1", Band::k2_4GHz).Configured("Office@BOTH", {});
  AccessPoint(kOtherAccessPoint).Wifi("ath1", "Office", "wlan1", {});
  InOffice({Laptop(1'000, 0)});
  Pass();
  InOffice({});
  OnNetwork("ath1", {Laptop(300, 0)}, kOtherAccessPoint);
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 300, down 0"));
  EXPECT_EQ(Report("daily", kToday).clients.at(0).type_frequency, "802.11n/2.4GHz");
}

TEST_F(ClientReportTest, MakesAClientOnTwoAccessPointsAtOnceNotOnlineForLongerThanTimePassed) {
  AccessPoint(kOtherAccessPoint).Radio("wlan1", Band::k5GHz).Configured("Office@BOTH", {});
  AccessPoint(kOtherAccessPoint).Wifi("ath1", "Office", "wlan1", {});
  InOffice({Laptop(100, 0)});
  OnNetwork("ath1", {Laptop(100, 0)}, kOtherAccessPoint);
  Pass();
  Pass();
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:03:00, 120 s, up 0, down 0"));
}

TEST_F(ClientReportTest, TakesAClientOnTwoAccessPointsAtOnceAsTheLaterOneInTheListReportsIt) {
  constexpr const char* kLaterInTheList = "00:00:00:00:00:01";
  AccessPoint(kLaterInTheList).Radio("wlan1", Band::k2_4GHz).Configured("Office@BOTH", {});
  AccessPoint(kLaterInTheList).Wifi("ath1", "Office", "wlan1", {});
  InOffice({Laptop(100, 10)});
  Client on_the_later = Laptop(1'000, 2'000);
  on_the_later.hostname = "later";
  on_the_later.data_rate = 54;
  on_the_later.mode = Mode::k802_11g;
  OnNetwork("ath1", {on_the_later}, kLaterInTheList);
  Pass();
  const auto row = Report("daily", kToday).clients.at(0);
  EXPECT_EQ(row.hostname, "later");
  EXPECT_EQ(row.data_rate, 54);
  EXPECT_EQ(row.type_frequency, "802.11g/2.4GHz");
  InOffice({Laptop(1'005, 2'007)});  // measured against the counters of the later one
  OnNetwork("ath1", {}, kLaterInTheList);
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 5, down 7"));
}

TEST_F(ClientReportTest, WritesEveryNotationOfAMacAsOneClient) {
  InOffice({Laptop(100, 0)});
  Pass();
  Client other_notation = Laptop(150, 0);
  other_notation.mac = "B0-00-00-00-00-01";
  InOffice({other_notation});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre("laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 50, down 0"));
  EXPECT_EQ(Report("daily", kToday).clients.at(0).mac, kLaptop);
}

// Guests.

TEST_F(ClientReportTest, CountsAGuestByThePortalsCountersUnderThePortalsNames) {
  AccessPoint().PortalUser("b0-00-00-00-00-02",
                           {.username = "ann", .hostname = "anns-phone", .in_bytes = 10, .out_bytes = 20});
  InLobby({Phone(1, 1)});
  Pass();
  AccessPoint().PortalUser("b0-00-00-00-00-02",
                           {.username = "ann", .hostname = "anns-phone", .in_bytes = 15, .out_bytes = 27});
  InLobby({Phone(1'000'000, 1'000'000)});
  Pass();
  constexpr const char* kAnn = "anns-phone 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 5, down 7";
  EXPECT_THAT(GuestDay(kToday), ElementsAre(kAnn));
  EXPECT_THAT(GuestWeek(kThisWeek), ElementsAre(kAnn));
  EXPECT_THAT(Day(kToday), IsEmpty());
  const auto row = Report("daily", kToday).guests.at(0);
  EXPECT_EQ(row.mac, kPhone);
  EXPECT_EQ(row.username, "ann");
  EXPECT_EQ(row.network, "Lobby");
  EXPECT_EQ(row.data_rate, 866);
  EXPECT_EQ(row.type_frequency, "802.11ac/2.4GHz");
}

TEST_F(ClientReportTest, PassesOverAGuestWhomThePortalDoesNotKnowOrKnowsWithoutAName) {
  const LogCapture log;
  AccessPoint().PortalUser("b0-00-00-00-00-02",
                           {.username = "", .hostname = "nameless", .in_bytes = 1, .out_bytes = 1});
  InLobby({Laptop(), Phone()});
  Pass();
  EXPECT_THAT(Kept("daily"), IsEmpty());
  EXPECT_THAT(Kept("weekly"), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ClientReportTest, GoesOnToTheNextGuestAfterAStranger) {
  AccessPoint().PortalUser("b0-00-00-00-00-02", kAnnAtThePortal);
  InLobby({Laptop(), Phone()});
  Pass();
  EXPECT_THAT(GuestDay(kToday), ElementsAre(kAnnJustSeen));
  EXPECT_THAT(GuestWeek(kThisWeek), ElementsAre(kAnnJustSeen));
}

TEST_F(ClientReportTest, PassesOverAGuestWhoHasLeftThePortal) {
  AccessPoint().PortalUser("b0-00-00-00-00-02", kAnnAtThePortal);
  InLobby({Phone()});
  Pass();
  AccessPoint().WithoutPortalUser("b0-00-00-00-00-02");
  Pass();
  EXPECT_THAT(GuestDay(kToday), ElementsAre(kAnnJustSeen));
  EXPECT_THAT(Day(kToday), IsEmpty());
}

TEST_F(ClientReportTest, PassesOverAGuestWhomOnlyThePortalOfAnotherDeviceKnows) {
  AccessPoint().PortalUser("b0-00-00-00-00-02", kAnnAtThePortal);
  AccessPoint(kOtherAccessPoint).Radio("wlan0", Band::k2_4GHz).Configured("Lobby@wlan0", Guests());
  AccessPoint(kOtherAccessPoint).Wifi("ath0", "Lobby", "wlan0", {});
  OnNetwork("ath0", {Phone()}, kOtherAccessPoint);
  Pass();
  EXPECT_THAT(Kept("daily"), IsEmpty());
}

TEST_F(ClientReportTest, LooksGuestsUpUnderTheMacAsTheDeviceWritesIt) {
  AccessPoint().PortalUser(kPhone, {.username = "ann", .hostname = "", .in_bytes = 0, .out_bytes = 0});
  InLobby({Phone()});  // b0-00-...
  Pass();
  EXPECT_THAT(GuestDay(kToday), IsEmpty());
}

TEST_F(ClientReportTest, TellsTheUsersOfOneGuestDeviceApart) {
  InLobby({Phone()});
  for (const char* user : {"ann", "bob"}) {
    AccessPoint().PortalUser("b0-00-00-00-00-02", {.username = user, .hostname = user, .in_bytes = 0, .out_bytes = 0});
    Pass();
  }
  EXPECT_THAT(GuestDay(kToday), ElementsAre("ann 2026-11-18 12:01:00 - 2026-11-18 12:01:00, 0 s, up 0, down 0",
                                            "bob 2026-11-18 12:02:00 - 2026-11-18 12:02:00, 0 s, up 0, down 0"));
}

TEST_F(ClientReportTest, PassesOverThePortalOnANetworkThatIsNoneOfGuests) {
  AccessPoint().PortalUser("b000.0000.0001", {.username = "ann", .hostname = "other", .in_bytes = 9, .out_bytes = 9});
  InOffice({Laptop()});
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre(kLaptopJustSeen));
  EXPECT_EQ(Report("daily", kToday).clients.at(0).username, "");
}

// Devices, networks and configurations.

TEST_F(ClientReportTest, ReadsARoutersConfigurationToo) {
  InOffice({Laptop()});
  network.Router(kAccessPoint);
  Pass();
  EXPECT_THAT(Day(kToday), ElementsAre(kLaptopJustSeen));
}

TEST_F(ClientReportTest, PassesSilentlyOverDevicesThatHaveNothingToCollect) {
  const LogCapture log;
  InOffice({Laptop()});
  AccessPoint().Online(false);
  Pass();
  AccessPoint().Online(true).Known(false);
  Pass();
  AccessPoint().Known(true).Driven(false);
  Pass();
  network.AccessPoint(kAccessPoint).Driven(true).Wireless(false);
  Pass();
  network.Switch(kAccessPoint).Wireless(true);
  Pass();
  network.AccessPoint(kAccessPoint).WithoutBasicInfo();
  Pass();
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), R"({ "daily": [ ], "weekly": [ ] })");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ClientReportTest, PassesSilentlyOverADeviceWithoutInterfacesRadiosOrConfigurations) {
  const LogCapture log;
  AccessPoint().Online(false);
  AccessPoint("no networks").Radio("wlan1", Band::k5GHz).Configured("Office@BOTH", {});
  AccessPoint("no radios").Configured("Office@BOTH", {}).Wifi("ath1", "Office", "wlan1", {}).Client("ath1", Laptop());
  AccessPoint("no configuration").Radio("wlan1", Band::k5GHz).Wifi("ath1", "Office", "wlan1", {});
  AccessPoint("no configuration").Client("ath1", Laptop());
  Pass();
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), R"({ "daily": [ ], "weekly": [ ] })");
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(ClientReportTest, LogsANetworkWithoutConfigurationAndGoesOn) {
  AccessPoint().Wifi("ath0", "Forgotten", "wlan0", {});
  InLobby({Phone()});
  InOffice({Laptop()});
  const LogCapture log;
  Pass();
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kError, 2, "No ssid Forgotten@wlan0 config found!"}));
  EXPECT_THAT(Day(kToday), ElementsAre(kLaptopJustSeen));
}

TEST_F(ClientReportTest, LogsANetworkWithoutConfigurationAlsoWhenNobodyIsOnItOrItHasNoName) {
  AccessPoint().Wifi("ath0", "Forgotten", "wlan0", {}).Wifi("ath2", "", "wlan1", {});
  const LogCapture log;
  Pass();
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kError, 2, "No ssid Forgotten@wlan0 config found!"},
                                       LogLine{Level::kError, 2, "No ssid @wlan1 config found!"}));
}

TEST_F(ClientReportTest, AsksTheConfigurationOfTheRadioBeforeThatOfBoth) {
  AccessPoint().Configured("Office@wlan1", Guests());
  InOffice({Laptop()});
  Pass();
  EXPECT_THAT(Day(kToday), IsEmpty());  // a guest network now, and nobody came through the portal
}

TEST_F(ClientReportTest, KnowsNoBandForARadioThatIsNotListed) {
  AccessPoint().Wifi("ath1", "Office", "wlan7", {});
  InOffice({Laptop()});
  Pass();
  EXPECT_EQ(Report("daily", kToday).clients.at(0).type_frequency, "802.11n/Unknown");
}

// What other monitors do in these, this one does not.

TEST_F(ClientReportTest, DoesNothingOutsideTheSecondStepOfAPass) {
  InOffice({Laptop()});
  Pass();
  const LogCapture log;
  clock.Set(clock.Now().tv_sec + 60);
  monitor.CollectData();
  monitor.Collectdata(kAccessPoint);
  monitor.monitor("");
  monitor.Cleanup(kAccessPoint);
  monitor.Cleanup("");
  monitor.MergeDataForInterval();
  monitor.MergeDifferentInterval("1m", "5m", 5, 5);
  EXPECT_THAT(Day(kToday), ElementsAre(kLaptopJustSeen));
  EXPECT_THAT(log.Lines(), IsEmpty());
}

// How long it is all kept.

TEST_F(ClientReportTest, KeepsSevenDays) {
  InOffice({Laptop()});
  for (int day = 1; day <= 7; ++day) PassAt(At(2026, 11, day, 12));
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-07", "2026-11-06", "2026-11-05", "2026-11-04", "2026-11-03",
                                         "2026-11-02", "2026-11-01"));
  PassAt(At(2026, 11, 8, 12));
  EXPECT_THAT(Kept("daily"), ElementsAre("2026-11-08", "2026-11-07", "2026-11-06", "2026-11-05", "2026-11-04",
                                         "2026-11-03", "2026-11-02"));
}

TEST_F(ClientReportTest, KeepsFourWeeks) {
  InOffice({Laptop()});
  for (int week = 0; week < 4; ++week) PassAt(At(2026, 11, 1 + 7 * week, 12));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-22/2026-11-28", "2026-11-15/2026-11-21", "2026-11-08/2026-11-14",
                                          "2026-11-01/2026-11-07"));
  PassAt(At(2026, 11, 29, 12));
  EXPECT_THAT(Kept("weekly"), ElementsAre("2026-11-29/2026-12-05", "2026-11-22/2026-11-28", "2026-11-15/2026-11-21",
                                          "2026-11-08/2026-11-14"));
}

TEST_F(ClientReportTest, DropsOldPeriodsOnlyForNewOnes) {
  InOffice({Laptop()});
  for (int day = 1; day <= 7; ++day) PassAt(At(2026, 11, day, 12));
  InOffice({});
  PassAt(At(2026, 12, 24, 12));  // nobody is there: no new day, so the seven stay
  EXPECT_THAT(Kept("daily"), ::testing::SizeIs(7));
}

TEST_F(ClientReportTest, LeavesNewClientsOutOfADayThatIsFull) {
  const LogCapture log;
  const auto told = [&log] { return log.Texts(Level::kError, "left out"); };
  probe::log::SetLevel(Level::kInfo);
  auto& centre = probe::DeviceCentre::Instance();
  const auto crowd = [&centre](std::size_t most) {
    probe::DeviceSnapshot snapshot = *centre.Snapshot(kAccessPoint);
    auto& clients = snapshot.ssid_interfaces.at("ath1").clients;
    for (std::size_t number = 1; number <= most; ++number) {
      Client client = Laptop();
      client.mac = "B1" + std::to_string(1'000'000'000 + number);
      clients.push_back(std::move(client));
    }
    centre.Replace(kAccessPoint, std::move(snapshot));
  };
  const auto number_seven = [] {
    Client client = Laptop(9, 0);
    client.mac = "B11000000007";
    return client;
  };
  const auto occurrences = [](const std::string& part, const std::string& text) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
  };
  crowd(monitoring::kMaxClientRowsADay);
  Pass();
  EXPECT_THAT(told(), IsEmpty());

  InOffice({Laptop(100, 0), number_seven()});
  Pass();
  InOffice({Laptop(150, 0), number_seven()});
  Pass();
  EXPECT_THAT(told(), ElementsAre("[WirelessClientReport::DataMerge] More than 100000 clients on 2026-11-18: new ones "
                                  "are left out, 1 in this pass"));
  for (const auto& [type, period] : {std::pair("daily", kToday), std::pair("weekly", kThisWeek)}) {
    const std::string report = monitor.GetWirelessReport(type, period);  // of megabytes: parsing takes seconds
    EXPECT_EQ(occurrences("\"first_seen\"", report), monitoring::kMaxClientRowsADay);
    EXPECT_EQ(occurrences(kLaptop, report), 0U);
    EXPECT_EQ(occurrences("\"upload\": 9,", report), 1U) << "of who is in it already";
  }

  InOffice({Laptop(220, 0)});
  PassAt(At(2026, 11, 19));
  EXPECT_THAT(Day("2026-11-19"), ElementsAre("laptop 2026-11-19 00:00:00 - 2026-11-19 00:00:00, 0 s, up 70, down 0"))
      << "goes on with the counters of the day before";
}

/// A network that so many others join at once, and no one else is on.
class FullClientReport : public ClientReportTest {
 protected:
  void Crowd(std::size_t clients, std::size_t first = 0) {
    auto& centre = probe::DeviceCentre::Instance();
    probe::DeviceSnapshot snapshot = *centre.Snapshot(kAccessPoint);
    auto& listed = snapshot.ssid_interfaces.at("ath1").clients;
    listed.clear();
    for (std::size_t number = first; number < first + clients; ++number) {
      Client client = Laptop();
      client.mac = "B1" + std::to_string(1'000'000'000 + number);
      listed.push_back(std::move(client));
    }
    centre.Replace(kAccessPoint, std::move(snapshot));
    Pass();
  }
};

TEST_F(FullClientReport, CountsAClientThatTheWeekHasInTheWeek) {
  PassAt(At(2026, 11, 17, 12));
  InOffice({Laptop(100, 0)});
  Pass();
  InOffice({Laptop(150, 0)});
  Pass();
  InOffice({});
  PassAt(At(2026, 11, 18, 12));
  Crowd(monitoring::kMaxClientRowsADay);
  InOffice({Laptop(200, 0)});
  Pass();
  InOffice({Laptop(207, 0)});
  Pass();
  const std::string day = monitor.GetWirelessReport("daily", kToday);  // of megabytes: parsing takes seconds
  EXPECT_EQ(day.find(kLaptop), std::string::npos);
  const std::string week = monitor.GetWirelessReport("weekly", kThisWeek);
  const std::size_t row = week.find(kLaptop);
  ASSERT_NE(row, std::string::npos);
  const std::string shown = week.substr(row, week.find('}', row) - row);
  EXPECT_NE(shown.find("\"upload\": 57,"), std::string::npos) << shown;
  EXPECT_NE(shown.find("\"last_seen\": \"2026-11-18 12:03:00\""), std::string::npos) << shown;
}

TEST_F(FullClientReport, TellsOnceThatAWeekIsFull) {
  const LogCapture log;
  probe::log::SetLevel(Level::kInfo);
  PassAt(At(2026, 11, 15, 12));
  Crowd(monitoring::kMaxClientRowsADay);
  InOffice({});
  PassAt(At(2026, 11, 16, 12));
  Crowd(monitoring::kMaxClientRowsADay, monitoring::kMaxClientRowsADay);
  EXPECT_THAT(log.Texts(Level::kError, "left out"), IsEmpty());
  InOffice({});
  PassAt(At(2026, 11, 18, 12));
  for (const int octets : {100, 150}) {
    InOffice({Laptop(static_cast<std::uint64_t>(octets), 0)});
    Pass();
  }
  EXPECT_THAT(
      log.Texts(Level::kError, "left out"),
      ElementsAre("[WirelessClientReport::DataMerge] More than 200000 clients in 2026-11-15/2026-11-21: new ones "
                  "are left out, 1 in this pass"));
  EXPECT_NE(monitor.GetWirelessReport("daily", kToday).find("\"upload\": 50,"), std::string::npos);
  EXPECT_EQ(monitor.GetWirelessReport("weekly", kThisWeek).find(kLaptop), std::string::npos);
}

}  // namespace
}  // namespace test
