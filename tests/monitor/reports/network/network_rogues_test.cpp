#include "monitor/reports/network/network_rogues.h"
#include "monitor/reports/network/network_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/monitor/reports/network/network_samples.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using ::testing::DoubleEq;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

RogueAPs Sighted(double signal, double average) {
  RogueAPs rogue;
  rogue.signal_strength = signal;
  rogue.average_strength = average;
  return rogue;
}

TEST(NetworkRogues, IsTakenOverPowerAndNeverOverDecibels) {
  const double minus_43 = 10 * std::log10((1e-4 + 1e-8) / 2);
  EXPECT_THAT(minus_43, DoubleNear(-43, 0.02));
  EXPECT_THAT(GetAverageSignalStrength({{"a", Sighted(-40, 0)}, {"b", Sighted(-80, 0)}}, true, kHost),
              DoubleEq(minus_43));
  EXPECT_THAT(GetAverageSignalStrength({{"a", Sighted(0, -40)}, {"b", Sighted(0, -80)}}, false, kHost),
              DoubleEq(minus_43));
}

TEST(NetworkRogues, OfNothingIsZero) {
  const test::LogCapture log;
  EXPECT_EQ(GetAverageSignalStrength({}, true, kHost), 0);
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::GetAverageSignalStrength] times_raps is empty"));
}

TEST(NetworkRogues, LogsWhatItTakesIn) {
  const test::LogCapture log;
  GetAverageSignalStrength({{"a", Sighted(-40, -50)}}, true, kHost);
  GetAverageSignalStrength({{"a", Sighted(-40, -50)}}, false, kHost);
  EXPECT_THAT(
      log.Texts(Level::kDebug),
      ElementsAre("[WirelessNetworkReport::GetAverageSignalStrength] Calculate daily signal strength: -40.000000",
                  "[WirelessNetworkReport::GetAverageSignalStrength] Calculate weekly signal strength: -50.000000"));
}

constexpr long kFirstScan = 1'795'219'200;

/// A scan by `hearer` at `now` with one access point.
Scan ScanBy(const std::string& hearer, long now, double signal, bool is_trusted = false) {
  RogueAPs heard;
  heard.mac = "rogue";
  heard.signal_strength = signal;
  heard.first_seen = heard.last_seen = static_cast<time_t>(now);
  heard.seen_by[hearer] = "name of " + hearer;
  return {.mac = hearer, .hostname = "name of " + hearer, .entries = {{.record = heard, .is_trusted = is_trusted}}};
}

TEST(NetworkRogues, AddUpTheGapsBetweenSightingsOfADay) {
  NetworkReport report;
  RecordScan(ScanBy("ap1", kFirstScan, -40), kFirstScan, Wednesday(), kHost, report);
  RecordScan(ScanBy("ap2", kFirstScan + 300, -80), kFirstScan + 300, Wednesday(), kHost, report);
  const RogueAPs& day = report.rogue_report["daily"]["2026-11-18"]["rogue//0/"];
  EXPECT_EQ(day.total_time, 300);
  EXPECT_EQ(day.first_seen, kFirstScan);
  EXPECT_EQ(day.last_seen, kFirstScan + 300);
  EXPECT_THAT(day.seen_by, ElementsAre(Pair("ap1", "name of ap1"), Pair("ap2", "name of ap2")));
  EXPECT_THAT(day.average_strength, DoubleNear(-43, 0.02));
  const RogueAPs& week = report.rogue_report["weekly"]["2026-11-15/2026-11-21"]["rogue//0/"];
  EXPECT_EQ(week.total_time, 300);
  EXPECT_EQ(week.last_seen, kFirstScan + 300);
  EXPECT_EQ(week.seen_by, day.seen_by);
}

TEST(NetworkRogues, LoseAHearerThatTrustsThemAndGoWithTheLast) {
  NetworkReport report;
  RecordScan(ScanBy("ap1", kFirstScan, -40), kFirstScan, Wednesday(), kHost, report);
  RecordScan(ScanBy("ap2", kFirstScan, -40), kFirstScan, Wednesday(), kHost, report);
  RecordScan(ScanBy("ap1", kFirstScan, -40, true), kFirstScan, Wednesday(), kHost, report);
  EXPECT_THAT(report.rogue_report["daily"]["2026-11-18"]["rogue//0/"].seen_by, ElementsAre(Pair("ap2", "name of ap2")));
  RecordScan(ScanBy("ap2", kFirstScan, -40, true), kFirstScan, Wednesday(), kHost, report);
  EXPECT_THAT(report.rogue_report["daily"]["2026-11-18"], IsEmpty());
}

void IgnoreLine(int /*module*/, const char* /*format*/, ...) {}

/// Functions of a host that writes no log and leaves levels as they are.
HostFunctions PlainNumbers() {
  return {.log_debug = &IgnoreLine,
          .dbm_to_milliwatts = [](double dbm) { return dbm; },
          .milliwatts_to_dbm = [](double milliwatts) { return milliwatts; }};
}

TEST(NetworkRogues, TakeConversionsAndLogFromTheCaller) {
  const test::LogCapture log;
  EXPECT_EQ(GetAverageSignalStrength({{"a", Sighted(-40, 0)}, {"b", Sighted(-80, 0)}}, true, PlainNumbers()), -60);
  EXPECT_THAT(log.Texts(Level::kDebug), IsEmpty());
}

}  // namespace
}  // namespace vexora_probe::monitor
