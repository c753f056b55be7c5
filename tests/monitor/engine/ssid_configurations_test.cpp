#include "monitor/engine/ssid_configurations.h"
#include "platform/configuration.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/network.h"

namespace test {
namespace {

using monitoring::ConfigurationFor;
using monitoring::ConfigurationsOf;
using vexora_probe::models::controller::DeviceType;
using vexora_probe::models::controller::SSIDCfg;

constexpr const char* kAccessPoint = "AA:AA:AA:AA:AA:01";

SSIDCfg Configuration(bool guest) {
  SSIDCfg configuration;
  configuration.name = "Office";
  configuration.guest = guest;
  return configuration;
}

TEST(SsidConfigurations, AreThoseOfARouterOrAnAccessPointAndOfNoOtherDevice) {
  Network network;
  network.AccessPoint(kAccessPoint).Configured("Office@BOTH", Configuration(false));
  EXPECT_EQ(ConfigurationsOf(kAccessPoint, DeviceType::kAccessPoint)->count("Office@BOTH"), 1U);
  EXPECT_EQ(ConfigurationsOf(kAccessPoint, DeviceType::kAccessPoint)->count("Office@BOTH"), 1U);
  EXPECT_TRUE(ConfigurationsOf(kAccessPoint, DeviceType::kSwitch)->empty());
  EXPECT_TRUE(ConfigurationsOf(kAccessPoint, DeviceType::kUnknown)->empty());
}

TEST(SsidConfigurations, OfAnUnknownDeviceAreNone) {
  const Network network;
  EXPECT_TRUE(ConfigurationsOf(kAccessPoint, DeviceType::kAccessPoint)->empty());
  EXPECT_TRUE(ConfigurationsOf(kAccessPoint, DeviceType::kAccessPoint)->empty());
}

TEST(SsidConfigurations, OfOneRadioWinAgainstThoseOfBoth) {
  const SSIDConfigurations both{{"Office@BOTH", Configuration(false)}, {"Office@wlan1", Configuration(true)}};
  ASSERT_NE(ConfigurationFor(both, "Office", "wlan1"), nullptr);
  EXPECT_TRUE(ConfigurationFor(both, "Office", "wlan1")->guest);
  ASSERT_NE(ConfigurationFor(both, "Office", "wlan0"), nullptr);
  EXPECT_FALSE(ConfigurationFor(both, "Office", "wlan0")->guest);
  EXPECT_EQ(ConfigurationFor(both, "Guest", "wlan1"), nullptr);
}

TEST(SsidConfigurations, OfLongRadioNamesThatBeginAlikeAreToldApart) {
  const std::string start(300, 'w');
  const SSIDConfigurations both{{"Office@" + start + "0", Configuration(false)},
                                {"Office@" + start + "1", Configuration(true)}};
  ASSERT_NE(ConfigurationFor(both, "Office", start + "0"), nullptr);
  EXPECT_FALSE(ConfigurationFor(both, "Office", start + "0")->guest);
  ASSERT_NE(ConfigurationFor(both, "Office", start + "1"), nullptr);
  EXPECT_TRUE(ConfigurationFor(both, "Office", start + "1")->guest);
  EXPECT_EQ(ConfigurationFor(both, "Office", start), nullptr);
}

}  // namespace
}  // namespace test
