#include "monitor/reports/network/snapshots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "monitor/reports/network/network_keys.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A sample with so many clients and this speed, on a band.
Networks Sample(const char* band, std::uint32_t clients, double speed) {
  Networks sample;
  sample.attributes.radio_type = band;
  sample.measured.client.current = clients;
  sample.measured.traffic.average = speed;
  return sample;
}

/// An access point with one network on both bands, and one that has it on the lower band alone.
DeviceDaySamples TwoDevices() {
  return {{"ap1",
           {{"Office|3|0|2.4GHz", {{"100", Sample("2.4GHz", 4, 1)}, {"105", Sample("2.4GHz", 1, 0.5)}}},
            {"Office|3|0|5GHz", {{"105", Sample("5GHz", 3, 2)}}}}},
          {"ap2", {{"Office|3|0|2.4GHz", {{"100", Sample("2.4GHz", 8, 4)}}}}}};
}

TEST(Snapshots, LogADeviceWithoutANetwork) {
  const test::LogCapture log;
  EXPECT_THAT(SumBySSID({{"ap", {}}}), IsEmpty());
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 2,
                                               "[WirelessNetworkReport::CollectSSIDs] Device: ap, ssid is empty"}));
}

TEST(Snapshots, LeaveOutANetworkWithoutASample) {
  const DeviceDaySamples devices{{"ap", {{"Office|3|0|5GHz", {}}}}};
  const test::LogCapture log;
  EXPECT_THAT(SumBySSID(devices), IsEmpty());
  EXPECT_THAT(SumByAccessPoint(devices), IsEmpty());
  EXPECT_THAT(SumBySpectrum(devices), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(Snapshots, BySSIDLogTheSumAfterEverySampleAddedToIt) {
  const test::LogCapture log;
  SumBySSID(TwoDevices());
  const std::string at = "[WirelessNetworkReport::CollectSSIDs] Minsutes: ";
  EXPECT_THAT(log.Texts(Level::kDebug, "Minsutes"),
              ElementsAre(at + "100, ssid: Office|3|0, client count(current): 4, traffic average: 1.000000",
                          at + "105, ssid: Office|3|0, client count(current): 1, traffic average: 0.500000",
                          at + "105, ssid: Office|3|0, client count(current): 4, traffic average: 2.500000",
                          at + "100, ssid: Office|3|0, client count(current): 12, traffic average: 5.000000"));
}

TEST(Snapshots, ByAccessPointLogTheSumAfterEverySampleAddedToIt) {
  const test::LogCapture log;
  SumByAccessPoint(TwoDevices());
  const std::string at = "[WirelessNetworkReport::CollectAccessPoints] ID: ";
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre(at + "ap1, Minsutes: 100, client count(current): 4, traffic average: 1.000000",
                          at + "ap1, Minsutes: 105, client count(current): 1, traffic average: 0.500000",
                          at + "ap1, Minsutes: 105, client count(current): 4, traffic average: 2.500000",
                          at + "ap2, Minsutes: 100, client count(current): 8, traffic average: 4.000000"));
}

TEST(Snapshots, BySpectrumLogTheSumAfterEverySampleAddedToIt) {
  const test::LogCapture log;
  SumBySpectrum(TwoDevices());
  const std::string at = "[WirelessNetworkReport::CollectSpectrums] ID: ";
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre(at + "2.4GHz, Minsutes: 100, client count(current): 4, traffic average: 1.000000",
                          at + "2.4GHz, Minsutes: 105, client count(current): 1, traffic average: 0.500000",
                          at + "5GHz, Minsutes: 105, client count(current): 3, traffic average: 2.000000",
                          at + "2.4GHz, Minsutes: 100, client count(current): 12, traffic average: 5.000000"));
}

}  // namespace
}  // namespace vexora_probe::monitor
