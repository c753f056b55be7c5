#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_records.h"
#include "platform/configuration.h"
#include "platform/device_centre.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "probe/clock/virtual_clock.h"
#include "tests/support/network.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::WIFIBandType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

constexpr time_t kNow = 1'795'219'200;

TEST(NetworkCollect, ReadsAScanInItsOrderAsHeardNow) {
  probe::VirtualClock clock(kNow);
  const probe::ClockInstallation installation(clock);
  test::Network network;
  network.AccessPoint("ap").Named("hall").Neighbours(
      {{.mac = "b", .ssid = "Cafe", .trusted = 0, .band = WIFIBandType::k5GHz, .channel = 36, .signal = -60},
       {.mac = "a", .ssid = "", .trusted = 1, .band = static_cast<WIFIBandType>(2), .channel = 1, .signal = -70}});
  const Scan scan = ScanOf(ReadScan("ap", *DeviceManager::GetInstance().device("ap")));
  EXPECT_EQ(scan.mac, "ap");
  EXPECT_EQ(scan.hostname, "hall");
  ASSERT_EQ(scan.entries.size(), 2U);
  RogueAPs rogue;
  rogue.mac = "b";
  rogue.ssid = "Cafe";
  rogue.channel = 36;
  rogue.radio_type = "5GHz";
  rogue.signal_strength = -60;
  rogue.first_seen = rogue.last_seen = kNow;
  rogue.seen_by = {{"ap", "hall"}};
  EXPECT_EQ(scan.entries[0].record, rogue);
  EXPECT_FALSE(scan.entries[0].is_trusted);
  EXPECT_EQ(scan.entries[1].record.GetKey(), "a//1/") << "a band that is neither has no name";
  EXPECT_TRUE(scan.entries[1].is_trusted);
}

TEST(NetworkCollect, ReadsNoEntriesWithoutAScan) {
  test::Network network;
  network.AccessPoint("ap");
  EXPECT_THAT(ReadScan("ap", *DeviceManager::GetInstance().device("ap")).heard, IsEmpty());
}

TEST(NetworkCollect, KnowsADeviceByTheMacOfTheListAlsoWithoutBasicInformation) {
  test::Network network;
  network.AccessPoint("ap").Neighbours({{.mac = "b", .ssid = ""}}).Radio("r", WIFIBandType::k5GHz);
  network.AccessPoint("ap").Wifi("w", "Office", "r", {}).Configured("Office@r", {.name = "Office"}).WithoutBasicInfo();
  const auto device = DeviceManager::GetInstance().device("ap");
  EXPECT_THAT(ScanOf(ReadScan("ap", *device)).entries.at(0).record.seen_by, ElementsAre(Pair("ap", "")));
  const SSIDConfigurations configurations{{"Office@r", {.name = "Office"}}};
  EXPECT_THAT(ReadSSIDs("ap", *device, configurations), SizeIs(1));
}

TEST(NetworkCollect, LeavesOutAnAccessPointOfWhichNothingIsKnown) {
  test::Network network;
  network.AccessPoint("ap").Named("hall").Platform("M1", "1.2");
  NetworksAttr info;
  info.apname = "hall";
  info.model = "M1";
  info.version = "1.2";
  NetworksAttr read;
  EXPECT_TRUE(ReadAccessPointInfo("ap", read));
  EXPECT_EQ(read, info);
  EXPECT_FALSE(ReadAccessPointInfo("gone", read));
}

}  // namespace
}  // namespace vexora_probe::monitor
