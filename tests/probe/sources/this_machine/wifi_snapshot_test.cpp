#include "probe/sources/this_machine/wifi_snapshot.h"
#include "platform/device_records.h"
#include "probe/sources/this_machine/wifi_reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
namespace records = vexora_probe::models::controller;
using records::WIFIBandType;
using records::WIFIOpMode;

class WifiSnapshot : public ::testing::Test {
 protected:
  WifiSnapshot() {
    auto state = std::make_shared<records::InterfaceState>();
    state->traffic =
        std::make_shared<records::TrafficStats>(records::TrafficStats{.if_index = 4, .in_bytes = 9, .out_bytes = 8});
    snapshot.interfaces["wlan0"] = state;
  }

  static WifiInterface Served() {
    WifiInterface interface;
    interface.if_index = 4;
    interface.name = "wlan0";
    interface.ssid = "Office";
    interface.phy = 0;
    interface.frequency = 2437;  // MHz
    interface.is_access_point = true;
    interface.stations.push_back({.mac = "02:fc:00:00:00:01",
                                  .in_bytes = 1,
                                  .out_bytes = 2,
                                  .signal_dbm = -50,
                                  .data_rate = 54,
                                  .mode = WIFIOpMode::k802_11g});
    return interface;
  }

  DeviceSnapshot snapshot;
};

TEST_F(WifiSnapshot, OfAMachineWithoutACardIsNotWireless) {
  AddWifi({}, snapshot);
  EXPECT_FALSE(snapshot.is_wireless);
  EXPECT_THAT(snapshot.ssid_interfaces, IsEmpty());
  EXPECT_EQ(snapshot.basic_info->type, records::DeviceType::kUnknown);
}

TEST_F(WifiSnapshot, OfAnAccessPointHasItsNetworkItsRadioAndItsClients) {
  AddWifi({Served()}, snapshot);
  EXPECT_TRUE(snapshot.is_wireless);
  EXPECT_EQ(snapshot.basic_info->type, records::DeviceType::kAccessPoint);
  const records::SSIDIfState& state = snapshot.ssid_interfaces.at("wlan0");
  EXPECT_EQ(state.ssid, "Office");
  EXPECT_EQ(state.radio, "phy0");
  EXPECT_EQ(state.traffic, snapshot.interfaces.at("wlan0")->traffic);
  EXPECT_EQ(state.client_count, 1);
  EXPECT_THAT(state.clients, ElementsAre(Field(&records::AssocClientState::mac, "02:fc:00:00:00:01")));
  EXPECT_EQ(state.clients.front().in_bytes, 1U);
  EXPECT_EQ(state.clients.front().out_bytes, 2U);
  EXPECT_EQ(state.clients.front().data_rate, 54);
  EXPECT_EQ(state.clients.front().mode, WIFIOpMode::k802_11g);
  EXPECT_EQ(snapshot.radios.at("phy0").band, WIFIBandType::k2_4GHz);
  EXPECT_EQ(snapshot.details.channels.at("phy0"), 6);
  EXPECT_EQ(snapshot.details.client_signals.at("02:fc:00:00:00:01"), -50);
  const records::SSIDCfg& configuration = snapshot.ssid_config.at("Office@phy0");
  EXPECT_EQ(configuration.name, "Office");
  EXPECT_FALSE(configuration.guest);
  EXPECT_EQ(static_cast<int>(configuration.security_mode), -1);
}

TEST_F(WifiSnapshot, ListsClientsWhenTheKernelToldThoseOfEveryInterface) {
  AddWifi({}, snapshot);
  EXPECT_FALSE(snapshot.details.lists_clients) << "a kernel that refuses the question tells as much";
  AddWifi({Served()}, snapshot);
  EXPECT_TRUE(snapshot.details.lists_clients);
  WifiInterface refused = Served();
  refused.lists_stations = false;
  AddWifi({Served(), refused}, snapshot);
  EXPECT_FALSE(snapshot.details.lists_clients);
}

TEST_F(WifiSnapshot, OfAClientOfANetworkIsWirelessButNoAccessPoint) {
  WifiInterface interface = Served();
  interface.is_access_point = false;
  interface.stations.clear();
  AddWifi({interface}, snapshot);
  EXPECT_TRUE(snapshot.is_wireless);
  EXPECT_EQ(snapshot.basic_info->type, records::DeviceType::kUnknown);
  EXPECT_EQ(snapshot.ssid_interfaces.at("wlan0").client_count, 0);
  EXPECT_THAT(snapshot.ssid_config, IsEmpty());
}

TEST_F(WifiSnapshot, KeepsTheBandOfARadioWhenAnotherInterfaceOnItHasNoChannelYet) {
  WifiInterface idle = Served();
  idle.name = "wlan1";
  idle.ssid.clear();
  idle.frequency = 0;
  AddWifi({Served(), idle}, snapshot);
  EXPECT_EQ(snapshot.radios.at("phy0").band, WIFIBandType::k2_4GHz);
  EXPECT_EQ(snapshot.ssid_interfaces.at("wlan1").traffic, nullptr);  // a link that the kernel did not list
  EXPECT_THAT(snapshot.ssid_config, ::testing::SizeIs(1));
}

}  // namespace
}  // namespace probe
