#include "monitor/engine/devices.h"

#include <gtest/gtest.h>

#include "tests/support/network.h"

namespace test {
namespace {

constexpr const char* kDevice = "AA:AA:AA:AA:AA:01";

TEST(Devices, WithoutADriverGiveNothingToCollect) {
  Network network;
  network.AccessPoint(kDevice).Driven(false);
  EXPECT_EQ(monitoring::DeviceWithDriver(kDevice), nullptr);
  EXPECT_EQ(monitoring::WirelessDevice(kDevice), nullptr);
  network.AccessPoint(kDevice).Driven(true);
  EXPECT_NE(monitoring::DeviceWithDriver(kDevice), nullptr);
  EXPECT_NE(monitoring::WirelessDevice(kDevice), nullptr);
}

TEST(Devices, ThatAreUnknownGiveNothingToCollect) {
  Network network;
  network.AccessPoint(kDevice).Known(false);
  EXPECT_EQ(monitoring::DeviceWithDriver(kDevice), nullptr);
  EXPECT_EQ(monitoring::WirelessDevice(kDevice), nullptr);
}

TEST(Devices, WithoutAWirelessSideAreNoWirelessDevices) {
  Network network;
  network.Switch(kDevice);
  EXPECT_NE(monitoring::DeviceWithDriver(kDevice), nullptr);
  EXPECT_EQ(monitoring::WirelessDevice(kDevice), nullptr);
}

TEST(Devices, AreNamedByTheirHostName) {
  Network network;
  network.Switch(kDevice).Named("core");
  EXPECT_EQ(monitoring::DeviceName(kDevice), "core");
  EXPECT_EQ(monitoring::DeviceName("AA:AA:AA:AA:AA:02"), "");
}

}  // namespace
}  // namespace test
