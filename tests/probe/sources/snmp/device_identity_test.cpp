#include "probe/sources/snmp/device_identity.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/snmp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace probe::snmp {
namespace {

using ::testing::ElementsAre;

InterfaceReading NamedInterface(std::uint32_t if_index, const std::string& name, const std::string& mac = "",
                                std::int32_t type = 6) {
  InterfaceReading row;
  row.if_index = if_index;
  row.name = name;
  row.mac = mac;
  row.type = type;
  return row;
}

SsidReading Bssid(const std::string& bssid) {
  SsidReading row;
  row.bssid = bssid;
  return row;
}

class DeviceMacOrder : public ::testing::Test {
 protected:
  DeviceMacOrder() {
    settings_.address = "192.0.2.1";
    settings_.mac = "02-fc-00-00-00-01";
    reading_.system.name = "device";
    reading_.system.mac = "02:fc:00:00:00:02";
    reading_.interfaces = {NamedInterface(1, "lo", "02:fc:00:00:00:09", 24),
                           NamedInterface(7, "eth1", "02:fc:00:00:00:08"),
                           NamedInterface(3, "eth0", "02:fc:00:00:00:03")};
    reading_.ssids = {Bssid("02:fc:00:00:00:06"), Bssid("02:fc:00:00:00:05")};
  }

  std::optional<std::string> Mac(bool is_last_try = false) { return FindDeviceMac(settings_, reading_, is_last_try); }

  DeviceSettings settings_;
  Reading reading_;
};

TEST_F(DeviceMacOrder, GoesFromTheSettingsToTheAddress) {
  EXPECT_EQ(Mac(), "02:FC:00:00:00:01");
  settings_.mac.clear();
  EXPECT_EQ(Mac(), "02:FC:00:00:00:02");
  reading_.system.mac.clear();
  EXPECT_EQ(Mac(), "02:FC:00:00:00:03") << "the Ethernet interface with the lowest ifIndex";
  reading_.interfaces->resize(1);
  EXPECT_EQ(Mac(), "02:FC:00:00:00:09") << "another interface";
  reading_.interfaces->clear();
  EXPECT_EQ(Mac(), "02:FC:00:00:00:05") << "the lowest BSSID";
  reading_.ssids->clear();
  const auto made = Mac();
  ASSERT_TRUE(made.has_value());
  EXPECT_EQ(Mac(), made) << "always the same";
  settings_.port = 1161;
  EXPECT_NE(Mac(), made) << "another agent";
}

TEST_F(DeviceMacOrder, PassesOverAddressesThatAreNotOneInterfaces) {
  settings_.mac.clear();
  for (const char* const unusable : {"", "00:00:00:00:00:00", "01:00:5e:00:00:01", "ff:ff:ff:ff:ff:ff", "no mac"}) {
    reading_.system.mac = unusable;
    EXPECT_EQ(Mac(), "02:FC:00:00:00:03") << unusable;
  }
}

TEST_F(DeviceMacOrder, WaitsForATableThatFailed) {
  settings_.mac.clear();
  reading_.system.mac.clear();
  reading_.interfaces.reset();
  reading_.errors = {"interfaces: no answer"};
  EXPECT_EQ(Mac(), std::nullopt);
  EXPECT_EQ(Mac(true), "02:FC:00:00:00:05");
}

TEST_F(DeviceMacOrder, TakesNoOtherAddressWhileATableOfTheProfileFails) {
  settings_.mac.clear();
  reading_.system.mac.clear();
  reading_.system.mac_failed = true;
  reading_.errors = {"access points: no answer"};
  EXPECT_EQ(Mac(), std::nullopt);
  EXPECT_EQ(Mac(true), "02:FC:00:00:00:03");
}

TEST_F(DeviceMacOrder, WaitsForADeviceThatShowsNothingOfItself) {
  reading_ = {};
  EXPECT_EQ(Mac(), "02:FC:00:00:00:01");
  settings_.mac.clear();
  EXPECT_EQ(Mac(), std::nullopt);
  EXPECT_TRUE(Mac(true).has_value());
}

TEST_F(DeviceMacOrder, DoesNotWaitForATableThatTheProfileDoesNotRead) {
  settings_.mac.clear();
  reading_.system.mac.clear();
  reading_.interfaces.reset();
  EXPECT_EQ(Mac(), "02:FC:00:00:00:05");
}

TEST(InterfaceNames, AreThoseOfTheDevice) {
  EXPECT_THAT(InterfaceNames({NamedInterface(1, "lo"), NamedInterface(2, "eth0")}), ElementsAre("lo", "eth0"));
  EXPECT_TRUE(InterfaceNames({}).empty());
}

TEST(InterfaceNames, AreMadeUniqueByIfIndex) {
  EXPECT_THAT(InterfaceNames({NamedInterface(9, "port"), NamedInterface(4, "port"), NamedInterface(6, "port")}),
              ElementsAre("port (3)", "port", "port (2)"));
}

TEST(InterfaceNames, StayWhenTheTableIsRenumbered) {
  EXPECT_THAT(InterfaceNames({NamedInterface(104, "port"), NamedInterface(106, "port"), NamedInterface(1, "new")}),
              ElementsAre("port", "port (2)", "new"));
}

TEST(InterfaceNames, DoNotCollideWithOnesThatAreSoNamed) {
  EXPECT_THAT(InterfaceNames({NamedInterface(1, "a"), NamedInterface(2, "a"), NamedInterface(3, "a (2)")}),
              ElementsAre("a", "a (3)", "a (2)"));
}

TEST(InterfaceNames, AreNeitherEmptyNorNumbers) {
  EXPECT_THAT(InterfaceNames({NamedInterface(7, ""), NamedInterface(8, "12"), NamedInterface(9, "-1")}),
              ElementsAre("interface 7", "port 12", "port -1"));
}

}  // namespace
}  // namespace probe::snmp
