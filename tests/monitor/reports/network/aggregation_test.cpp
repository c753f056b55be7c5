#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "monitor/reports/network/network_client_counts.h"
#include "monitor/reports/network/network_fold.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_rogues.h"
#include "monitor/reports/network/network_traffic.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using ::testing::DoubleEq;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

constexpr double kSlots = 288;

/// A Wednesday at ten o'clock.
ReportTime Wednesday() {
  return {.day = "2026-11-18",
          .week = "2026-11-15/2026-11-21",
          .week_start = "2026-11-15",
          .week_end = "2026-11-21",
          .weekday = 3,
          .slots = 120};
}

Networks ClientSample(std::uint32_t clients) {
  Networks sample;
  sample.measured.client.current = clients;
  return sample;
}

/// A past day's record with this total and peak of clients.
Networks ClientDay(std::uint32_t total, std::uint32_t peak) {
  Networks day;
  day.measured.client.item = {.peak = peak, .total = total, .average = 0};
  return day;
}

Networks CounterSample(std::uint64_t in, std::uint64_t out, time_t polled) {
  Networks sample;
  sample.measured.traffic.inOctets = in;
  sample.measured.traffic.outOctets = out;
  sample.measured.traffic.polling_time = polled;
  return sample;
}

Networks TrafficDay(double total, double peak) {
  Networks day;
  day.measured.traffic.average_speed_total = total;
  day.measured.traffic.average = total / kSlots;
  day.measured.traffic.peak = peak;
  return day;
}

/// Seven past days, the latest one the day before that Wednesday, and today.
Buckets EightDays(const Networks& record) {
  Buckets daily;
  for (const char* day : {"2026-11-11", "2026-11-12", "2026-11-13", "2026-11-14", "2026-11-15", "2026-11-16",
                          "2026-11-17", "2026-11-18"}) {
    daily[day]["id"] = record;
  }
  return daily;
}

TEST(ClientCounts, CountSlotsWithoutASampleAsNoClients) {
  Buckets daily;
  RecordClientCounts("id", {{"1", ClientSample(6)}, {"2", ClientSample(18)}}, Wednesday(), daily);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client,
            (Clients{.current = 0, .item = {.peak = 18, .total = 24, .average = 24 / 120.0}}));
}

TEST(ClientCounts, DivideByTheSamplesWhenThereAreMoreOfThemThanSlotsAsJustAfterMidnight) {
  ReportTime midnight = Wednesday();
  midnight.slots = 0;
  Buckets daily;
  RecordClientCounts("id", {{"1", ClientSample(6)}, {"2", ClientSample(3)}}, midnight, daily);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.average, 4.5);
  RecordClientCounts("none", {}, midnight, daily);
  EXPECT_EQ(daily["2026-11-18"]["none"].measured.client.item.average, 0) << "no slot and no sample";
}

TEST(ClientCounts, LeaveTheTrafficOfTheDayAlone) {
  Buckets daily{{"2026-11-18", {{"id", TrafficDay(5, 7)}}}};
  RecordClientCounts("id", {{"1", ClientSample(120)}}, Wednesday(), daily);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.traffic.peak, 7);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.average, 1);
}

TEST(ClientCounts, DivideFinishedDaysByAllTheirSlots) {
  Buckets daily{{"2026-11-16", {{"gone", ClientDay(288, 4)}}}, {"2026-11-17", {{"id", ClientDay(144, 2)}}}};
  daily["2026-11-18"]["id"] = ClientDay(288, 1);
  Buckets weekly;
  FoldClientCounts(Wednesday(), daily, weekly);
  EXPECT_EQ(daily["2026-11-16"]["gone"].measured.client.item.average, 1);
  EXPECT_EQ(daily["2026-11-17"]["id"].measured.client.item.average, 0.5);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.average, 0) << "today is not finished";
}

TEST(ClientCounts, DivideTheWeekByTheWeekdaysBegunSeenOrNotFourOnAWednesday) {
  Buckets daily{{"2026-11-14", {{"id", ClientDay(288 * 50, 99)}}},  // a Saturday: the week before
                {"2026-11-15", {{"id", ClientDay(288 * 3, 5)}, {"gone", ClientDay(288, 2)}}},
                {"2026-11-17", {{"id", ClientDay(288 * 4, 9)}}}};
  Networks today = ClientDay(60, 6);
  today.measured.client.item.average = 1;
  daily["2026-11-18"]["id"] = today;
  Buckets weekly;
  FoldClientCounts(Wednesday(), daily, weekly);
  const Records& week = weekly["2026-11-15/2026-11-21"];
  EXPECT_EQ(week.at("id").measured.client,
            (Clients{.current = 0, .item = {.peak = 9, .total = 0, .average = (3 + 4 + 1) / 4.0}}));
  EXPECT_EQ(week.at("gone").measured.client,
            (Clients{.current = 0, .item = {.peak = 2, .total = 0, .average = 1 / 4.0}}));
}

TEST(ClientCounts, TakeBothEndsOfTheWeekIn) {
  ReportTime saturday = Wednesday();
  saturday.day = "2026-11-21";
  saturday.weekday = 6;
  Buckets daily{{"2026-11-14", {{"before", ClientDay(0, 1)}}},
                {"2026-11-15", {{"first", ClientDay(0, 2)}}},
                {"2026-11-21", {{"last", ClientDay(0, 3)}}},
                {"2026-11-22", {{"after", ClientDay(0, 4)}}}};
  Buckets weekly;
  FoldClientCounts(saturday, daily, weekly);
  EXPECT_THAT(weekly["2026-11-15/2026-11-21"], ElementsAre(Key("first"), Key("last")));
}

TEST(ClientCounts, DropTheOldestOfEightDaysOnceACall) {
  Buckets daily = EightDays(ClientDay(288, 1));
  daily["2026-11-10"]["id"] = ClientDay(288, 1);  // a ninth
  Buckets weekly;
  const test::LogCapture log;
  FoldClientCounts(Wednesday(), daily, weekly);
  EXPECT_EQ(daily.size(), 8U);
  EXPECT_EQ(daily.begin()->first, "2026-11-11");
  FoldClientCounts(Wednesday(), daily, weekly);
  EXPECT_EQ(daily.size(), 7U);
  FoldClientCounts(Wednesday(), daily, weekly);
  EXPECT_EQ(daily.size(), 7U);
  EXPECT_THAT(log.Texts(Level::kDebug, "exceed"),
              ElementsAre("[WirelessNetworkReport::CalculateClientCountData] the days's sample data exceed 7 days.",
                          "[WirelessNetworkReport::CalculateClientCountData] the days's sample data exceed 7 days."));
}

TEST(ClientCounts, LogEveryStep) {
  Buckets daily{{"2026-11-14", {{"id", ClientDay(288, 3)}}}};
  Buckets weekly;
  const test::LogCapture log;
  RecordClientCounts("id", {{"1", ClientSample(6)}, {"2", ClientSample(18)}}, Wednesday(), daily);
  FoldClientCounts(Wednesday(), daily, weekly);
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

TEST(Speeds, AreMegabitsOfTwoToTheTwentiethPerSecond) {
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'048'576, 262'144, 1'010)}};
  Buckets daily;
  EXPECT_TRUE(RecordSpeed("id", samples, Wednesday(), daily));
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

TEST(Speeds, OfTheLatestTwoSamplesAddUpAndTheGreaterIsThePeak) {
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  Buckets daily;
  RecordSpeed("id", samples, Wednesday(), daily);
  samples["3"] = CounterSample(1'310'720 + 655'360, 0, 1'020);
  RecordSpeed("id", samples, Wednesday(), daily);
  const TrafficCount& day = daily["2026-11-18"]["id"].measured.traffic;
  EXPECT_EQ(day.average_speed_total, 1.5);
  EXPECT_EQ(day.peak, 1);
}

TEST(Speeds, CountFromZeroAfterACounterReset) {
  Samples samples{{"1", CounterSample(9'000'000, 8'000'000, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  Buckets daily;
  const test::LogCapture log;
  RecordSpeed("id", samples, Wednesday(), daily);
  EXPECT_EQ(samples["2"].measured.traffic.delta_octets, 1'310'720U);
  EXPECT_EQ(samples["2"].measured.traffic.average, 1);
  EXPECT_THAT(log.Texts(Level::kDebug, "reduced"),
              ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id current traffic inOcetes is reduced",
                          "[WirelessNetworkReport::CalculateTrafficData] ID: id current traffic outOcetes is reduced"));
}

TEST(Speeds, DoNotChangeWithTheSameOrAnEarlierPollingTime) {
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

TEST(Speeds, NeedTwoSamples) {
  Buckets daily;
  Samples none;
  Samples one{{"1", CounterSample(5, 5, 1'000)}};
  const test::LogCapture log;
  EXPECT_FALSE(RecordSpeed("id", none, Wednesday(), daily));
  EXPECT_FALSE(RecordSpeed("id", one, Wednesday(), daily));
  EXPECT_THAT(daily, IsEmpty());
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id, sample data is empty",
                          "[WirelessNetworkReport::CalculateTrafficData] ID: id, sample data is not enough"));
}

TEST(Speeds, LeaveTheDailyMeanAloneBeforeTheFirstSlotIsOver) {
  ReportTime midnight = Wednesday();
  midnight.slots = 0;
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  Buckets daily{{"2026-11-18", {{"id", TrafficDay(288, 0)}}}};
  RecordSpeed("id", samples, midnight, daily);
  const TrafficCount& day = daily["2026-11-18"]["id"].measured.traffic;
  EXPECT_EQ(day.average, 1);
  EXPECT_EQ(day.average_speed_total, 289);
  EXPECT_EQ(day.peak, 1);
}

TEST(Speeds, SurviveADeviceClockThatStepsFromOneEndOfTimeToTheOther) {
  Samples samples{
      {"1", CounterSample(0, 0, std::numeric_limits<time_t>::min())},
      {"2", CounterSample(std::numeric_limits<std::uint64_t>::max(), 2, std::numeric_limits<time_t>::max())}};
  Buckets daily;
  EXPECT_TRUE(RecordSpeed("id", samples, Wednesday(), daily));
  EXPECT_EQ(samples["2"].measured.traffic.time_delta, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(samples["2"].measured.traffic.delta_octets, 1U) << "octets wrap at 64 bits";
}

TEST(Speeds, DivideFinishedDaysByAllTheirSlotsAndTheWeekByTheWeekdaysBegun) {
  Buckets daily{{"2026-11-14", {{"id", TrafficDay(288 * 70, 99)}}},
                {"2026-11-15", {{"id", TrafficDay(288 * 3, 5)}}},
                {"2026-11-17", {{"id", TrafficDay(288 * 4, 9)}, {"gone", TrafficDay(288 * 8, 8)}}},
                {"2026-11-18", {{"id", TrafficDay(288 * 1, 6)}}}};
  daily["2026-11-17"]["id"].measured.traffic.average = 1'000;  // as of the day's last slot
  Buckets weekly{{"2026-11-15/2026-11-21", {{"id", ClientDay(1, 2)}}}};
  FoldSpeeds("id", Wednesday(), daily, weekly);
  EXPECT_EQ(daily["2026-11-17"]["id"].measured.traffic.average, 4);
  const Records& week = weekly["2026-11-15/2026-11-21"];
  EXPECT_EQ(week.at("id").measured.traffic.average, (3 + 4 + 1) / 4.0);
  EXPECT_EQ(week.at("id").measured.traffic.peak, 9);
  EXPECT_EQ(week.at("id").measured.client.item.peak, 2U) << "the week's clients stay";
  EXPECT_EQ(week.at("gone").measured.traffic.average, 8 / 4.0);
}

TEST(Speeds, DropTheOldestOfEightDays) {
  Buckets daily = EightDays(TrafficDay(288, 1));
  Buckets weekly;
  const test::LogCapture log;
  FoldSpeeds("id", Wednesday(), daily, weekly);
  EXPECT_EQ(daily.size(), 7U);
  EXPECT_EQ(daily.begin()->first, "2026-11-12");
  EXPECT_THAT(
      log.Texts(Level::kDebug, "exceed"),
      ElementsAre("[WirelessNetworkReport::CalculateTrafficData] ID: id, the days's sample data exceed 7 days."));
}

TEST(Speeds, LogEveryStep) {
  Samples samples{{"1", CounterSample(1, 2, 1'000)}, {"2", CounterSample(1'310'721, 2, 1'010)}};
  Buckets daily{{"2026-11-14", {{"id", TrafficDay(288, 3)}}}};
  Buckets weekly;
  const test::LogCapture log;
  RecordSpeed("id", samples, Wednesday(), daily);
  FoldSpeeds("id", Wednesday(), daily, weekly);
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

/// A sample of a family, with this speed.
Networks SpeedSample(double speed) {
  Networks sample;
  sample.measured.traffic.average = speed;
  return sample;
}

using DailyTraffic = void (WirelessNetworkReport::*)(Report&, const Snapshot&, const std::string&) const;

/// A family's daily step and the line that it logs.
struct DailyStep {
  DailyTraffic step;
  const char* line;
};

class DailySpeeds : public ::testing::TestWithParam<DailyStep> {
 protected:
  ~DailySpeeds() override { SampleCountCurrentTime = 0; }
};

TEST_P(DailySpeeds, TakePeakAndMeanOverTheSlotsBegun) {
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

TEST_P(DailySpeeds, DivideByNoSlotJustAfterMidnightToInfinityAndNotANumberWithoutACrash) {
  SampleCountCurrentTime = 0;
  const Snapshot snapshot{{"2026-11-18", {{"idle", {{"1", SpeedSample(0)}}}, {"busy", {{"1", SpeedSample(2)}}}}}};
  Report report;
  (WirelessNetworkReport().*GetParam().step)(report, snapshot, "2026-11-18");
  EXPECT_TRUE(std::isnan(report["daily"]["2026-11-18"]["idle"].measured.traffic.average));
  EXPECT_EQ(report["daily"]["2026-11-18"]["busy"].measured.traffic.average, std::numeric_limits<double>::infinity());
  EXPECT_EQ(report["daily"]["2026-11-18"]["busy"].measured.traffic.peak, 2);
}

TEST_P(DailySpeeds, DoNothingForADayWithoutSamples) {
  Report report;
  (WirelessNetworkReport().*GetParam().step)(report, {}, "2026-11-18");
  EXPECT_THAT(report, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Families, DailySpeeds,
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

TEST(WeeklySpeeds, AreThoseOfTheDaysOfTheWeekOverTheWeekdaysBegun) {
  Report report;
  report["daily"] = EightDays(TrafficDay(288 * 2, 5));
  report["weekly"]["2026-11-15/2026-11-21"]["id"] = ClientDay(1, 2);
  const test::LogCapture log;
  FoldWeeklySpeeds(report, Wednesday());
  EXPECT_EQ(report["daily"].size(), 7U);
  const AccessPoints& week = report["weekly"]["2026-11-15/2026-11-21"]["id"].measured;
  EXPECT_EQ(week.traffic.average, 2);  // four days of 2
  EXPECT_EQ(week.traffic.peak, 5);
  EXPECT_EQ(week.client.item.peak, 2U);
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::CalculateWeeklyTraffic] Exceed 7 days",
                          "[WirelessNetworkReport::CalculateWeeklyTraffic] ID: id, average: 2.000000, peak: 5.000000"));
}

TEST(WeeklySpeeds, CarryWhatIsNotFinite) {
  Report report;
  report["daily"]["2026-11-18"]["id"].measured.traffic.average = std::nan("");
  FoldWeeklySpeeds(report, Wednesday());
  EXPECT_TRUE(std::isnan(report["weekly"]["2026-11-15/2026-11-21"]["id"].measured.traffic.average));
}

TEST(Devices, NoteWhatEachNetworkMovedBetweenItsLatestSamples) {
  NetworkReport report;
  DaySamples& networks = report.device_ssid_samples["2026-11-18"]["ap"];
  networks["Office|3|0|5GHz"] = {{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(70, 7, 1'010)}};
  networks["Office|3|0|5GHz"]["2"].attributes.radio_type = "5GHz";
  networks["Guest|0|1|2.4GHz"] = {{"2", CounterSample(5, 5, 1'010)}};
  RadioDeltas deltas;
  const test::LogCapture log;
  FoldDevices(Wednesday(), report, deltas);
  EXPECT_EQ(deltas, (RadioDeltas{{"ap",
                                  {{"Guest|0|1|2.4GHz", {.time_delta = 0, .delta_octets = 0}},
                                   {"Office|3|0|5GHz", {.time_delta = 10, .delta_octets = 77}}}}}));
  EXPECT_THAT(log.Texts(Level::kDebug, "CollectSSIDsByMac"),
              ElementsAre("[WirelessNetworkReport::CollectSSIDsByMac] ID: ap, key: Guest|0|1|2.4GHz, radio type: , "
                          "delta time: 0",
                          "[WirelessNetworkReport::CollectSSIDsByMac] ID: ap, key: Office|3|0|5GHz, radio type: 5GHz, "
                          "delta time: 10"));
}

TEST(Devices, AddTheSpeedOfTheirLatestSampleAgainWhileTheySendNoNewOne) {
  NetworkReport report;
  report.device_ssid_samples["2026-11-18"]["ap"]["id"] = {{"1", CounterSample(0, 0, 1'000)},
                                                          {"2", CounterSample(1'310'720, 0, 1'010)}};
  RadioDeltas deltas;
  FoldDevices(Wednesday(), report, deltas);
  FoldDevices(Wednesday(), report, deltas);
  EXPECT_EQ(report.device_ssid_report["daily"]["ap"]["2026-11-18"]["id"].measured.traffic.average_speed_total, 2);
}

TEST(NamedCalculations, DoBothStepsInOneCall) {
  WirelessNetworkReport monitor;
  Samples samples{{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(1'310'720, 0, 1'010)}};
  samples["2"].measured.client.current = 7;
  Buckets daily{{"2026-11-17", {{"id", ClientDay(288, 9)}}}};
  Buckets weekly;
  monitor.CalculateClientCountData("id", samples, "2026-11-18", "/", daily, weekly);
  monitor.CalculateTrafficData("id", samples, "2026-11-18", "/", daily, weekly);
  EXPECT_EQ(daily["2026-11-17"]["id"].measured.client.item.average, 1);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.client.item.peak, 7U);
  EXPECT_EQ(daily["2026-11-18"]["id"].measured.traffic.peak, 1);
}

RogueAPs Sighted(double signal, double average) {
  RogueAPs rogue;
  rogue.signal_strength = signal;
  rogue.average_strength = average;
  return rogue;
}

TEST(AverageSignal, IsTakenOverPowerAndNeverOverDecibels) {
  const double minus_43 = 10 * std::log10((1e-4 + 1e-8) / 2);
  EXPECT_THAT(minus_43, DoubleNear(-43, 0.02));
  EXPECT_THAT(GetAverageSignalStrength({{"a", Sighted(-40, 0)}, {"b", Sighted(-80, 0)}}, true), DoubleEq(minus_43));
  EXPECT_THAT(GetAverageSignalStrength({{"a", Sighted(0, -40)}, {"b", Sighted(0, -80)}}, false), DoubleEq(minus_43));
}

TEST(AverageSignal, OfNothingIsZero) {
  const test::LogCapture log;
  EXPECT_EQ(WirelessNetworkReport::GetAverageSignalStrength({}, true), 0);
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::GetAverageSignalStrength] times_raps is empty"));
}

TEST(AverageSignal, LogsWhatItTakesIn) {
  const test::LogCapture log;
  GetAverageSignalStrength({{"a", Sighted(-40, -50)}}, true);
  GetAverageSignalStrength({{"a", Sighted(-40, -50)}}, false);
  EXPECT_THAT(
      log.Texts(Level::kDebug),
      ElementsAre("[WirelessNetworkReport::GetAverageSignalStrength] Calculate daily signal strength: -40.000000",
                  "[WirelessNetworkReport::GetAverageSignalStrength] Calculate weekly signal strength: -50.000000"));
}

}  // namespace
}  // namespace vexora_probe::monitor
