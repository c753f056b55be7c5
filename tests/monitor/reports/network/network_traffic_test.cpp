#include "monitor/reports/network/network_traffic.h"
#include "monitor/reports/network/network_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "monitor/reports/network/wireless_network_report.h"
#include "tests/monitor/reports/network/network_samples.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

TEST(NetworkTraffic, AreMegabitsOfTwoToTheTwentiethPerSecond) {
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'048'576, 262'144, 1'010)}};
  Buckets daily;
  EXPECT_TRUE(RecordSpeed("id", samples, Wednesday(), kHost, daily));
  const TrafficCount& last = samples["2"].measured.traffic;
  EXPECT_EQ(last.time_delta, 10);
  EXPECT_EQ(last.delta_octets, 1'310'720U);
  EXPECT_EQ(last.average, 1);  // 1,310,720 octets are ten megabits
  EXPECT_EQ(last.peak, 1);
  const TrafficCount& day = daily["2026-11-18"]["id"].measured.traffic;
  EXPECT_EQ(day.average_speed_total, 1);
  EXPECT_EQ(day.peak, 1);
  EXPECT_EQ(day.average, 1 / 120.0);
  EXPECT_EQ(samples["1"].measured.traffic.average, 0) << "the first sample of a day keeps speed 0";
}

TEST(NetworkTraffic, OfTheLatestTwoSamplesAddUpAndTheGreaterIsThePeak) {
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  Buckets daily;
  RecordSpeed("id", samples, Wednesday(), kHost, daily);
  samples["3"] = CounterSample(1'310'720 + 655'360, 0, 1'020);
  RecordSpeed("id", samples, Wednesday(), kHost, daily);
  const TrafficCount& day = daily["2026-11-18"]["id"].measured.traffic;
  EXPECT_EQ(day.average_speed_total, 1.5);
  EXPECT_EQ(day.peak, 1);
}

TEST(NetworkTraffic, CountFromZeroAfterACounterReset) {
  Samples samples{{"1", CounterSample(9'000'000, 8'000'000, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  Buckets daily;
  const test::LogCapture log;
  RecordSpeed("id", samples, Wednesday(), kHost, daily);
  EXPECT_EQ(samples["2"].measured.traffic.delta_octets, 1'310'720U);
  EXPECT_EQ(samples["2"].measured.traffic.average, 1);
  EXPECT_THAT(log.Texts(Level::kDebug, "reduced"),
              ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id current traffic inOcetes is reduced",
                          "[WirelessNetworkReport::CalculateTrafficData] ID: id current traffic outOcetes is reduced"));
}

TEST(NetworkTraffic, DoNotChangeWithTheSameOrAnEarlierPollingTime) {
  for (const time_t polled : {1'000, 999}) {
    Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'310'720, 0, polled)}};
    const Samples before = samples;
    Buckets daily{{"2026-11-17", {{"id", TrafficDay(288, 3)}}}, {"2026-11-18", {{"id", TrafficDay(5, 7)}}}};
    Buckets weekly;
    const Buckets daily_before = daily;
    const test::LogCapture log;
    WirelessNetworkReport().CalculateTrafficData("id", samples, "2026-11-18", "2026-11-15/2026-11-21", daily, weekly);
    EXPECT_EQ(samples, before);
    EXPECT_EQ(daily, daily_before);
    EXPECT_THAT(weekly, IsEmpty());
    EXPECT_THAT(log.Texts(Level::kDebug, "changedor"),
                ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id, The polling time is not changedor "
                            "the system time was changed to a early time"));
  }
}

TEST(NetworkTraffic, NeedTwoSamples) {
  Buckets daily;
  Samples none;
  Samples one{{"1", CounterSample(5, 5, 1'000)}};
  const test::LogCapture log;
  EXPECT_FALSE(RecordSpeed("id", none, Wednesday(), kHost, daily));
  EXPECT_FALSE(RecordSpeed("id", one, Wednesday(), kHost, daily));
  EXPECT_THAT(daily, IsEmpty());
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id, sample data is empty",
                          "[WirelessNetworkReport::CalculateTrafficData] ID: id, sample data is not enough"));
}

TEST(NetworkTraffic, LeaveTheDailyMeanAloneBeforeTheFirstSlotIsOver) {
  ReportTime midnight = Wednesday();
  midnight.slots = 0;
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  Buckets daily{{"2026-11-18", {{"id", TrafficDay(288, 0)}}}};
  RecordSpeed("id", samples, midnight, kHost, daily);
  const TrafficCount& day = daily["2026-11-18"]["id"].measured.traffic;
  EXPECT_EQ(day.average, 1);
  EXPECT_EQ(day.average_speed_total, 289);
  EXPECT_EQ(day.peak, 1);
}

TEST(NetworkTraffic, SurviveADeviceClockThatStepsFromOneEndOfTimeToTheOther) {
  Samples samples{
      {"1", CounterSample(0, 0, std::numeric_limits<time_t>::min())},
      {"2", CounterSample(std::numeric_limits<std::uint64_t>::max(), 2, std::numeric_limits<time_t>::max())}};
  Buckets daily;
  EXPECT_TRUE(RecordSpeed("id", samples, Wednesday(), kHost, daily));
  EXPECT_EQ(samples["2"].measured.traffic.time_delta, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(samples["2"].measured.traffic.delta_octets, 1U) << "octets wrap at 64 bits";
}

TEST(NetworkTraffic, DivideFinishedDaysByAllTheirSlotsAndTheWeekByTheWeekdaysBegun) {
  Buckets daily{{"2026-11-14", {{"id", TrafficDay(288 * 70, 99)}}},
                {"2026-11-15", {{"id", TrafficDay(288 * 3, 5)}}},
                {"2026-11-17", {{"id", TrafficDay(288 * 4, 9)}, {"gone", TrafficDay(288 * 8, 8)}}},
                {"2026-11-18", {{"id", TrafficDay(288 * 1, 6)}}}};
  daily["2026-11-17"]["id"].measured.traffic.average = 1'000;  // as of the day's last slot
  Buckets weekly{{"2026-11-15/2026-11-21", {{"id", ClientDay(1, 2)}}}};
  FoldSpeeds("id", Wednesday(), kHost, daily, weekly);
  EXPECT_EQ(daily["2026-11-17"]["id"].measured.traffic.average, 4);
  const Records& week = weekly["2026-11-15/2026-11-21"];
  EXPECT_EQ(week.at("id").measured.traffic.average, (3 + 4 + 1) / 4.0);
  EXPECT_EQ(week.at("id").measured.traffic.peak, 9);
  EXPECT_EQ(week.at("id").measured.client.item.peak, 2U) << "the week's clients stay";
  EXPECT_EQ(week.at("gone").measured.traffic.average, 8 / 4.0);
}

TEST(NetworkTraffic, DropTheOldestOfEightDays) {
  Buckets daily = EightDays(TrafficDay(288, 1));
  Buckets weekly;
  const test::LogCapture log;
  FoldSpeeds("id", Wednesday(), kHost, daily, weekly);
  EXPECT_EQ(daily.size(), 7U);
  EXPECT_EQ(daily.begin()->first, "2026-11-12");
  EXPECT_THAT(
      log.Texts(Level::kDebug, "exceed"),
      ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id, the days's sample data exceed 7 days."));
}

TEST(NetworkTraffic, LogEveryStep) {
  Samples samples{{"1", CounterSample(1, 2, 1'000)}, {"2", CounterSample(1'310'721, 2, 1'010)}};
  Buckets daily{{"2026-11-14", {{"id", TrafficDay(288, 3)}}}};
  Buckets weekly;
  const test::LogCapture log;
  RecordSpeed("id", samples, Wednesday(), kHost, daily);
  FoldSpeeds("id", Wednesday(), kHost, daily, weekly);
  const std::string at = "[WirelessNetworkReport::CalculateTrafficData] ID: id, ";
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre(at + "Latest polling time: 1010, penul timate polling time: 1000", at + "time delta: 10",
                          at + "last_ele->second.traffic.inOctets: 1310721,last_ele->second.traffic.outOctets: 2, "
                               "prev_ele->second.traffic.inOctets: 1,prev_ele->second.traffic.outOctets: 2, "
                               "delta_in: 1310720, delta_out: 0, speed: 1.000000",
                          at + "last peek: 0.000000, current average speed: 1.000000",
                          at + "current daily peek: 1.000000, average_speed_total: 1.000000",
                          at + "average_speed_total: 288.000000, day: 2026-11-14, average traffic: 1.000000",
                          at + "day: 2026-11-14 is not in this week: 2026-11-15/2026-11-21",
                          at + "Week day: 3 in week: 2026-11-15/2026-11-21"));
}

using DailyTraffic = void (WirelessNetworkReport::*)(Report&, const Snapshot&, const std::string&) const;

/// A family's daily step and the line that it logs.
struct DailyStep {
  DailyTraffic step;
  const char* line;
};

class NetworkTrafficDaily : public ::testing::TestWithParam<DailyStep> {
 protected:
  ~NetworkTrafficDaily() override { SampleCountCurrentTime = 0; }
};

TEST_P(NetworkTrafficDaily, TakePeakAndMeanOverTheSlotsBegun) {
  SampleCountCurrentTime = 120;
  const Snapshot snapshot{
      {"2026-11-17", {{"id", {{"0", SpeedSample(99)}}}}},
      {"2026-11-18", {{"id", {{"1", SpeedSample(3)}, {"2", SpeedSample(9)}, {"3", SpeedSample(6)}}}}}};
  Report report;
  const test::LogCapture log;
  (WirelessNetworkReport().*GetParam().step)(report, snapshot, "2026-11-18");
  EXPECT_EQ(report["daily"]["2026-11-18"]["id"].measured.traffic.average, 18 / 120.0);
  EXPECT_EQ(report["daily"]["2026-11-18"]["id"].measured.traffic.peak, 9);
  EXPECT_THAT(report["daily"], ElementsAre(Key("2026-11-18")));
  EXPECT_EQ(log.Texts(Level::kDebug, "current peak traffic").at(2), GetParam().line);
}

TEST_P(NetworkTrafficDaily, DivideByNoSlotJustAfterMidnightToInfinityAndNotANumberWithoutACrash) {
  SampleCountCurrentTime = 0;
  const Snapshot snapshot{{"2026-11-18", {{"idle", {{"1", SpeedSample(0)}}}, {"busy", {{"1", SpeedSample(2)}}}}}};
  Report report;
  (WirelessNetworkReport().*GetParam().step)(report, snapshot, "2026-11-18");
  EXPECT_TRUE(std::isnan(report["daily"]["2026-11-18"]["idle"].measured.traffic.average));
  EXPECT_EQ(report["daily"]["2026-11-18"]["busy"].measured.traffic.average, std::numeric_limits<double>::infinity());
  EXPECT_EQ(report["daily"]["2026-11-18"]["busy"].measured.traffic.peak, 2);
}

TEST_P(NetworkTrafficDaily, DoNothingForADayWithoutSamples) {
  Report report;
  (WirelessNetworkReport().*GetParam().step)(report, {}, "2026-11-18");
  EXPECT_THAT(report, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Families, NetworkTrafficDaily,
    ::testing::Values(
        DailyStep{&WirelessNetworkReport::CalculateSSIDsDailyTraffic,
                  "[WirelessNetworkReport::CalculateDailyTraffic] ID: id, current peak traffic: 9.000000, mins traffic "
                  "average: 6.000000, average_speed_total: 18.000000"},
        DailyStep{&WirelessNetworkReport::CalculateAccesspointsDailyTraffic,
                  "[WirelessNetworkReport::CalculateAccesspointsDailyTraffic] ID: id, current peak traffic: 9.000000, "
                  "mins traffic average: 6.000000,average_speed_total: 18.000000"},
        DailyStep{&WirelessNetworkReport::CalculateSpectrumDailyTraffic,
                  "[WirelessNetworkReport::CalculateSpectrumDailyTraffic] ID: id, current peak traffic: 9.000000, mins "
                  "traffic average: 6.000000,average_speed_total: 18.000000"}));

TEST(NetworkTrafficWeekly, AreThoseOfTheDaysOfTheWeekOverTheWeekdaysBegun) {
  Report report;
  report["daily"] = EightDays(TrafficDay(288 * 2, 5));
  report["weekly"]["2026-11-15/2026-11-21"]["id"] = ClientDay(1, 2);
  const test::LogCapture log;
  FoldWeeklySpeeds(Wednesday(), kHost, report);
  EXPECT_EQ(report["daily"].size(), 7U);
  const AccessPoints& week = report["weekly"]["2026-11-15/2026-11-21"]["id"].measured;
  EXPECT_EQ(week.traffic.average, 2);  // four days of 2
  EXPECT_EQ(week.traffic.peak, 5);
  EXPECT_EQ(week.client.item.peak, 2U);
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::CalculateWeeklyTraffic] Exceed 7 days",
                          "[WirelessNetworkReport::CalculateWeeklyTraffic] ID: id, average: 2.000000, peak: 5.000000"));
}

TEST(NetworkTrafficWeekly, CarryWhatIsNotFinite) {
  Report report;
  report["daily"]["2026-11-18"]["id"].measured.traffic.average = std::nan("");
  FoldWeeklySpeeds(Wednesday(), kHost, report);
  EXPECT_TRUE(std::isnan(report["weekly"]["2026-11-15/2026-11-21"]["id"].measured.traffic.average));
}

}  // namespace
}  // namespace vexora_probe::monitor
