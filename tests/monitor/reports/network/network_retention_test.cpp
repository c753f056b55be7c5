#include "monitor/reports/network/network_retention.h"
#include "monitor/reports/network/network_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

constexpr const char* kDay = "2026-11-18";
constexpr const char* kThisWeek = "2026-11-15/2026-11-21";
constexpr long kThisMinute = 29'920'320L * 60;
constexpr const char* kThisMinuteKey = "29920320";
constexpr const char* kFiveBefore = "29920315";

/// A store with a sample of yesterday, and one of today at this minute in every snapshot.
NetworkReport Sampled(const std::string& minute) {
  NetworkReport report;
  for (const char* day : {"2026-11-17", kDay}) {
    report.rogue_samples[day]["rogue"][minute];
    report.access_point_snapshot[day]["ap"][minute];
    report.ssid_snapshot[day]["ssid"][minute];
    report.spectrum_snapshot[day]["5GHz"][minute];
    report.device_ssid_samples[day]["ap"]["ssid"][minute];
  }
  return report;
}

/// Adds a bucket of this key to every report.
void AddBucket(const char* period, const std::string& key, NetworkReport& report) {
  report.device_ssid_report[period]["ap"][key]["ssid"];
  report.rogue_report[period][key]["rogue"];
  report.access_point_report[period][key]["ap"];
  report.ssid_report[period][key]["ssid"];
  report.spectrum_report[period][key]["5GHz"];
}

template <typename Buckets>
std::vector<std::string> BucketKeys(const Buckets& buckets) {
  std::vector<std::string> keys;
  for (const auto& [key, bucket] : buckets) keys.push_back(key);
  return keys;
}

/// The keys of every report's buckets, which are expected to be the same in all five.
std::vector<std::string> Kept(const char* period, NetworkReport& report) {
  const auto keys = BucketKeys(report.access_point_report[period]);
  EXPECT_EQ(BucketKeys(report.rogue_report[period]), keys);
  EXPECT_EQ(BucketKeys(report.ssid_report[period]), keys);
  EXPECT_EQ(BucketKeys(report.spectrum_report[period]), keys);
  EXPECT_EQ(BucketKeys(report.device_ssid_report[period]["ap"]), keys);
  return keys;
}

TEST(NetworkRetentionSamples, KeepsOnlyTodaysSamples) {
  NetworkReport report = Sampled(kFiveBefore);
  EXPECT_FALSE(ClearOtherSnapShot(kDay, kThisMinute, kHost, report));
  EXPECT_THAT(report.rogue_samples, ElementsAre(Key(kDay)));
  EXPECT_THAT(report.access_point_snapshot, ElementsAre(Key(kDay)));
  EXPECT_THAT(report.ssid_snapshot, ElementsAre(Key(kDay)));
  EXPECT_THAT(report.spectrum_snapshot, ElementsAre(Key(kDay)));
  EXPECT_THAT(report.device_ssid_samples, ElementsAre(Key(kDay)));
  EXPECT_FALSE(report.device_ssid_samples[kDay]["ap"]["ssid"].empty());
}

TEST(NetworkRetentionSamples, EmptiesTodayWhenASampleIsOfThisMinuteOrLater) {
  for (const char* minute : {kThisMinuteKey, "29920321", "29999999"}) {
    NetworkReport report = Sampled(minute);
    EXPECT_TRUE(ClearOtherSnapShot(kDay, kThisMinute, kHost, report)) << minute;
    EXPECT_THAT(report.rogue_samples[kDay], IsEmpty());
    EXPECT_THAT(report.access_point_snapshot[kDay], IsEmpty());
    EXPECT_THAT(report.ssid_snapshot[kDay], IsEmpty());
    EXPECT_THAT(report.spectrum_snapshot[kDay], IsEmpty());
    EXPECT_THAT(report.device_ssid_samples[kDay], IsEmpty());
  }
}

TEST(NetworkRetentionSamples, EmptiesTheSnapshotsFromTheFirstThatShowsTheFutureOn) {
  NetworkReport report = Sampled(kFiveBefore);
  report.ssid_snapshot[kDay]["ssid"][kThisMinuteKey];
  EXPECT_TRUE(ClearOtherSnapShot(kDay, kThisMinute, kHost, report));
  EXPECT_FALSE(report.rogue_samples[kDay].empty()) << "looked at before";
  EXPECT_FALSE(report.access_point_snapshot[kDay].empty()) << "looked at before";
  EXPECT_THAT(report.ssid_snapshot[kDay], IsEmpty());
  EXPECT_THAT(report.spectrum_snapshot[kDay], IsEmpty());
  EXPECT_THAT(report.device_ssid_samples[kDay], IsEmpty());
}

TEST(NetworkRetentionSamples, FindsTheFutureInTheDevicesSamplesAlone) {
  NetworkReport report = Sampled(kFiveBefore);
  report.device_ssid_samples[kDay]["other"]["ssid"][kThisMinuteKey];
  EXPECT_TRUE(ClearOtherSnapShot(kDay, kThisMinute, kHost, report));
  EXPECT_FALSE(report.spectrum_snapshot[kDay].empty());
  EXPECT_THAT(report.device_ssid_samples[kDay], IsEmpty());
}

TEST(NetworkRetentionSamples, ComparesMinutesAsTexts) {
  NetworkReport report = Sampled("999");  // before minute 1000, but not as a text
  EXPECT_TRUE(ClearOtherSnapShot(kDay, 1'000L * 60, kHost, report));
}

TEST(NetworkRetentionSamples, LooksNoFurtherThanTheFirstFromTheEndThatShowsTheFuture) {
  NetworkReport report;
  report.access_point_snapshot[kDay]["a"][kFiveBefore];
  report.access_point_snapshot[kDay]["b"][kThisMinuteKey];
  report.access_point_snapshot[kDay]["c"][kFiveBefore];
  report.access_point_snapshot[kDay]["d"];
  const test::LogCapture log;
  EXPECT_TRUE(ClearOtherSnapShot(kDay, kThisMinute, kHost, report));
  const std::string at = "[WirelessNetworkReport::ClearOtherSnapShot] ";
  EXPECT_THAT(
      log.Texts(Level::kDebug),
      ElementsAre(at + "Access points size: 1", at + "Access points mins_iter: 29920315, now: 29920320",
                  at + "Access points mins_iter: 29920320, now: 29920320", at + "Clear access_points_report snapshot",
                  at + "SSID report size: 0", at + "Clear ssids report snapshot", at + "Spectrum report size: 0",
                  at + "Clear spectrum report snapshot", at + "Clear DeviceSSIDsReport snapshot"));
}

TEST(NetworkRetentionSamples, LogsEverySnapshotInOrder) {
  NetworkReport report = Sampled(kThisMinuteKey);
  const test::LogCapture log;
  ClearOtherSnapShot(kDay, kThisMinute, kHost, report);
  const std::string at = "[WirelessNetworkReport::ClearOtherSnapShot] ";
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre(at + "rogue APs mins_iter: 29920320, now: 29920320", at + "Clear raps_report snapshot",
                          at + "Access points size: 2", at + "Access points mins_iter: 29920320, now: 29920320",
                          at + "Clear access_points_report snapshot", at + "SSID report size: 2",
                          at + "SSID report mins_iter: 29920320, now: 29920320", at + "Clear ssids report snapshot",
                          at + "Spectrum report size: 2", at + "Spectrum report mins_iter: 29920320, now: 29920320",
                          at + "Clear spectrum report snapshot", at + "Clear DeviceSSIDsReport snapshot"));
}

TEST(NetworkRetentionBuckets, KeepsSevenDaysAndRemovesTheOldestOfEight) {
  NetworkReport report;
  for (const char* day :
       {"2026-11-11", "2026-11-12", "2026-11-13", "2026-11-14", "2026-11-15", "2026-11-16", "2026-11-17"}) {
    AddBucket("daily", day, report);
  }
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_EQ(Kept("daily", report).size(), 7U);
  AddBucket("daily", kDay, report);
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_EQ(Kept("daily", report), (std::vector<std::string>{"2026-11-12", "2026-11-13", "2026-11-14", "2026-11-15",
                                                             "2026-11-16", "2026-11-17", kDay}));
}

TEST(NetworkRetentionBuckets, KeepsFourWeeksAndRemovesTheOldestOfFive) {
  NetworkReport report;
  for (const char* week : {"2026-10-11/2026-10-17", "2026-10-18/2026-10-24", "2026-10-25/2026-10-31",
                           "2026-11-01/2026-11-07", "2026-11-08/2026-11-14"}) {
    AddBucket("weekly", week, report);
  }
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_EQ(Kept("weekly", report), (std::vector<std::string>{"2026-10-18/2026-10-24", "2026-10-25/2026-10-31",
                                                              "2026-11-01/2026-11-07", "2026-11-08/2026-11-14"}));
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_EQ(Kept("weekly", report).size(), 4U);
}

TEST(NetworkRetentionBuckets, RemovesOneBucketForEachTestOfTheSize) {
  NetworkReport report;
  for (int day = 1; day <= 9; ++day) AddBucket("daily", "2026-11-0" + std::to_string(day), report);
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_EQ(Kept("daily", report).size(), 8U);

  for (const char* week : {"2026-09-27/2026-10-03", "2026-10-04/2026-10-10", "2026-10-11/2026-10-17",
                           "2026-10-18/2026-10-24", "2026-10-25/2026-10-31", "2026-11-01/2026-11-07"}) {
    AddBucket("weekly", week, report);
  }
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_EQ(Kept("weekly", report).size(), 5U);
}

TEST(NetworkRetentionBuckets, RemovesTheFutureAndTheCurrentWeekWhichThePassBuildsAnew) {
  NetworkReport report;
  for (const char* day : {"2026-11-17", kDay, "2026-11-19", "2027-01-01"}) AddBucket("daily", day, report);
  for (const char* week : {"2026-11-08/2026-11-14", kThisWeek, "2026-11-22/2026-11-28"})
    AddBucket("weekly", week, report);
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_THAT(Kept("daily", report), ElementsAre("2026-11-17", kDay));
  EXPECT_THAT(Kept("weekly", report), ElementsAre("2026-11-08/2026-11-14"));
}

TEST(NetworkRetentionBuckets, KeepsTheLastBucketsOfADeviceThatIsGone) {
  NetworkReport report;
  report.device_ssid_report["daily"]["gone"]["2026-01-01"]["ssid"];
  report.device_ssid_report["weekly"]["gone"]["2025-12-28/2026-01-03"]["ssid"];
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_THAT(BucketKeys(report.device_ssid_report["daily"]["gone"]), ElementsAre("2026-01-01"));
  EXPECT_THAT(BucketKeys(report.device_ssid_report["weekly"]["gone"]), ElementsAre("2025-12-28/2026-01-03"));
}

TEST(NetworkRetentionBuckets, KeepsTodaysSamplesUnlessTheClockWentBack) {
  NetworkReport report = Sampled(kFiveBefore);
  AddBucket("daily", kDay, report);
  CleaRedundantSampleData(kDay, kThisWeek, false, kHost, report);
  EXPECT_FALSE(report.device_ssid_samples[kDay].empty());
  EXPECT_THAT(Kept("daily", report), ElementsAre(kDay));
}

TEST(NetworkRetentionBuckets, MakesNoDayWithoutSamplesWhenTheClockWentBack) {
  NetworkReport report;
  CleaRedundantSampleData(kDay, kWeek, true, kHost, report);
  EXPECT_THAT(report.device_ssid_samples, IsEmpty());
  EXPECT_THAT(report.rogue_samples, IsEmpty());
  EXPECT_THAT(report.access_point_snapshot, IsEmpty());
  EXPECT_THAT(report.ssid_snapshot, IsEmpty());
  EXPECT_THAT(report.spectrum_snapshot, IsEmpty());
}

TEST(NetworkRetentionBuckets, DropsTodayEverywhereWhenTheClockWentBack) {
  NetworkReport report = Sampled(kFiveBefore);
  for (const char* day : {"2026-11-17", kDay}) AddBucket("daily", day, report);
  for (const char* week : {"2026-11-08/2026-11-14", kThisWeek}) AddBucket("weekly", week, report);
  report.device_ssid_report["daily"]["new"][kDay]["ssid"];
  report.device_ssid_report["weekly"]["new"][kThisWeek]["ssid"];
  const test::LogCapture log;
  CleaRedundantSampleData(kDay, kThisWeek, true, kHost, report);
  EXPECT_THAT(report.device_ssid_samples[kDay], IsEmpty());
  EXPECT_THAT(report.rogue_samples[kDay], IsEmpty());
  EXPECT_THAT(report.access_point_snapshot[kDay], IsEmpty());
  EXPECT_THAT(report.ssid_snapshot[kDay], IsEmpty());
  EXPECT_THAT(report.spectrum_snapshot[kDay], IsEmpty());
  EXPECT_THAT(Kept("daily", report), ElementsAre("2026-11-17"));
  EXPECT_THAT(Kept("weekly", report), ElementsAre("2026-11-08/2026-11-14"));
  EXPECT_THAT(BucketKeys(report.device_ssid_report["daily"]), ElementsAre("ap"))
      << "the device without a day left is gone";
  EXPECT_THAT(BucketKeys(report.device_ssid_report["weekly"]), ElementsAre("ap"));
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::CleaRedundantSampleData] clear current day and week data"));
}

}  // namespace
}  // namespace vexora_probe::monitor
