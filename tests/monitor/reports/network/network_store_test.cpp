#include "monitor/reports/network/network_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace vexora_probe::monitor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NetworkStoreSamples, GiveBackWhatTheyWereMadeOfToTheLastBit) {
  constexpr double kSpeeds[] = {0, 1.0 / 3, 1e-300, std::numeric_limits<double>::infinity()};
  for (const double speed : kSpeeds) {
    const CompactSample sample(287, 4'000'000'000U, speed);
    EXPECT_EQ(sample.Pass(), 287U);
    EXPECT_EQ(sample.Clients(), 4'000'000'000U);
    EXPECT_EQ(sample.Speed(), speed);
  }
}

TEST(NetworkStoreDevices, AreFoundInWhateverOrderTheyAreAskedFor) {
  SampleStore store;
  for (const char* mac : {"b", "d", "a", "a", "c", "d", "b"}) store.Device(mac).keys.emplace_back(mac);
  std::vector<std::string> macs;
  for (const auto& [mac, device] : store.devices) {
    macs.push_back(mac);
    for (const std::string& key : device.keys) EXPECT_EQ(key, mac);
  }
  EXPECT_THAT(macs, ElementsAre("a", "b", "c", "d"));
}

TEST(NetworkStoreMinutes, AreComparedAsTexts) {
  SampleStore store;
  EXPECT_FALSE(store.HasSampleSince(0)) << "there is none";
  store.minutes = {999};
  EXPECT_TRUE(store.HasSampleSince(999));
  EXPECT_TRUE(store.HasSampleSince(1'000)) << "999 is the greater text";
  EXPECT_FALSE(store.HasSampleSince(9'991));
  store.rogue_minutes = {9'995};
  EXPECT_TRUE(store.HasSampleSince(9'991));
}

TEST(NetworkStoreDrop, KeepsTheDaysOfDevicesAndForgetsKeysThatNoDayHas) {
  SampleStore store;
  store.devices["gone"].keys = {"x"};
  DeviceRecord& device = store.devices["kept"];
  device.keys = {"unused", "used"};
  device.days = {{.day = "2026-11-18", .networks = {{}, {.is_present = true, .client_total = 7}}}};
  device.today.resize(1);
  store.minutes = {1};
  store.rogue_minutes = {1};
  store.rogues["r"].samples = 1;
  for (FamilySums* family : {&store.ssids, &store.access_points, &store.spectrums}) {
    family->ids["id"].samples = 1;
    family->is_week_due = false;
  }
  store.DropSamples("2026-11-19");
  EXPECT_EQ(store.day, "2026-11-19");
  EXPECT_THAT(store.minutes, IsEmpty());
  EXPECT_THAT(store.rogue_minutes, IsEmpty());
  EXPECT_THAT(store.rogues, IsEmpty());
  for (const FamilySums* family : {&store.ssids, &store.access_points, &store.spectrums}) {
    EXPECT_THAT(family->ids, IsEmpty());
    EXPECT_TRUE(family->is_week_due);
  }
  ASSERT_EQ(store.devices.size(), 1U);
  const DeviceRecord& kept = store.devices.at("kept");
  EXPECT_THAT(kept.today, IsEmpty());
  EXPECT_THAT(kept.keys, ElementsAre("used"));
  EXPECT_EQ(kept.days.at(0).networks.at(0).client_total, 7U);
}

}  // namespace
}  // namespace vexora_probe::monitor
