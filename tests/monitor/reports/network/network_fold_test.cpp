#include "monitor/reports/network/network_fold.h"
#include "monitor/reports/network/network_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "tests/monitor/reports/network/network_samples.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NetworkFoldDevices, NoteWhatEachNetworkMovedBetweenItsLatestSamples) {
  NetworkReport report;
  DaySamples& networks = report.device_ssid_samples["2026-11-18"]["ap"];
  networks["Office|3|0|5GHz"] = {{"1", CounterSample(0, 0, 1'000)}, {"2", CounterSample(70, 7, 1'010)}};
  networks["Office|3|0|5GHz"]["2"].attributes.radio_type = "5GHz";
  networks["Guest|0|1|2.4GHz"] = {{"2", CounterSample(5, 5, 1'010)}};
  RadioDeltas deltas;
  const test::LogCapture log;
  FoldDevices(Wednesday(), kHost, report, deltas);
  EXPECT_EQ(deltas, (RadioDeltas{{"ap",
                                  {{"Guest|0|1|2.4GHz", {.time_delta = 0, .delta_octets = 0}},
                                   {"Office|3|0|5GHz", {.time_delta = 10, .delta_octets = 77}}}}}));
  EXPECT_THAT(log.Texts(Level::kDebug, "CollectSSIDsByMac"),
              ElementsAre("[WirelessNetworkReport::CollectSSIDsByMac] ID: ap, key: Guest|0|1|2.4GHz, radio type: , "
                          "delta time: 0",
                          "[WirelessNetworkReport::CollectSSIDsByMac] ID: ap, key: Office|3|0|5GHz, radio type: 5GHz, "
                          "delta time: 10"));
}

TEST(NetworkFoldDevices, AddTheSpeedOfTheirLatestSampleAgainWhileTheySendNoNewOne) {
  NetworkReport report;
  report.device_ssid_samples["2026-11-18"]["ap"]["id"] = {{"1", CounterSample(0, 0, 1'000)},
                                                          {"2", CounterSample(1'310'720, 0, 1'010)}};
  RadioDeltas deltas;
  FoldDevices(Wednesday(), kHost, report, deltas);
  FoldDevices(Wednesday(), kHost, report, deltas);
  EXPECT_EQ(report.device_ssid_report["daily"]["ap"]["2026-11-18"]["id"].measured.traffic.average_speed_total, 2);
}

/// A sample with so many clients and this speed, on a band.
Networks BandSample(const char* band, std::uint32_t clients, double speed) {
  Networks sample;
  sample.attributes.radio_type = band;
  sample.measured.client.current = clients;
  sample.measured.traffic.average = speed;
  return sample;
}

/// An access point with one network on both bands, and one that has it on the lower band alone.
DeviceDaySamples TwoDevices() {
  return {{"ap1",
           {{"Office|3|0|2.4GHz", {{"100", BandSample("2.4GHz", 4, 1)}, {"105", BandSample("2.4GHz", 1, 0.5)}}},
            {"Office|3|0|5GHz", {{"105", BandSample("5GHz", 3, 2)}}}}},
          {"ap2", {{"Office|3|0|2.4GHz", {{"100", BandSample("2.4GHz", 8, 4)}}}}}};
}

TEST(NetworkFoldSums, LogADeviceWithoutANetwork) {
  const test::LogCapture log;
  EXPECT_THAT(SumBySSID({{"ap", {}}}, kHost), IsEmpty());
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 2,
                                               "[WirelessNetworkReport::CollectSSIDs] Device: ap, ssid is empty"}));
}

TEST(NetworkFoldSums, LeaveOutANetworkWithoutASample) {
  const DeviceDaySamples devices{{"ap", {{"Office|3|0|5GHz", {}}}}};
  const test::LogCapture log;
  EXPECT_THAT(SumBySSID(devices, kHost), IsEmpty());
  EXPECT_THAT(SumByAccessPoint(devices, kHost), IsEmpty());
  EXPECT_THAT(SumBySpectrum(devices, kHost), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(NetworkFoldSums, BySSIDLogTheSumAfterEverySampleAddedToIt) {
  const test::LogCapture log;
  SumBySSID(TwoDevices(), kHost);
  const std::string at = "[WirelessNetworkReport::CollectSSIDs] Minsutes: ";
  EXPECT_THAT(log.Texts(Level::kDebug, "Minsutes"),
              ElementsAre(at + "100, ssid: Office|3|0, client count(current): 4, traffic average: 1.000000",
                          at + "105, ssid: Office|3|0, client count(current): 1, traffic average: 0.500000",
                          at + "105, ssid: Office|3|0, client count(current): 4, traffic average: 2.500000",
                          at + "100, ssid: Office|3|0, client count(current): 12, traffic average: 5.000000"));
}

TEST(NetworkFoldSums, ByAccessPointLogTheSumAfterEverySampleAddedToIt) {
  const test::LogCapture log;
  SumByAccessPoint(TwoDevices(), kHost);
  const std::string at = "[WirelessNetworkReport::CollectAccessPoints] ID: ";
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre(at + "ap1, Minsutes: 100, client count(current): 4, traffic average: 1.000000",
                          at + "ap1, Minsutes: 105, client count(current): 1, traffic average: 0.500000",
                          at + "ap1, Minsutes: 105, client count(current): 4, traffic average: 2.500000",
                          at + "ap2, Minsutes: 100, client count(current): 8, traffic average: 4.000000"));
}

TEST(NetworkFoldSums, BySpectrumLogTheSumAfterEverySampleAddedToIt) {
  const test::LogCapture log;
  SumBySpectrum(TwoDevices(), kHost);
  const std::string at = "[WirelessNetworkReport::CollectSpectrums] ID: ";
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre(at + "2.4GHz, Minsutes: 100, client count(current): 4, traffic average: 1.000000",
                          at + "2.4GHz, Minsutes: 105, client count(current): 1, traffic average: 0.500000",
                          at + "5GHz, Minsutes: 105, client count(current): 3, traffic average: 2.000000",
                          at + "2.4GHz, Minsutes: 100, client count(current): 12, traffic average: 5.000000"));
}

}  // namespace
}  // namespace vexora_probe::monitor
