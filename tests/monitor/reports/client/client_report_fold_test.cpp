#include "monitor/reports/client/client_report_fold.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "monitor/engine/report_limits.h"
#include "monitor/reports/client/client_report_records.h"
#include "platform/device_records.h"

namespace {

using monitoring::ClientReport;
using monitoring::ClientReports;
using monitoring::WirelessClientItem;
using monitoring::WirelessClientStatics;
using monitoring::client_report::DropGone;
using monitoring::client_report::Follow;
using monitoring::client_report::FollowedClient;
using monitoring::client_report::FollowedClients;
using monitoring::client_report::OnlinePercent;
using monitoring::client_report::RebuildWeek;
using monitoring::client_report::RowOf;
using monitoring::client_report::Sighting;
using monitoring::client_report::Trim;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pointee;
using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

constexpr std::int32_t kMaxSeconds = std::numeric_limits<std::int32_t>::max();
constexpr time_t kLatest = std::numeric_limits<time_t>::max();
constexpr time_t kEarliest = std::numeric_limits<time_t>::min();
constexpr std::uint64_t kMaxOctets = std::numeric_limits<std::uint64_t>::max();

Sighting Seen(std::uint64_t in_bytes, std::uint64_t out_bytes, bool is_guest = false) {
  return {.key = "m||s",
          .is_guest = is_guest,
          .counters = {.in_bytes = in_bytes, .out_bytes = out_bytes},
          .data_rate = 54,
          .hostname = "laptop",
          .mode = WIFIOpMode::k802_11g,
          .band = WIFIBandType::k2_4GHz};
}

WirelessClientItem Row(std::uint64_t upload, std::uint64_t download, time_t first_seen, time_t last_seen,
                       std::int32_t online_time) {
  return {.data_rate = 54,
          .upload = upload,
          .download = download,
          .first_seen = first_seen,
          .last_seen = last_seen,
          .online_time = online_time,
          .hostname = "laptop",
          .mode = WIFIOpMode::k802_11g,
          .band = WIFIBandType::k2_4GHz};
}

/// A report of one client with this row.
ClientReport Of(const WirelessClientItem& row) {
  return {.clients = {{"m||s", row}}, .guests = {}};
}

void CountContinuing(const Sighting& client, const WirelessClientStatics& before, time_t now,
                     std::int32_t online_seconds, ClientReport& report) {
  monitoring::client_report::CountContinuing(client, before, now, online_seconds, RowOf(client, report, 9));
}

void CountArriving(const Sighting& client, time_t now, ClientReport& report) {
  monitoring::client_report::CountArriving(client, now, RowOf(client, report, 9));
}

std::vector<std::string> KeysOf(const ClientReports& reports) {
  std::vector<std::string> keys;
  for (const auto& [key, report] : reports) keys.push_back(key);
  return keys;
}

TEST(ClientReportFoldFollowing, GivesTheCountersOfThePassBefore) {
  FollowedClient client;
  EXPECT_EQ(Follow({.in_bytes = 1, .out_bytes = 2}, 1, client), nullptr);
  EXPECT_THAT(Follow({.in_bytes = 3, .out_bytes = 4}, 2, client),
              Pointee(WirelessClientStatics{.in_bytes = 1, .out_bytes = 2}));
  EXPECT_THAT(Follow({.in_bytes = 5, .out_bytes = 6}, 3, client),
              Pointee(WirelessClientStatics{.in_bytes = 3, .out_bytes = 4}));
}

TEST(ClientReportFoldFollowing, TakesAClientThatMissedAPassAsArriving) {
  FollowedClient client;
  Follow({.in_bytes = 1, .out_bytes = 1}, 1, client);
  EXPECT_EQ(Follow({.in_bytes = 2, .out_bytes = 2}, 3, client), nullptr);
  EXPECT_NE(Follow({.in_bytes = 3, .out_bytes = 3}, 4, client), nullptr);
}

TEST(ClientReportFoldFollowing, ComparesAClientOnTwoDevicesWithThePassBeforeAndKeepsTheLatterCounters) {
  FollowedClient client;
  EXPECT_EQ(Follow({.in_bytes = 1, .out_bytes = 0}, 1, client), nullptr);
  EXPECT_EQ(Follow({.in_bytes = 2, .out_bytes = 0}, 1, client), nullptr);
  for (const std::uint64_t in_bytes : {10U, 20U}) {
    EXPECT_THAT(Follow({.in_bytes = in_bytes, .out_bytes = 0}, 2, client),
                Pointee(WirelessClientStatics{.in_bytes = 2, .out_bytes = 0}));
  }
  EXPECT_THAT(Follow({}, 3, client), Pointee(WirelessClientStatics{.in_bytes = 20, .out_bytes = 0}));
}

TEST(ClientReportFoldFollowing, DropsWhoIsGoneWhenMoreAreGoneThanThere) {
  FollowedClients clients;
  for (const char* key : {"a", "b", "c", "d"}) Follow({}, 1, clients[key]);
  for (const char* key : {"a", "b"}) Follow({}, 2, clients[key]);
  DropGone(2, 2, clients);
  EXPECT_EQ(clients.size(), 4U);
  Follow({}, 3, clients["a"]);
  DropGone(3, 1, clients);
  EXPECT_THAT(clients, ElementsAre(Key("a")));
}

TEST(ClientReportFoldContinuing, AddsTimeAndTrafficAndTakesTheRestAsReported) {
  ClientReport report = Of(Row(5, 7, 1000, 1060, 60));
  Sighting client = Seen(150, 70);
  client.data_rate = 11;
  client.hostname = "renamed";
  client.mode = WIFIOpMode::k802_11b;
  client.band = WIFIBandType::k5GHz;
  CountContinuing(client, {.in_bytes = 100, .out_bytes = 50}, 1120, 60, report);
  EXPECT_EQ(report, Of({.data_rate = 11,
                        .upload = 55,
                        .download = 27,
                        .first_seen = 1000,
                        .last_seen = 1120,
                        .online_time = 120,
                        .hostname = "renamed",
                        .mode = WIFIOpMode::k802_11b,
                        .band = WIFIBandType::k5GHz}));
}

TEST(ClientReportFoldContinuing, BeginsARowThatThereIsNot) {
  ClientReport report;
  CountContinuing(Seen(150, 70), {.in_bytes = 100, .out_bytes = 50}, 1120, 0, report);
  EXPECT_EQ(report, Of(Row(50, 20, 1120, 1120, 0)));
}

TEST(ClientReportFoldContinuing, GivesANewRowNoTimeFromBeforeItBegan) {
  ClientReport report;
  CountContinuing(Seen(0, 0), {}, 1120, 60, report);
  EXPECT_EQ(report, Of(Row(0, 0, 1120, 1120, 0)));
}

TEST(ClientReportFoldContinuing, BeginsARowAnewThatWasFirstSeenInTheFuture) {
  ClientReport report = Of(Row(5, 7, 5000, 6000, 1000));
  CountContinuing(Seen(10, 10), {.in_bytes = 10, .out_bytes = 10}, 1120, 0, report);
  EXPECT_EQ(report, Of(Row(5, 7, 1120, 1120, 0)));
}

TEST(ClientReportFoldContinuing, NeverMakesItOnlineForLongerThanSinceItWasFirstSeen) {
  ClientReport report = Of(Row(0, 0, 1000, 1060, 60));
  // on two access points at once
  CountContinuing(Seen(0, 0), {}, 1120, 60, report);
  CountContinuing(Seen(0, 0), {}, 1120, 60, report);
  EXPECT_EQ(report, Of(Row(0, 0, 1000, 1120, 120)));
}

TEST(ClientReportFoldContinuing, KeepsGuestsApart) {
  ClientReport report;
  CountContinuing(Seen(3, 4, true), {.in_bytes = 1, .out_bytes = 1}, 1120, 0, report);
  EXPECT_EQ(report, (ClientReport{.clients = {}, .guests = {{"m||s", Row(2, 3, 1120, 1120, 0)}}}));
}

TEST(ClientReportFoldContinuing, CountsTheTwoCountersEachByItself) {
  ClientReport report;
  CountContinuing(Seen(400, 1100), {.in_bytes = 1000, .out_bytes = 1000}, 1120, 0, report);
  EXPECT_EQ(report, Of(Row(400, 100, 1120, 1120, 0)));
}

TEST(ClientReportFoldContinuing, StaysWithinItsTypesForTheWidestTimesAndCounters) {
  ClientReport report = Of(Row(kMaxOctets, 0, kEarliest, 0, kMaxSeconds));
  CountContinuing(Seen(kMaxOctets, kMaxOctets), {}, kLatest, kMaxSeconds, report);
  EXPECT_EQ(report, Of(Row(kMaxOctets - 1, kMaxOctets, kEarliest, kLatest, kMaxSeconds)));
}

TEST(ClientReportFoldArriving, BeginsARowOfZeroes) {
  ClientReport report;
  CountArriving(Seen(100, 50), 1000, report);
  EXPECT_EQ(report, Of(Row(0, 0, 1000, 1000, 0)));
}

TEST(ClientReportFoldArriving, KeepsTimesAndSumsOfARowThatItHas) {
  ClientReport report = Of(Row(5, 7, 1000, 1060, 60));
  Sighting client = Seen(900, 900);
  client.data_rate = 6;
  client.hostname = "back";
  CountArriving(client, 1300, report);
  WirelessClientItem expected = Row(5, 7, 1000, 1060, 60);
  expected.data_rate = 6;
  expected.hostname = "back";
  EXPECT_EQ(report, Of(expected));
}

TEST(ClientReportFoldArriving, TakesModeAndBandAsReportedNow) {
  ClientReport report = Of(Row(5, 7, 1000, 1060, 60));
  Sighting client = Seen(900, 900);
  client.mode = WIFIOpMode::k802_11ac;
  client.band = WIFIBandType::k5GHz;
  CountArriving(client, 1300, report);
  WirelessClientItem expected = Row(5, 7, 1000, 1060, 60);
  expected.mode = WIFIOpMode::k802_11ac;
  expected.band = WIFIBandType::k5GHz;
  EXPECT_EQ(report, Of(expected));
}

TEST(ClientReportFoldArriving, KeepsARowThatWasFirstSeenInTheFutureUnlikeForAContinuingOne) {
  ClientReport report = Of(Row(5, 7, 5000, 6000, 1000));
  CountArriving(Seen(10, 10), 1120, report);
  EXPECT_EQ(report, Of(Row(5, 7, 5000, 6000, 1000)));
}

TEST(ClientReportFold, TakesAnEmptyNameOverAnOlderOne) {
  Sighting nameless = Seen(0, 0);
  nameless.hostname.clear();
  WirelessClientItem expected = Row(0, 0, 1000, 1000, 0);
  expected.hostname.clear();
  ClientReport arriving = Of(Row(0, 0, 1000, 1000, 0));
  CountArriving(nameless, 1000, arriving);
  EXPECT_EQ(arriving, Of(expected));
  ClientReport continuing = Of(Row(0, 0, 1000, 1000, 0));
  CountContinuing(nameless, {}, 1000, 0, continuing);
  EXPECT_EQ(continuing, Of(expected));
}

TEST(ClientReportFoldWeek, TakesAnEmptyNameOverThatOfAnEarlierDay) {
  WirelessClientItem nameless = Row(1, 1, 1, 1, 1);
  nameless.hostname.clear();
  ClientReports weekly;
  RebuildWeek({{"2026-11-15", Of(Row(1, 1, 1, 1, 1))}, {"2026-11-16", Of(nameless)}}, "2026-11-17",
              "2026-11-15/2026-11-21", weekly);
  EXPECT_EQ(weekly["2026-11-15/2026-11-21"].clients["m||s"].hostname, "");
}

TEST(ClientReportFoldWeek, SumsItsDaysBeforeTodayAndTakesTheRestFromTheLast) {
  WirelessClientItem monday = Row(10, 20, 1000, 2000, 600);
  WirelessClientItem tuesday = Row(1, 2, 90'000, 91'000, 60);
  tuesday.data_rate = 6;
  tuesday.hostname = "renamed";
  tuesday.mode = WIFIOpMode::k802_11a;
  tuesday.band = WIFIBandType::k5GHz;
  const ClientReport never = Of(Row(999, 999, 1, 1, 1));
  const ClientReports daily{{"2026-11-14", never},
                            {"2026-11-16", Of(monday)},
                            {"2026-11-17", Of(tuesday)},
                            {"2026-11-18", never},
                            {"2026-11-19", never}};
  ClientReports weekly{{"2026-11-15/2026-11-21", never}};
  RebuildWeek(daily, "2026-11-18", "2026-11-15/2026-11-21", weekly);
  EXPECT_EQ(weekly, (ClientReports{{"2026-11-15/2026-11-21", Of({.data_rate = 6,
                                                                 .upload = 11,
                                                                 .download = 22,
                                                                 .first_seen = 1000,
                                                                 .last_seen = 91'000,
                                                                 .online_time = 660,
                                                                 .hostname = "renamed",
                                                                 .mode = WIFIOpMode::k802_11a,
                                                                 .band = WIFIBandType::k5GHz})}}));
}

TEST(ClientReportFoldWeek, TakesItsFirstDayIn) {
  const ClientReports daily{{"2026-11-15", Of(Row(1, 2, 3, 4, 5))}};
  ClientReports weekly;
  RebuildWeek(daily, "2026-11-16", "2026-11-15/2026-11-21", weekly);
  EXPECT_EQ(weekly, (ClientReports{{"2026-11-15/2026-11-21", Of(Row(1, 2, 3, 4, 5))}}));
}

TEST(ClientReportFoldWeek, KeepsGuestsApart) {
  const ClientReport sunday{.clients = {{"a", Row(1, 1, 1, 1, 1)}}, .guests = {{"a", Row(2, 2, 2, 2, 2)}}};
  const ClientReport monday{.clients = {}, .guests = {{"b", Row(3, 3, 3, 3, 3)}}};
  ClientReports weekly;
  RebuildWeek({{"2026-11-15", sunday}, {"2026-11-16", monday}}, "2026-11-17", "2026-11-15/2026-11-21", weekly);
  EXPECT_EQ(weekly["2026-11-15/2026-11-21"],
            (ClientReport{.clients = {{"a", Row(1, 1, 1, 1, 1)}},
                          .guests = {{"a", Row(2, 2, 2, 2, 2)}, {"b", Row(3, 3, 3, 3, 3)}}}));
}

TEST(ClientReportFoldWeek, LeavesNoWeekWithoutDaysAndOtherWeeksAlone) {
  const ClientReport other = Of(Row(1, 1, 1, 1, 1));
  ClientReports weekly{{"2026-11-08/2026-11-14", other}, {"2026-11-15/2026-11-21", other}};
  RebuildWeek({{"2026-11-14", other}, {"2026-11-15", other}}, "2026-11-15", "2026-11-15/2026-11-21", weekly);
  EXPECT_EQ(weekly, (ClientReports{{"2026-11-08/2026-11-14", other}}));
}

TEST(ClientReportFoldWeek, StaysWithin32BitsOfSeconds) {
  const ClientReport day = Of(Row(0, 0, 1, 1, kMaxSeconds));
  ClientReports weekly;
  RebuildWeek({{"2026-11-15", day}, {"2026-11-16", day}}, "2026-11-17", "2026-11-15/2026-11-21", weekly);
  EXPECT_EQ(weekly["2026-11-15/2026-11-21"].clients["m||s"].online_time, kMaxSeconds);
}

TEST(ClientReportFoldTrim, LeavesAsManyAsAreKept) {
  ClientReports reports{{"a", {}}, {"b", {}}};
  Trim(reports, "b", 3);
  EXPECT_THAT(KeysOf(reports), ElementsAre("a", "b"));
  reports["c"];
  Trim(reports, "c", 3);
  EXPECT_THAT(KeysOf(reports), ElementsAre("a", "b", "c"));
  reports["d"];
  Trim(reports, "d", 3);
  EXPECT_THAT(KeysOf(reports), ElementsAre("b", "c", "d"));
}

TEST(ClientReportFoldTrim, TakesOneOldPeriodAtATime) {
  ClientReports reports{{"a", {}}, {"b", {}}, {"c", {}}, {"d", {}}};
  Trim(reports, "d", 2);
  EXPECT_THAT(KeysOf(reports), ElementsAre("b", "c", "d"));
  Trim(reports, "d", 2);
  EXPECT_THAT(KeysOf(reports), ElementsAre("c", "d"));
}

TEST(ClientReportFoldTrim, TakesTheFirstFuturePeriodAndOneAtATime) {
  ClientReports reports{{"a", {}}, {"c", {}}, {"d", {}}};
  Trim(reports, "b", 3);
  EXPECT_THAT(KeysOf(reports), ElementsAre("a", "d"));
  Trim(reports, "b", 3);
  EXPECT_THAT(KeysOf(reports), ElementsAre("a"));
}

TEST(ClientReportFoldTrim, TakesOneFutureAndOneOldPeriodInOnePass) {
  ClientReports reports{{"a", {}}, {"b", {}}, {"c", {}}, {"d", {}}, {"e", {}}};
  Trim(reports, "c", 3);
  EXPECT_THAT(KeysOf(reports), ElementsAre("b", "c", "e"));
}

TEST(ClientReportFoldTrim, FindsNothingWhereThereIsNothing) {
  ClientReports reports;
  Trim(reports, "a", 0);
  EXPECT_THAT(KeysOf(reports), IsEmpty());
}

struct Share {
  std::int32_t online;
  std::int32_t period;
  double percent;
};

class ClientReportFoldShare : public ::testing::TestWithParam<Share> {};

TEST_P(ClientReportFoldShare, IsPercentWithOneDecimalRoundedDown) {
  EXPECT_DOUBLE_EQ(OnlinePercent(GetParam().online, GetParam().period), GetParam().percent);
}

INSTANTIATE_TEST_SUITE_P(DaysAndWeeks, ClientReportFoldShare,
                         ::testing::Values(Share{43'200, 86'400, 50.0}, Share{1'000, 86'400, 1.1},
                                           Share{86, 86'400, 0.0}, Share{87, 86'400, 0.1}, Share{86'313, 86'400, 99.8},
                                           Share{86'314, 86'400, 99.9}, Share{86'400, 86'400, 100.0},
                                           Share{604'800, 604'800, 100.0}, Share{302'400, 604'800, 50.0},
                                           Share{3'023, 604'800, 0.4}, Share{3'024, 604'800, 0.5}));

INSTANTIATE_TEST_SUITE_P(APeriodThatHasOnlyJustBegun, ClientReportFoldShare,
                         ::testing::Values(Share{0, 0, 0.0}, Share{60, 0, 0.0}, Share{kMaxSeconds, 0, 0.0},
                                           Share{0, 1, 0.0}, Share{1, 1, 100.0}));

// 2'147'483 s is the longest time whose thousandfold 32 bits hold; 2'147'483'647'000 / 604'800 is 3'550'733 and a rest.
INSTANTIATE_TEST_SUITE_P(TimesBeyondAnyWeek, ClientReportFoldShare,
                         ::testing::Values(Share{2'147'483, 604'800, 355.0}, Share{2'147'484, 604'800, 355.0},
                                           Share{kMaxSeconds, 604'800, 355'073.3},
                                           Share{kMaxSeconds, 1, 214'748'364'700.0}));

/// A report of so many others.
ClientReport Crowded(std::size_t rows) {
  ClientReport report;
  report.guests["guest"] = {};
  for (std::size_t number = 1; number < rows; ++number) report.clients[std::to_string(number)] = {};
  return report;
}

TEST(ClientReportRows, AreLeftOutOfADayOrAWeekThatIsFull) {
  using monitoring::kMaxClientRowsADay;
  using monitoring::kMaxClientRowsAWeek;
  struct Case {
    std::size_t day, week;
    bool is_in_day, is_in_week;
  };
  for (const auto& [day, week, is_in_day, is_in_week] : {
           Case{kMaxClientRowsADay - 1, kMaxClientRowsAWeek - 1, true, true},
           Case{kMaxClientRowsADay - 1, kMaxClientRowsAWeek, true, false},
           Case{kMaxClientRowsADay, kMaxClientRowsAWeek - 1, false, false},
           Case{kMaxClientRowsADay + 1, kMaxClientRowsAWeek + 1, false, false},
       }) {
    ClientReport today = Crowded(day);
    ClientReport this_week = Crowded(week);
    const auto rows = monitoring::client_report::RowsOf(Seen(1, 2), today, this_week);
    EXPECT_EQ(rows.day.item != nullptr, is_in_day) << day;
    EXPECT_EQ(rows.week.item != nullptr, is_in_week) << week;
    EXPECT_EQ(today.clients.size() + today.guests.size(), day + (is_in_day ? 1 : 0));
    EXPECT_EQ(this_week.clients.size() + this_week.guests.size(), week + (is_in_week ? 1 : 0));
  }
}

TEST(ClientReportRows, ThatAreThereAreFoundInWhatIsFull) {
  ClientReport today = Crowded(monitoring::kMaxClientRowsADay);
  ClientReport this_week = Crowded(monitoring::kMaxClientRowsAWeek);
  this_week.clients["m||s"] = {};
  auto rows = monitoring::client_report::RowsOf(Seen(1, 2), today, this_week);
  EXPECT_EQ(rows.day.item, nullptr);
  EXPECT_EQ(rows.week.item, &this_week.clients.at("m||s"));
  EXPECT_FALSE(rows.week.is_new);
  today.clients["m||s"] = {};
  rows = monitoring::client_report::RowsOf(Seen(1, 2), today, this_week);
  EXPECT_EQ(rows.day.item, &today.clients.at("m||s"));
  EXPECT_FALSE(rows.day.is_new);
}

TEST(ClientReportRebuildWeek, StopsWhenTheWeekIsFull) {
  ClientReports daily;
  for (int day = 1; day <= 3; ++day) {
    for (std::size_t number = 0; number < monitoring::kMaxClientRowsADay; ++number) {
      daily["2026-11-0" + std::to_string(day)].clients[std::to_string(day) + "/" + std::to_string(number)] = {};
    }
  }
  ClientReports weekly;
  monitoring::client_report::RebuildWeek(daily, "2026-11-05", "2026-11-01/2026-11-07", weekly);
  const ClientReport& week = weekly.at("2026-11-01/2026-11-07");
  EXPECT_EQ(week.clients.size(), monitoring::kMaxClientRowsAWeek);
  EXPECT_TRUE(week.clients.contains("2/0"));
  EXPECT_FALSE(week.clients.contains("3/0"));
}

}  // namespace
