#include "monitor/reports/network/network_client_counts.h"
#include "monitor/reports/network/network_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/monitor/reports/network/network_samples.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using ::testing::ElementsAre;
using ::testing::Key;

TEST(NetworkClientCounts, CountSlotsWithoutASampleAsNoClients) {
  Buckets daily;
  RecordClientCounts("id", {{"1", ClientSample(6)}, {"2", ClientSample(18)}}, Wednesday(), kHost, daily);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client,
            (Clients{.current = 0, .item = {.peak = 18, .total = 24, .average = 24 / 120.0}}));
}

TEST(NetworkClientCounts, DivideByTheSamplesWhenThereAreMoreOfThemThanSlotsAsJustAfterMidnight) {
  ReportTime midnight = Wednesday();
  midnight.slots = 0;
  Buckets daily;
  RecordClientCounts("id", {{"1", ClientSample(6)}, {"2", ClientSample(3)}}, midnight, kHost, daily);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.average, 4.5);
  RecordClientCounts("none", {}, midnight, kHost, daily);
  EXPECT_EQ(daily["2026-11-18"]["none"].measured.client.item.average, 0) << "no slot and no sample";
}

TEST(NetworkClientCounts, LeaveTheTrafficOfTheDayAlone) {
  Buckets daily{{"2026-11-18", {{"id", TrafficDay(5, 7)}}}};
  RecordClientCounts("id", {{"1", ClientSample(120)}}, Wednesday(), kHost, daily);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.traffic.peak, 7);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.average, 1);
}

TEST(NetworkClientCounts, DivideFinishedDaysByAllTheirSlots) {
  Buckets daily{{"2026-11-16", {{"gone", ClientDay(288, 4)}}}, {"2026-11-17", {{"id", ClientDay(144, 2)}}}};
  daily["2026-11-18"]["id"] = ClientDay(288, 1);
  Buckets weekly;
  FoldClientCounts(Wednesday(), kHost, daily, weekly);
  EXPECT_EQ(daily["2026-11-16"]["gone"].measured.client.item.average, 1);
  EXPECT_EQ(daily["2026-11-17"]["id"].measured.client.item.average, 0.5);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.average, 0) << "today is not finished";
}

TEST(NetworkClientCounts, DivideTheWeekByTheWeekdaysBegunSeenOrNotFourOnAWednesday) {
  Buckets daily{{"2026-11-14", {{"id", ClientDay(288 * 50, 99)}}},  // a Saturday: the week before
                {"2026-11-15", {{"id", ClientDay(288 * 3, 5)}, {"gone", ClientDay(288, 2)}}},
                {"2026-11-17", {{"id", ClientDay(288 * 4, 9)}}}};
  Networks today = ClientDay(60, 6);
  today.measured.client.item.average = 1;
  daily["2026-11-18"]["id"] = today;
  Buckets weekly;
  FoldClientCounts(Wednesday(), kHost, daily, weekly);
  const Records& week = weekly["2026-11-15/2026-11-21"];
  EXPECT_EQ(week.at("id").measured.client,
            (Clients{.current = 0, .item = {.peak = 9, .total = 0, .average = (3 + 4 + 1) / 4.0}}));
  EXPECT_EQ(week.at("gone").measured.client,
            (Clients{.current = 0, .item = {.peak = 2, .total = 0, .average = 1 / 4.0}}));
}

TEST(NetworkClientCounts, TakeBothEndsOfTheWeekIn) {
  ReportTime saturday = Wednesday();
  saturday.day = "2026-11-21";
  saturday.weekday = 6;
  Buckets daily{{"2026-11-14", {{"before", ClientDay(0, 1)}}},
                {"2026-11-15", {{"first", ClientDay(0, 2)}}},
                {"2026-11-21", {{"last", ClientDay(0, 3)}}},
                {"2026-11-22", {{"after", ClientDay(0, 4)}}}};
  Buckets weekly;
  FoldClientCounts(saturday, kHost, daily, weekly);
  EXPECT_THAT(weekly["2026-11-15/2026-11-21"], ElementsAre(Key("first"), Key("last")));
}

TEST(NetworkClientCounts, DropTheOldestOfEightDaysOnceACall) {
  Buckets daily = EightDays(ClientDay(288, 1));
  daily["2026-11-10"]["id"] = ClientDay(288, 1);  // a ninth
  Buckets weekly;
  const test::LogCapture log;
  FoldClientCounts(Wednesday(), kHost, daily, weekly);
  EXPECT_EQ(daily.size(), 8U);
  EXPECT_EQ(daily.begin()->first, "2026-11-11");
  FoldClientCounts(Wednesday(), kHost, daily, weekly);
  EXPECT_EQ(daily.size(), 7U);
  FoldClientCounts(Wednesday(), kHost, daily, weekly);
  EXPECT_EQ(daily.size(), 7U);
  EXPECT_THAT(log.Texts(Level::kDebug, "exceed"),
              ElementsAre("[WirelessNetworkReport::CalculateClientCountData] the days's sample data exceed 7 days.",
                          "[WirelessNetworkReport::CalculateClientCountData] the days's sample data exceed 7 days."));
}

TEST(NetworkClientCounts, LogEveryStep) {
  Buckets daily{{"2026-11-14", {{"id", ClientDay(288, 3)}}}};
  Buckets weekly;
  const test::LogCapture log;
  RecordClientCounts("id", {{"1", ClientSample(6)}, {"2", ClientSample(18)}}, Wednesday(), kHost, daily);
  FoldClientCounts(Wednesday(), kHost, daily, weekly);
  const std::string at = "[WirelessNetworkReport::CalculateClientCountData] ";
  EXPECT_THAT(
      log.Texts(Level::kDebug),
      ElementsAre(at + "ID: id, current: 6, mins_peek: 0", at + "ID: id, current: 18, mins_peek: 6",
                  at + "ID: id, total: 24, mins_count: 2, mins_peek: 18, SampleCountCurrentTime: 120, count: 120",
                  at + "ID: id, average_count: 0.200000",
                  at + "ID: id, total_count: 288, day: 2026-11-14, average count: 1.000000",
                  at + "day: 2026-11-14 is not in this week: 2026-11-15/2026-11-21",
                  at + "ID: id, daily_peek: 0, d_iter->second.client.item.peak: 18",
                  at + "Week day: 3 in week: 2026-11-15/2026-11-21"));
}

}  // namespace
}  // namespace vexora_probe::monitor
