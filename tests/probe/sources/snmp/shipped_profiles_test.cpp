#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "platform/device_records.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/walk_agent.h"

namespace probe::snmp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using vexora_probe::models::controller::DeviceType;
using vexora_probe::models::controller::WIFIBandType;

/// The walks of invented devices in tests/snmp/, read with the profiles that are installed.
class ShippedProfilesTest : public testing::Test {
 protected:
  ShippedProfilesTest() : catalogue_({VEXORA_PROFILES}) {}

  /// Recognises the device, expects the profile, and reads it. The lines `and_also` stand before those of the walk.
  Reading Read(const std::string& walk, const std::string& profile, const std::string& and_also = "") {
    std::ifstream file(std::filesystem::path(VEXORA_WALKS) / walk);
    WalkAgent agent(and_also + std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
    EXPECT_THAT(agent.left_out(), IsEmpty());
    const SystemGroup group = ReadSystemGroup(agent);
    const ProfileMatch match = catalogue_.Match(group.object_id, group.description);
    EXPECT_EQ(match.profile->name, profile) << match.why;
    Reading reading = ReadDevice(*match.profile, agent).reading.value_or(Reading());
    EXPECT_THAT(reading.errors, IsEmpty());
    return reading;
  }

  const ProfileCatalogue catalogue_;
};

/// Clients of each SSID interface, "name: count".
std::vector<std::string> ClientTexts(const Reading& reading) {
  std::vector<std::string> texts;
  for (const SsidReading& ssid : reading.ssids.value()) {
    texts.push_back(ssid.name + ": " + (ssid.client_count ? std::to_string(*ssid.client_count) : "unknown"));
  }
  return texts;
}

TEST_F(ShippedProfilesTest, AreThoseOfTheDocumentedMakers) {
  std::vector<std::string> names;
  for (const Profile& profile : catalogue_.profiles()) names.push_back(profile.name);
  EXPECT_THAT(names, ElementsAre("airos", "aruba_controller", "aruba_instant", "generic", "grandstream", "hiveos",
                                 "huawei_ac", "jetstream", "routeros", "unifi"));
}

TEST_F(ShippedProfilesTest, ReadAServer) {
  const Reading reading = Read("server.snmprec", "generic");
  EXPECT_EQ(reading.system.cpu_percent, 27);
  EXPECT_EQ(reading.system.mac, "00:00:5e:00:53:11") << "the lowest of an Ethernet interface, not the software's";
  EXPECT_FALSE(reading.system.is_wireless);
  ASSERT_EQ(reading.interfaces.value().size(), 4U);
  EXPECT_EQ((*reading.interfaces)[1].in_octets, (OctetCounter{5'000'000'000, true}));
  EXPECT_EQ((*reading.interfaces)[1].bits_per_second, 1'000'000'000U);
  EXPECT_EQ((*reading.interfaces)[1].discontinuity_ticks, 0U);
}

TEST_F(ShippedProfilesTest, ReadABridgeWithCountersOf32Bits) {
  const Reading reading = Read("bridge.snmprec", "airos");
  EXPECT_EQ((*reading.interfaces)[1].in_octets, (OctetCounter{4'294'000'000, false}));
  EXPECT_EQ(reading.system.cpu_percent, std::nullopt);
  ASSERT_EQ(reading.radios.value().size(), 1U);
  EXPECT_EQ((*reading.radios)[0].channel, 100);
  EXPECT_EQ((*reading.radios)[0].noise_dbm, -97);
  EXPECT_THAT(ClientTexts(reading), ElementsAre("ath0: 2"));
  EXPECT_EQ((*reading.ssids)[0].out_octets, (OctetCounter{4'293'000'000, false}));
  ASSERT_EQ(reading.stations.value().size(), 2U);
  EXPECT_EQ((*reading.stations)[0].hostname, "far-end") << "without the padding";
  EXPECT_EQ((*reading.stations)[0].data_rate, 144);
  EXPECT_EQ((*reading.stations)[0].in_octets, std::nullopt);
}

TEST_F(ShippedProfilesTest, ReadTheModelOfABridgeWhateverTheNumberOfItsRadioIs) {
  EXPECT_EQ(Read("bridge.snmprec", "airos").system.model, "Bridge M5");
  EXPECT_EQ(Read("bridge.snmprec", "airos", "1.2.840.10036.3.1.2.1.4.3|4|XW.v6\n").system.version, "XW.v6");
}

TEST_F(ShippedProfilesTest, TakeTheAccessPointOfABridgeThatIsAStationForNoClient) {
  const Reading access_point = Read("bridge.snmprec", "airos", "1.3.6.1.4.1.41112.1.4.1.1.2.1|2|4\n");
  EXPECT_EQ(access_point.stations.value().size(), 2U);
  const Reading station = Read("bridge.snmprec", "airos", "1.3.6.1.4.1.41112.1.4.1.1.2.1|2|1\n");
  EXPECT_THAT(station.ssids.value(), IsEmpty());
  EXPECT_THAT(station.stations.value(), IsEmpty());
  ASSERT_EQ(station.radios.value().size(), 1U);
  EXPECT_EQ((*station.radios)[0].client_count, std::nullopt);
}

TEST_F(ShippedProfilesTest, ReadASwitch) {
  const Reading reading = Read("switch.snmprec", "jetstream");
  EXPECT_EQ(reading.system.type, DeviceType::kSwitch);
  EXPECT_EQ(reading.system.model, "SG8 1.0");
  EXPECT_EQ(reading.system.cpu_percent, 17);
  EXPECT_EQ(reading.system.mac, "00:00:5e:00:53:30");
  EXPECT_FALSE(reading.system.is_wireless);
  EXPECT_EQ(reading.interfaces.value().size(), 8U);
  EXPECT_THAT(reading.ssids.value(), IsEmpty());
}

TEST_F(ShippedProfilesTest, ReadAnAccessPoint) {
  const Reading reading = Read("access_point.snmprec", "unifi");
  EXPECT_EQ(reading.system.type, DeviceType::kAccessPoint);
  EXPECT_EQ(reading.system.cpu_percent, 3);
  EXPECT_THAT(ClientTexts(reading), ElementsAre("ath0: 4", "ath2: 14", "ath3: 1"))
      << "without the mesh between the radios";
  ASSERT_EQ(reading.radios.value().size(), 2U);
  EXPECT_EQ((*reading.radios)[1].name, "na");
  EXPECT_EQ((*reading.radios)[1].band, WIFIBandType::k5GHz);
  EXPECT_EQ((*reading.radios)[1].client_count, 15);
}

TEST_F(ShippedProfilesTest, ReadARouterWithClients) {
  const Reading reading = Read("router.snmprec", "routeros");
  EXPECT_EQ(reading.system.type, DeviceType::kRouter);
  EXPECT_EQ(reading.system.mac, "00:00:5e:00:53:50") << "the bridge says 0";
  EXPECT_EQ(reading.radios.value().size(), 2U) << "the virtual interface has none";
  EXPECT_THAT(ClientTexts(reading), ElementsAre("wlan1: 2", "wlan2: 0", "guest: 1"));
  ASSERT_EQ(reading.ssids.value().size(), 3U);
  EXPECT_EQ((*reading.ssids)[1].radio, "wlan2");
  EXPECT_EQ((*reading.ssids)[2].radio, "wlan2") << "by its address";
  ASSERT_EQ(reading.stations.value().size(), 3U);
  const StationReading& station = (*reading.stations)[0];
  EXPECT_EQ(station.ssid_interface, "wlan1");
  EXPECT_EQ(station.in_octets, (OctetCounter{90'000'000, false}));
  EXPECT_EQ(station.out_octets, (OctetCounter{3'000'000'000, false}));
  EXPECT_EQ(station.signal_dbm, -63);
  EXPECT_EQ(station.data_rate, 72);
}

TEST_F(ShippedProfilesTest, ReadAControllerWithACaptivePortal) {
  const Reading reading = Read("controller.snmprec", "aruba_controller");
  EXPECT_EQ(reading.ssids.value().size(), 8U);
  EXPECT_EQ(ClientTexts(reading)[0], "example-staff (ap-library/1): 2") << "one of them with two addresses";
  EXPECT_EQ((*reading.ssids)[0].in_octets, (OctetCounter{112'000'000, true}));
  EXPECT_EQ(reading.radios.value().size(), 4U);
  EXPECT_EQ(reading.stations.value().size(), 4U);
  EXPECT_EQ((*reading.stations)[1].out_octets, (OctetCounter{100'000'000, true}));
  ASSERT_EQ(reading.portal_users.value().size(), 1U);
  EXPECT_EQ((*reading.portal_users)[0].username, "guest-7");
  EXPECT_EQ((*reading.portal_users)[0].mac, "00:00:5e:00:53:82");
}

TEST_F(ShippedProfilesTest, LeaveOutTheStationsThatAControllerListsAsGone) {
  const Reading reading =
      Read("controller.snmprec", "aruba_controller", "1.3.6.1.4.1.14823.2.2.1.5.2.2.1.1.5.0.0.94.0.83.128|2|2\n");
  EXPECT_EQ(reading.stations.value().size(), 3U);
  EXPECT_EQ(ClientTexts(reading)[0], "example-staff (ap-library/1): 1");
}

}  // namespace
}  // namespace probe::snmp
