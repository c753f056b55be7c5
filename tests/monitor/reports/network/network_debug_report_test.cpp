#include "monitor/reports/network/network_debug_report.h"
#include "monitor/reports/network/network_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/reports/network/network_running.h"
#include "monitor/reports/network/network_stage.h"
#include "tests/monitor/reports/network/network_samples.h"

namespace vexora_probe::monitor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;

TEST(NetworkDebugReport, OfAStoreWithoutAPassHasNoSnapshots) {
  NetworkReport reports;
  reports.ssid_report["daily"]["2026-11-18"]["id"];
  const auto report = DebugReport(reports, SampleStore());
  EXPECT_EQ(report->ssid_report, reports.ssid_report);
  EXPECT_THAT(report->access_point_snapshot, IsEmpty());
}

TEST(NetworkDebugReport, HasASampleForEachPassAndTheCountersOfTheLatestTwo) {
  SampleStore store;
  store.DropSamples("2026-11-18");
  for (std::uint32_t pass = 0; pass < 3; ++pass) {
    NetworkReading reading = NetworkOf("Of|fice", 5 + pass);
    reading.counters = {.in = 1'310'720ULL * pass, .out = pass, .polled_at = static_cast<time_t>(1'000 + 10 * pass)};
    StageSamples("ap", {reading}, 100 + 5 * pass, store);
    FoldStagedSamples(100 + 5 * pass, store);
  }
  const auto report = DebugReport({}, store);
  const Samples& samples = report->device_ssid_samples.at("2026-11-18").at("ap").at("Of|fice|3|0|5GHz");
  ASSERT_THAT(samples, ElementsAre(Key("100"), Key("105"), Key("110")));
  const Networks& latest = samples.at("110");
  EXPECT_EQ(latest.attributes.name, "Of|fice");
  EXPECT_EQ(latest.attributes.radio_type, "5GHz");
  EXPECT_EQ(latest.attributes.device_mac, "ap");
  EXPECT_EQ(latest.measured.client.current, 7U);
  EXPECT_EQ(latest.measured.traffic.inOctets, 2'621'440U);
  EXPECT_EQ(latest.measured.traffic.polling_time, 1'020);
  EXPECT_EQ(latest.measured.traffic.time_delta, 10);
  EXPECT_EQ(latest.measured.traffic.delta_octets, 1'310'721U);
  EXPECT_EQ(samples.at("105").measured.traffic.inOctets, 1'310'720U);
  EXPECT_EQ(samples.at("100").measured.client.current, 5U);
  EXPECT_EQ(samples.at("100").measured.traffic.average, 0);
  EXPECT_GT(samples.at("105").measured.traffic.average, 1);
  EXPECT_EQ(report->ssid_snapshot.at("2026-11-18").at("Of|fice|3|0").at("110").measured.client.current, 7U);
  const Networks& day = report->device_ssid_report.at("daily").at("ap").at("2026-11-18").at("Of|fice|3|0|5GHz");
  EXPECT_EQ(day.measured.client.item.total, 18U);
  EXPECT_EQ(day.measured.client.item.peak, 7U);
}

TEST(NetworkDebugReport, HasTheSumAndThePeakOfTheSpeedsOfADay) {
  SampleStore store;
  store.DropSamples("2026-11-18");
  std::uint64_t octets = 0;
  std::uint32_t pass = 0;
  for (const std::uint64_t more : {0ULL, 1'310'720ULL, 13'107'200ULL, 2'621'440ULL}) {
    NetworkReading reading = NetworkOf("Office", 1);
    octets += more;
    reading.counters = {.in = octets, .out = 0, .polled_at = static_cast<time_t>(1'000 + 10 * pass)};
    StageSamples("ap", {reading}, 100 + 5 * pass, store);
    FoldStagedSamples(100 + 5 * pass, store);
    ++pass;
  }
  const auto report = DebugReport({}, store);
  // Megabits a second over ten seconds: 1, 10 and 2.
  const Networks& day = report->device_ssid_report.at("daily").at("ap").at("2026-11-18").at("Office|3|0|5GHz");
  EXPECT_DOUBLE_EQ(day.measured.traffic.average_speed_total, 13);
  EXPECT_DOUBLE_EQ(day.measured.traffic.peak, 10);
}

}  // namespace
}  // namespace vexora_probe::monitor
