// What a report on the rows says.

#include <gmock/gmock.h>

#include <limits>

#include "monitor/reports/client/wireless_client_report.h"
#include "tests/monitor/reports/client/client_report_fixture.h"

namespace test {
namespace {

using ::testing::ElementsAre;

class ClientReportMessageTest : public ClientReportTest {
 protected:
  /// Makes the laptop continuously online from one moment to another of a day.
  void Online(time_t from, time_t to) {
    InOffice({Laptop()});
    PassAt(from);
    PassAt(to);
  }

  /// Time online in seconds and in percent, of the first client of a report.
  std::pair<int, double> Share(const std::string& type, const std::string& period) {
    const auto row = Report(type, period).clients.at(0);
    return {static_cast<int>(row.time_online), row.online_time};
  }
};

TEST_F(ClientReportMessageTest, ShowsItsMembersInTheirOrder) {
  InOffice({Laptop(100, 100)});
  AccessPoint().PortalUser("b0-00-00-00-00-02", {.username = "ann", .hostname = "", .in_bytes = 0, .out_bytes = 0});
  InLobby({Phone()});
  Pass();
  InOffice({Laptop(105, 107)});
  Pass();
  clock.Set(At(2026, 11, 19));
  EXPECT_EQ(
      monitor.GetWirelessReport("daily", kToday),
      R"({ "wireless_clients": [ { "mac": "B0:00:00:00:00:01", "hostname": "laptop", "username": "", )"
      R"("network": "Office", "type_frequency": "802.11n\/5GHz", "data_rate": 300, "upload": 5, "download": 7, )"
      R"("total": 12, "first_seen": "2026-11-18 12:01:00", "last_seen": "2026-11-18 12:02:00", "time_online": 60, )"
      R"("online_time": 0.0 } ], )"
      R"("wireless_guests": [ { "mac": "B0:00:00:00:00:02", "hostname": "", "username": "ann", )"
      R"("network": "Lobby", "type_frequency": "802.11ac\/2.4GHz", "data_rate": 866, "upload": 0, "download": 0, )"
      R"("total": 0, "first_seen": "2026-11-18 12:01:00", "last_seen": "2026-11-18 12:02:00", "time_online": 60, )"
      R"("online_time": 0.0 } ], "expire": false })");
}

TEST_F(ClientReportMessageTest, TakesTheTypeInAnyCase) {
  Online(At(2026, 11, 18, 12), At(2026, 11, 18, 13));
  const std::string daily = monitor.GetWirelessReport("daily", kToday);
  const std::string weekly = monitor.GetWirelessReport("weekly", kThisWeek);
  EXPECT_NE(daily, weekly);
  for (const char* type : {"DAILY", "Daily", "dAiLy"}) EXPECT_EQ(monitor.GetWirelessReport(type, kToday), daily);
  for (const char* type : {"WEEKLY", "Weekly"}) EXPECT_EQ(monitor.GetWirelessReport(type, kThisWeek), weekly);
}

TEST_F(ClientReportMessageTest, HasNoExpireForAnUnknownType) {
  Online(At(2026, 11, 18, 12), At(2026, 11, 18, 13));
  for (const char* type : {"", "monthly", "dail", "dailyy", " daily"}) {
    EXPECT_EQ(monitor.GetWirelessReport(type, kToday), R"({ "wireless_clients": [ ], "wireless_guests": [ ] })")
        << type;
  }
}

TEST_F(ClientReportMessageTest, HasExpiredForAPeriodOfWhichNothingIsKept) {
  constexpr const char* kExpired = R"({ "wireless_clients": [ ], "wireless_guests": [ ], "expire": true })";
  EXPECT_EQ(monitor.GetWirelessReport("daily", kToday), kExpired);
  EXPECT_EQ(monitor.GetWirelessReport("weekly", kThisWeek), kExpired);
  Online(At(2026, 11, 18, 12), At(2026, 11, 18, 13));
  for (const char* period : {"", "2026-11-17", "2026-11-18 ", "2026-11-15/2026-11-21", "daily"}) {
    EXPECT_EQ(monitor.GetWirelessReport("daily", period), kExpired) << period;
  }
  EXPECT_EQ(monitor.GetWirelessReport("weekly", kToday), kExpired);
}

TEST_F(ClientReportMessageTest, HasExpiredForADayThatWasTrimmedAway) {
  InOffice({Laptop()});
  for (int day = 1; day <= 8; ++day) PassAt(At(2026, 11, day, 12));
  EXPECT_EQ(Report("daily", "2026-11-01").expire, true);
  EXPECT_EQ(Report("daily", "2026-11-02").expire, false);
}

TEST_F(ClientReportMessageTest, TakesAPastDayFor86400Seconds) {
  Online(At(2026, 11, 16), At(2026, 11, 16, 12));
  Online(At(2026, 11, 17), At(2026, 11, 17, 0, 16, 40));
  clock.Set(At(2026, 11, 18, 1));
  EXPECT_EQ(Share("daily", "2026-11-16"), (std::pair{43'200, 50.0}));
  EXPECT_EQ(Share("daily", "2026-11-17"), (std::pair{1'000, 1.1}));
}

TEST_F(ClientReportMessageTest, TakesTodayForAsLongAsItHasLasted) {
  Online(At(2026, 11, 18, 3), At(2026, 11, 18, 6));
  EXPECT_EQ(Share("daily", kToday), (std::pair{10'800, 50.0}));
  clock.Set(At(2026, 11, 18, 12));
  EXPECT_EQ(Share("daily", kToday), (std::pair{10'800, 25.0}));
  clock.Set(At(2026, 11, 18, 6, 0, 1));
  EXPECT_EQ(Share("daily", kToday), (std::pair{10'800, 49.9}));  // 10'800'000 / 21'601 is 499
}

TEST_F(ClientReportMessageTest, TakesThisWeekForAsLongAsItHasLasted) {
  Online(At(2026, 11, 16), At(2026, 11, 16, 12));
  EXPECT_EQ(Share("weekly", kThisWeek), (std::pair{43'200, 33.3}));  // a day and a half
  clock.Set(At(2026, 11, 16, 23, 59, 59));
  EXPECT_EQ(Share("weekly", kThisWeek), (std::pair{43'200, 25.0}));
}

TEST_F(ClientReportMessageTest, TakesAPastWeekFor604800Seconds) {
  Online(At(2026, 11, 16), At(2026, 11, 16, 12));
  clock.Set(At(2026, 11, 22, 0, 0, 1));
  EXPECT_EQ(Share("weekly", kThisWeek), (std::pair{43'200, 7.1}));  // 43'200'000 / 604'800 is 71
}

TEST_F(ClientReportMessageTest, TakesADayOrWeekOfTheFutureForAWholeOne) {
  Online(At(2026, 11, 18, 12), At(2026, 11, 18, 13));
  clock.Set(At(2026, 11, 10, 6));
  EXPECT_EQ(Share("daily", kToday), (std::pair{3'600, 4.1}));      // 3'600'000 / 86'400 is 41
  EXPECT_EQ(Share("weekly", kThisWeek), (std::pair{3'600, 0.5}));  // 3'600'000 / 604'800 is 5
}

#if __WORDSIZE == 64  // elsewhere there are no such times
TEST_F(ClientReportMessageTest, ShowsMomentsAfterTheEndOf32BitTimes) {
  Online(At(2038, 1, 19, 3, 14), At(2038, 1, 19, 3, 15));
  EXPECT_THAT(Day("2038-01-19"), ElementsAre("laptop 2038-01-19 03:14:00 - 2038-01-19 03:15:00, 60 s, up 0, down 0"));
  Online(At(2107, 6, 1, 12), At(2107, 6, 1, 12, 1));
  EXPECT_THAT(Day("2107-06-01"), ElementsAre("laptop 2107-06-01 12:00:00 - 2107-06-01 12:01:00, 60 s, up 0, down 0"));
}
#endif

TEST_F(ClientReportMessageTest, ShowsZeroPercentOfAPeriodThatBeginsThisSecond) {
  InOffice({Laptop()});
  PassAt(At(2026, 11, 15));  // a Sunday: day and week begin
  EXPECT_EQ(Share("daily", "2026-11-15"), (std::pair{0, 0.0}));
  EXPECT_EQ(Share("weekly", kThisWeek), (std::pair{0, 0.0}));
  PassAt(At(2026, 11, 15, 0, 0, 1));
  EXPECT_EQ(Share("daily", "2026-11-15"), (std::pair{1, 100.0}));
  EXPECT_EQ(Share("weekly", kThisWeek), (std::pair{1, 100.0}));
  clock.Set(At(2026, 11, 15));  // asked again after the clock was set back: a second of none
  EXPECT_EQ(Share("daily", "2026-11-15"), (std::pair{1, 0.0}));
}

TEST_F(ClientReportMessageTest, AddsUploadAndDownload) {
  InOffice({Laptop(0, 0)});
  Pass();
  InOffice({Laptop(5, 7)});
  Pass();
  const auto row = Report("daily", kToday).clients.at(0);
  EXPECT_EQ(row.upload, 5);
  EXPECT_EQ(row.download, 7);
  EXPECT_EQ(row.total, 12);
}

TEST_F(ClientReportMessageTest, ShowsCountersOf64Bits) {
  constexpr std::uint64_t kFarBeyond32Bits = 5'000'000'000'000;
  InOffice({Laptop(0, 0)});
  Pass();
  InOffice({Laptop(kFarBeyond32Bits, kFarBeyond32Bits)});
  Pass();
  const auto row = Report("daily", kToday).clients.at(0);
  EXPECT_EQ(row.upload, kFarBeyond32Bits);
  EXPECT_EQ(row.total, 2 * kFarBeyond32Bits);
}

TEST_F(ClientReportMessageTest, ShowsTheWidestCountersAndRatesWithoutAFault) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  Client fast = Laptop(0, 0);
  fast.data_rate = std::numeric_limits<std::int32_t>::min();
  InOffice({fast});
  Pass();
  fast = Laptop(kMax, kMax);
  fast.data_rate = std::numeric_limits<std::int32_t>::max();
  InOffice({fast});
  Pass();
  const auto row = Report("daily", kToday).clients.at(0);
  EXPECT_EQ(row.data_rate, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(row.upload, -1);  // what 64 bits with a sign make of it
  EXPECT_EQ(row.total, -2);
}

TEST_F(ClientReportMessageTest, NamesANamelessClientThatIsItselfAManagedDeviceAfterThatDevice) {
  Client nameless = Laptop();
  nameless.hostname.clear();
  InOffice({nameless, Phone()});
  network.Router(kLaptop).Named("bridge");
  network.Router(kPhone).Named("not asked for");
  Pass();
  const auto rows = Report("daily", kToday).clients;
  EXPECT_EQ(rows[0].hostname, "bridge");
  EXPECT_EQ(rows[1].hostname, "phone");
}

TEST_F(ClientReportMessageTest, NamesANamelessGuestThatIsItselfAManagedDeviceAfterThatDevice) {
  AccessPoint().PortalUser("b0-00-00-00-00-02", {.username = "ann", .hostname = "", .in_bytes = 0, .out_bytes = 0});
  InLobby({Phone()});
  network.Router(kPhone).Named("bridge");
  Pass();
  EXPECT_EQ(Report("daily", kToday).guests.at(0).hostname, "bridge");
}

TEST_F(ClientReportMessageTest, LeavesANamelessClientThatIsNoManagedDeviceWithoutAName) {
  Client nameless = Laptop();
  nameless.hostname.clear();
  InOffice({nameless});
  Pass();
  EXPECT_EQ(Report("daily", kToday).clients.at(0).hostname, "");
}

TEST_F(ClientReportMessageTest, ShowsARowWhoseNetworkHasTheSeparatorInItsNameWithoutItsThreeKeys) {
  AccessPoint().Configured("a|b@BOTH", {}).Wifi("ath2", "a|b", "wlan1", {});
  OnNetwork("ath2", {Laptop()});
  Pass();
  const auto row = Report("daily", kToday).clients.at(0);
  EXPECT_EQ(row.mac, "");
  EXPECT_EQ(row.username, "");
  EXPECT_EQ(row.network, "");
  EXPECT_EQ(row.hostname, "laptop");
}

TEST_F(ClientReportMessageTest, ListsClientsInTheOrderOfTheirKeys) {
  InOffice({Phone(), Laptop()});
  Pass();
  const auto rows = Report("daily", kToday).clients;
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].hostname, "laptop");
  EXPECT_EQ(rows[1].hostname, "phone");
}

TEST_F(ClientReportMessageTest, ListsClientsInTheOrderOfTheirKeysAndNotOfTheirNames) {
  Client zebra = Laptop();
  zebra.hostname = "zebra";
  InOffice({Phone(), zebra});
  Pass();
  const auto rows = Report("daily", kToday).clients;
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].hostname, "zebra");
  EXPECT_EQ(rows[1].hostname, "phone");
}

TEST_F(ClientReportMessageTest, ListsUsersInTheOrderOfTheJoinedKeysAndNotOfTheirNames) {
  InLobby({Phone()});
  for (const char* user : {"ann", "ann b"}) {
    AccessPoint().PortalUser("b0-00-00-00-00-02", {.username = user, .hostname = "", .in_bytes = 0, .out_bytes = 0});
    Pass();
  }
  const auto rows = Report("daily", kToday).guests;
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].username, "ann b");  // a blank comes before "|"
  EXPECT_EQ(rows[1].username, "ann");
}

TEST_F(ClientReportMessageTest, ListsThePeriodsNewestFirst) {
  InOffice({Laptop()});
  PassAt(At(2024, 5, 1, 12));
  PassAt(At(2024, 5, 2, 12));
  EXPECT_THAT(Kept("daily"), ElementsAre("2024-05-02", "2024-05-01"));
  PassAt(At(2024, 5, 5, 12));
  EXPECT_EQ(monitor.GetAvailableTypePeriod(), R"({ "daily": [ "2024-05-05", "2024-05-02", "2024-05-01" ], )"
                                              R"("weekly": [ "2024-05-05\/2024-05-11", "2024-04-28\/2024-05-04" ] })");
}

}  // namespace
}  // namespace test
