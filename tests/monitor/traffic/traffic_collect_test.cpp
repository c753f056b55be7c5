#include "monitor/traffic/traffic_collect.h"
#include "monitor/traffic/traffic_records.h"
#include "platform/device_centre.h"

#include <gmock/gmock.h>

#include "platform/device_records.h"
#include "tests/monitor/traffic/traffic_fixture.h"

namespace {

using probe::log::Level;
using test::kOther;
using test::kStart;
using test::kSwitch;
using test::TrafficMonitorTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Band = vexora_probe::models::controller::WIFIBandType;
using Newest = std::map<std::string, unsigned long long>;

class TrafficCollect : public TrafficMonitorTest {};

TEST_F(TrafficCollect, PassesOverInterfacesThatAreNotMeasured) {
  network.Switch(kSwitch)
      .Port("ge1", {0, 0})
      .Port("", {0, 0})
      .Port("12", {0, 0})
      .Port("-12", {0, 0})
      .Port("1/2", {0, 0})
      .PortDown("down", {0, 0})
      .PortWithoutStatistics("silent")
      .PortWithoutState("stateless")
      .SampledAt(kStart);
  Pass();
  for (const char* measured : {"ge1", "1/2"}) EXPECT_THAT(Newest(kSwitch, measured), SizeIs(2)) << measured;
  for (const char* passed_over : {"", "12", "-12", "down", "silent", "stateless"}) {
    EXPECT_THAT(Newest(kSwitch, passed_over), IsEmpty()) << passed_over;
  }
}

TEST_F(TrafficCollect, PassesOverDevicesThatAreUnknownOrHaveNoDriverWithoutALogLine) {
  network.Switch(kSwitch).Port("ge1", {0, 0}).Known(false);
  network.Switch(kOther).Port("ge1", {0, 0}).Driven(false);
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(Newest(kSwitch, "ge1"), IsEmpty());
  EXPECT_THAT(Newest(kOther, "ge1"), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(TrafficCollect, TellsThatADeviceHasNoTraffic) {
  network.Switch(kSwitch).PortDown("ge1", {0, 0});
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(log.Lines(),
              ElementsAre(test::LogLine{
                  Level::kInfo, 2, "TrafficMonitor::Collectdata the traffic for mac: AA:AA:AA:AA:AA:01 is empty"}));
}

struct NameCase {
  Band band;
  const char* name;
};
class TrafficCollectName : public TrafficMonitorTest, public ::testing::WithParamInterface<NameCase> {};

TEST_P(TrafficCollectName, IsBandAndSsid) {
  network.AccessPoint(kSwitch).Radio("radio", GetParam().band).Wifi("wlan0", "Office", "radio", {0, 0});
  Pass();
  EXPECT_THAT(Newest(kSwitch, GetParam().name), SizeIs(2));
  EXPECT_THAT(Newest(kSwitch, "wlan0"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Bands, TrafficCollectName,
                         ::testing::Values(NameCase{Band::k2_4GHz, "2.4Ghz - Office"},
                                           NameCase{Band::k5GHz, "5Ghz - Office"},
                                           NameCase{Band::kUnknown, " - Office"},
                                           NameCase{static_cast<Band>(2), " - Office"}),
                         [](const auto& name_case) { return "Case" + std::to_string(name_case.index); });

TEST_F(TrafficCollect, ReadsTheMeasuredInterfacesWithTheDevicesOwnTime) {
  network.Switch(kSwitch).Port("ge1", {1, 2}).Port("17", {3, 4}).SampledAt(500);
  const auto device = DeviceManager::GetInstance().device(kSwitch);
  monitoring::traffic::Reading reading;
  monitoring::traffic::ReadInterfaces(kSwitch, *device, reading);
  EXPECT_EQ(reading.sampled_at, 500);
  ASSERT_THAT(reading, SizeIs(1));
  EXPECT_EQ(reading.begin()->own_name, "ge1");
  EXPECT_EQ(reading.begin()->counters, (monitoring::traffic::Counters{1, 2}));
  EXPECT_EQ(reading.begin()->if_index, 1);
}

TEST_F(TrafficCollect, ReadsEachDeviceAnew) {
  network.Switch(kSwitch).Port("ge1", {1, 2}).Port("ge2", {3, 4}).SampledAt(500);
  network.Switch(kOther).Port("ge7", {5, 6}).SampledAt(700);
  monitoring::traffic::Reading reading;
  monitoring::traffic::ReadInterfaces(kSwitch, *DeviceManager::GetInstance().device(kSwitch), reading);
  monitoring::traffic::ReadInterfaces(kOther, *DeviceManager::GetInstance().device(kOther), reading);
  EXPECT_EQ(reading.sampled_at, 700);
  ASSERT_THAT(reading, SizeIs(1));
  EXPECT_EQ(reading.begin()->own_name, "ge7");
  EXPECT_EQ(reading.begin()->counters, (monitoring::traffic::Counters{5, 6}));
}

TEST_F(TrafficCollect, ReadsTheNetworkOfAnInterface) {
  network.AccessPoint(kOther).Radio("radio1", Band::k5GHz).Wifi("wlan1", "Lab", "radio1", {0, 0}).Port("ge1", {0, 0});
  const auto device = DeviceManager::GetInstance().device(kOther);
  monitoring::traffic::AttributeInfo info;
  monitoring::traffic::ReadAttributeInfo(*device, "wlan1", info);
  EXPECT_EQ(info.interface_name, "wlan1");
  EXPECT_EQ(info.ssid, "Lab");
  EXPECT_EQ(info.radio, 1);
  monitoring::traffic::ReadAttributeInfo(*device, "ge1", info);
  EXPECT_EQ(info.interface_name, "ge1");
  EXPECT_EQ(info.ssid, "");
  EXPECT_EQ(info.radio, -1);
}

}  // namespace
