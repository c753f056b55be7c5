#include "probe/sources/simulated/snapshot_building.h"
#include "platform/device_records.h"
#include "probe/sources/simulated/device_load.h"
#include "probe/sources/simulated/device_state.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/radio_side.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <json-c/json.h>

#include "probe/sources/simulated/wired_side.h"
#include "probe/sources/simulated/wireless_networks.h"
#include "probe/text/json_c_handle.h"
#include "tests/probe/sources/simulated/given_company.h"

namespace probe::simulated {
namespace {

using ::testing::ElementsAre;
using ::testing::Key;
using ::testing::UnorderedElementsAre;
using vexora_probe::models::controller::SecModeType;

class SnapshotBuildingTest : public SimulatedTest {
 protected:
  SnapshotBuildingTest() {
    PortOctets flows = NoOctets(plan);
    air.Advance(noon, 60, states, flows);
    for (std::size_t device = 0; device < 9; ++device) states[device].counters = flows[device];
  }

  DeviceSnapshot AccessPoint(std::size_t access_point) const {
    DeviceSnapshot snapshot = CommonSnapshot(plan.devices[3 + access_point], states[3 + access_point], noon);
    AddWireless(dice, access_point, states[3 + access_point], air, noon, snapshot);
    return snapshot;
  }

  const Moment noon = MomentOf(kMonday + 12 * kHour);
  const Dice dice{1};
  const FloorPlan plan = DrawFloorPlan(dice, 9);
  std::vector<DeviceState> states = std::vector<DeviceState>(9);
  RadioSide air{dice, plan, 300};
};

TEST_F(SnapshotBuildingTest, TellsPortsThatAreDownAndPortsWithoutStatistics) {
  const DeviceSnapshot snapshot = CommonSnapshot(plan.devices[1], states[1], noon);
  EXPECT_FALSE(snapshot.is_wireless);
  EXPECT_EQ(snapshot.sample_time, noon.time);
  EXPECT_EQ(snapshot.interfaces.size(), kSwitchPorts + 1);
  EXPECT_EQ(snapshot.interfaces.at("ge1")->oper_status, 1);
  EXPECT_EQ(snapshot.interfaces.at("ge1")->traffic->if_index, 1);
  EXPECT_EQ(snapshot.interfaces.at("ge24")->oper_status, 2);
  EXPECT_EQ(snapshot.interfaces.at("console0")->traffic, nullptr);
}

TEST_F(SnapshotBuildingTest, TellsTheSpeedOfPortsThatAreUp) {
  const DeviceSnapshot snapshot = CommonSnapshot(plan.devices[1], states[1], noon);
  EXPECT_EQ(snapshot.details.port_speeds.at("ge1"), 1'000'000'000U);
  EXPECT_FALSE(snapshot.details.port_speeds.contains("ge24")) << "down";
  EXPECT_FALSE(snapshot.details.port_speeds.contains("console0"));
}

TEST_F(SnapshotBuildingTest, TellsChannelsAndHowWellClientsAreHeard) {
  const DeviceSnapshot snapshot = AccessPoint(0);
  EXPECT_THAT(snapshot.details.channels.at("radio0"), ::testing::AnyOf(1, 6, 11));
  EXPECT_GE(snapshot.details.channels.at("radio1"), 36);
  std::size_t clients = 0;
  for (const auto& [name, interface] : snapshot.ssid_interfaces) {
    for (const auto& client : interface.clients) {
      ++clients;
      const std::int32_t signal = snapshot.details.client_signals.at(client.mac);
      EXPECT_GE(signal, -90);
      EXPECT_LE(signal, -45);
    }
  }
  EXPECT_GT(clients, 10U);
  EXPECT_EQ(snapshot.details.client_signals.size(), clients);
}

TEST_F(SnapshotBuildingTest, GivesSsidInterfacesTheSameCountersInBothLists) {
  const DeviceSnapshot snapshot = AccessPoint(0);
  ASSERT_EQ(snapshot.ssid_interfaces.size(), kSsidInterfaces);
  for (const auto& [name, interface] : snapshot.ssid_interfaces) {
    ASSERT_EQ(snapshot.interfaces.count(name), 1U) << name;
    EXPECT_EQ(interface.traffic->out_bytes, snapshot.interfaces.at(name)->traffic->out_bytes);
    EXPECT_EQ(static_cast<std::size_t>(interface.client_count), interface.clients.size());
    EXPECT_EQ(snapshot.radios.count(interface.radio), 1U);
  }
}

TEST_F(SnapshotBuildingTest, ConfiguresOneNetworkByRadioAndTwoForBoth) {
  const DeviceSnapshot snapshot = AccessPoint(0);
  EXPECT_THAT(snapshot.ssid_config,
              ElementsAre(Key("Office@radio0"), Key("Office@radio1"), Key("Staff@BOTH"), Key("Welcome@BOTH")));
  EXPECT_EQ(snapshot.ssid_config.at("Office@radio0").security_mode, SecModeType::kWpaPersonal);
  EXPECT_EQ(snapshot.ssid_config.at("Office@radio1").security_mode, SecModeType::kWpaEnterprise);
  EXPECT_TRUE(snapshot.ssid_config.at("Welcome@BOTH").guest);
  EXPECT_FALSE(snapshot.ssid_config.at("Staff@BOTH").guest);
  EXPECT_THAT(snapshot.radios, UnorderedElementsAre(Key("radio0"), Key("radio1")));
}

TEST_F(SnapshotBuildingTest, WritesPortalUsersAsTheDeviceWritesItsClients) {
  std::size_t users = 0;
  std::size_t dashes = 0;
  for (std::size_t access_point = 0; access_point < 6; ++access_point) {
    const DeviceSnapshot snapshot = AccessPoint(access_point);
    std::size_t found = 0;
    for (const auto& [name, interface] : snapshot.ssid_interfaces) {
      for (const auto& client : interface.clients) {
        dashes += client.mac.find('-') != std::string::npos ? 1 : 0;
        const auto user = snapshot.portal_users.find(client.mac);
        if (user == snapshot.portal_users.end()) continue;
        ++found;
        EXPECT_EQ(interface.ssid, "Welcome");
        EXPECT_EQ(user->second.username.substr(0, 6), "guest-");
        EXPECT_EQ(user->second.hostname, client.hostname);
      }
    }
    EXPECT_EQ(found, snapshot.portal_users.size());
    users += found;
  }
  EXPECT_GT(users, 0U);
  EXPECT_GT(dashes, 0U);
}

TEST_F(SnapshotBuildingTest, SaysWhyALoginFailed) {
  DeviceLoad load;
  load.cpu = -1;
  DeviceSnapshot snapshot = CommonSnapshot(plan.devices[2], states[2], noon);
  AddLoad(plan.devices[2], load, snapshot);
  EXPECT_EQ(snapshot.cpu, -1);
  EXPECT_FALSE(snapshot.platform_info.has_value());
  const probe::JsonCHandle credential(json_tokener_parse(snapshot.credential_json.c_str()));
  ASSERT_NE(credential, nullptr);
  json_object* state = nullptr;
  ASSERT_TRUE(json_object_object_get_ex(credential.get(), "credential", &state));
  EXPECT_STREQ(json_object_get_string(state), "failed");

  DeviceSnapshot other = CommonSnapshot(plan.devices[1], states[1], noon);
  AddLoad(plan.devices[1], load, other);
  EXPECT_EQ(other.credential_json, "");
  EXPECT_EQ(other.platform_info->model, "Tessarine S24");
}

}  // namespace
}  // namespace probe::simulated
