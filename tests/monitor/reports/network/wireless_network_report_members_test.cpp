// The operations of the wireless network report that work on what they are handed.

#include "monitor/reports/network/wireless_network_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "tests/monitor/reports/network/network_samples.h"
#include "tests/support/log_capture.h"

namespace vexora_probe::monitor {
namespace {

using probe::log::Level;
using ::testing::ElementsAre;

TEST(WirelessNetworkReportWeekKeys, AreTakenApartIntoTheirDays) {
  const test::LogCapture log;
  std::string start;
  std::string end;
  EXPECT_TRUE(WirelessNetworkReport::GetStartEndTimeOfWeek("2026-11-15/2026-11-21", start, end));
  EXPECT_EQ(start, "2026-11-15");
  EXPECT_EQ(end, "2026-11-21");
  EXPECT_THAT(log.Texts(Level::kDebug),
              ElementsAre("[WirelessNetworkReport::GetStartEndTimeOfWeek] week: 2026-11-15/2026-11-21",
                          "[WirelessNetworkReport::GetStartEndTimeOfWeek] start_day: 2026-11-15, end_day: 2026-11-21"));
}

TEST(WirelessNetworkReportWeekKeys, WithoutASlashOrTooShortAreNone) {
  const test::LogCapture log;
  std::string start = "before";
  std::string end = "before";
  EXPECT_FALSE(WirelessNetworkReport::GetStartEndTimeOfWeek("2026-11-15", start, end));
  EXPECT_FALSE(WirelessNetworkReport::GetStartEndTimeOfWeek("a/", start, end));
  EXPECT_FALSE(WirelessNetworkReport::GetStartEndTimeOfWeek("", start, end));
  EXPECT_EQ(start, "before");
  EXPECT_THAT(log.Texts(Level::kError),
              ElementsAre("[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format",
                          "[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format",
                          "[WirelessNetworkReport::GetStartEndTimeOfWeek] Wrong week time format"));
  EXPECT_TRUE(WirelessNetworkReport::GetStartEndTimeOfWeek("/ab", start, end));
  EXPECT_EQ(start, "");
  EXPECT_EQ(end, "ab");
}

/// What is measured, with this number of clients.
AccessPoints Measured(std::uint32_t clients) {
  AccessPoints measured;
  measured.client.current = clients;
  measured.traffic.polling_time = 7;
  return measured;
}

Networks Described(std::uint32_t clients) {
  Networks network;
  network.attributes.name = "Office";
  network.measured = Measured(clients);
  return network;
}

TEST(WirelessNetworkReportConversions, CopyWhatIsMeasuredAndLeaveTheDescriptionsAtTheirDefaults) {
  Records records{{"a", Described(9)}, {"kept", Described(5)}};
  WirelessNetworkReport::AccessPointsToNetworksStruct(Measurements{{"a", Measured(1)}, {"b", Measured(2)}}, records);
  EXPECT_EQ(records, (Records{{"a", {.attributes = {}, .measured = Measured(1)}},
                              {"b", {.attributes = {}, .measured = Measured(2)}},
                              {"kept", Described(5)}}));
  Buckets buckets;
  WirelessNetworkReport::AccessPointsToNetworksStruct(NestedMeasurements{{"day", {{"a", Measured(1)}}}}, buckets);
  EXPECT_EQ(buckets, (Buckets{{"day", {{"a", {.attributes = {}, .measured = Measured(1)}}}}}));
}

TEST(WirelessNetworkReportConversions, DropTheDescriptionsOnTheWayBack) {
  Measurements measurements;
  WirelessNetworkReport::NetworksStructToAccessPoints(Records{{"a", Described(3)}}, measurements);
  EXPECT_EQ(measurements, (Measurements{{"a", Measured(3)}}));
  NestedMeasurements nested;
  WirelessNetworkReport::NetworksStructToAccessPoints(Buckets{{"day", {{"a", Described(3)}}}}, nested);
  EXPECT_EQ(nested, (NestedMeasurements{{"day", {{"a", Measured(3)}}}}));
}

TEST(WirelessNetworkReportConversions, SumTheOctetsOfInterfaces) {
  TrafficCount first;
  first.inOctets = 1;
  first.outOctets = 10;
  TrafficCount second;
  second.inOctets = 2;
  second.outOctets = 20;
  AccessPoints access_point;
  access_point.traffic.inOctets = 999;
  WirelessNetworkReport::TrafficStructDe("id", {{"w0", first}, {"w1", second}}, access_point);
  EXPECT_EQ(access_point.traffic.inOctets, 3U);
  EXPECT_EQ(access_point.traffic.outOctets, 30U);
}

TEST(WirelessNetworkReportDescriptions, AreReplacedWithoutTouchingWhatIsMeasured) {
  Records records{{"a", Described(3)}};
  NetworksAttr attributes;
  attributes.apname = "hall";
  WirelessNetworkReport::UpdateNetworkAttr(records, "a", attributes);
  EXPECT_EQ(records["a"], (Networks{.attributes = attributes, .measured = Measured(3)}));
  WirelessNetworkReport::UpdateNetworkAttr(records, "new", attributes);
  EXPECT_EQ(records["new"].attributes.apname, "hall");
}

TEST(WirelessNetworkReportCalculations, DoBothStepsInOneCall) {
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

TEST(WirelessNetworkReportCalculations, TakeTheMeanOfNoSignalsForZero) {
  EXPECT_EQ(WirelessNetworkReport::GetAverageSignalStrength({}, true), 0);
  RogueAPs sighting;
  sighting.average_strength = -50;
  EXPECT_THAT(WirelessNetworkReport::GetAverageSignalStrength({{"a", sighting}}, false), ::testing::DoubleEq(-50));
}

}  // namespace
}  // namespace vexora_probe::monitor
