#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/nl80211.h>
#include <netlink/attr.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "probe/sources/this_machine/wifi_messages.h"
#include "probe/sources/this_machine/wifi_snapshot.h"

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
namespace records = vexora_probe::models::controller;
using records::WIFIBandType;
using records::WIFIOpMode;

constexpr std::uint32_t kLowChannel = 2437;  // MHz
constexpr std::uint32_t kHighChannel = 5180;

/// A message as the kernel puts one together, attribute by attribute.
class KernelMessage {
 public:
  explicit KernelMessage(std::uint8_t command) : message_(nlmsg_alloc(), &nlmsg_free) {
    genlmsg_put(message_.get(), 0, 0, 30, 0, 0, command, 0);
  }
  KernelMessage& U8(int type, std::uint8_t value) { return Put(nla_put_u8(message_.get(), type, value)); }
  KernelMessage& U16(int type, std::uint16_t value) { return Put(nla_put_u16(message_.get(), type, value)); }
  KernelMessage& U32(int type, std::uint32_t value) { return Put(nla_put_u32(message_.get(), type, value)); }
  KernelMessage& U64(int type, std::uint64_t value) { return Put(nla_put_u64(message_.get(), type, value)); }
  KernelMessage& Text(int type, const char* text) { return Put(nla_put_string(message_.get(), type, text)); }
  KernelMessage& Octets(int type, const std::string& octets) {
    return Put(nla_put(message_.get(), type, static_cast<int>(octets.size()), octets.data()));
  }
  KernelMessage& Nested(int type, const std::function<void(KernelMessage&)>& fill) {
    nlattr* nest = nla_nest_start(message_.get(), type);
    fill(*this);
    nla_nest_end(message_.get(), nest);
    return *this;
  }
  nlmsghdr* Header() { return nlmsg_hdr(message_.get()); }

 private:
  KernelMessage& Put(int result) {
    EXPECT_EQ(result, 0);
    return *this;
  }
  std::unique_ptr<nl_msg, void (*)(nl_msg*)> message_;
};

KernelMessage AccessPointMessage() {
  KernelMessage message(NL80211_CMD_NEW_INTERFACE);
  message.U32(NL80211_ATTR_IFINDEX, 4)
      .Text(NL80211_ATTR_IFNAME, "wlan0")
      .U32(NL80211_ATTR_WIPHY, 1)
      .U32(NL80211_ATTR_IFTYPE, NL80211_IFTYPE_AP)
      .Octets(NL80211_ATTR_SSID, std::string("Of\0fice", 7))
      .U32(NL80211_ATTR_WIPHY_FREQ, kHighChannel);
  return message;
}

/// A station with this rate.
WifiStation StationAt(std::uint32_t frequency, const std::function<void(KernelMessage&)>& rate) {
  KernelMessage message(NL80211_CMD_NEW_STATION);
  message.Octets(NL80211_ATTR_MAC, "\x02\xfc\x0a\xbb\xcc\x01").Nested(NL80211_ATTR_STA_INFO, [&](KernelMessage& info) {
    info.U64(NL80211_STA_INFO_RX_BYTES64, 5'000'000'000)
        .U32(NL80211_STA_INFO_RX_BYTES, 1)
        .U32(NL80211_STA_INFO_TX_BYTES, 700)
        .Nested(NL80211_STA_INFO_TX_BITRATE, rate);
  });
  return StationIn(message.Header(), frequency).value();
}

TEST(WifiInterface, IsReadFromTheKernelsMessage) {
  auto message = AccessPointMessage();
  const auto interface = InterfaceIn(message.Header());
  ASSERT_TRUE(interface.has_value());
  EXPECT_EQ(interface->if_index, 4);
  EXPECT_EQ(interface->name, "wlan0");
  EXPECT_EQ(interface->ssid, std::string("Of\0fice", 7));
  EXPECT_EQ(interface->phy, 1U);
  EXPECT_EQ(interface->frequency, kHighChannel);
  EXPECT_TRUE(interface->is_access_point);
  EXPECT_THAT(interface->stations, IsEmpty());
}

TEST(WifiInterface, ThatIsAClientItselfServesNobody) {
  KernelMessage message(NL80211_CMD_NEW_INTERFACE);
  message.U32(NL80211_ATTR_IFINDEX, 4)
      .Text(NL80211_ATTR_IFNAME, "wlan0")
      .U32(NL80211_ATTR_IFTYPE, NL80211_IFTYPE_STATION);
  const auto interface = InterfaceIn(message.Header());
  ASSERT_TRUE(interface.has_value());
  EXPECT_FALSE(interface->is_access_point);
  EXPECT_EQ(interface->ssid, "");
  EXPECT_EQ(interface->frequency, 0U);
}

TEST(WifiInterface, WithoutANameOrAnIndexIsNone) {
  KernelMessage nameless(NL80211_CMD_NEW_INTERFACE);
  nameless.U32(NL80211_ATTR_IFINDEX, 4);
  EXPECT_EQ(InterfaceIn(nameless.Header()), std::nullopt);
  KernelMessage indexless(NL80211_CMD_NEW_INTERFACE);
  indexless.Text(NL80211_ATTR_IFNAME, "wlan0");
  EXPECT_EQ(InterfaceIn(indexless.Header()), std::nullopt);
}

TEST(WifiStation, IsReadWithItsCountersOf64BitsBeforeThoseOf32) {
  const WifiStation station = StationAt(kHighChannel, [](KernelMessage& rate) {
    rate.U32(NL80211_RATE_INFO_BITRATE32, 8667).U8(NL80211_RATE_INFO_VHT_MCS, 9);
  });
  EXPECT_EQ(station.mac, "02:fc:0a:bb:cc:01");
  EXPECT_EQ(station.in_bytes, 5'000'000'000U);
  EXPECT_EQ(station.out_bytes, 700U);
  EXPECT_EQ(station.data_rate, 866);
  EXPECT_EQ(station.mode, WIFIOpMode::k802_11ac);
}

TEST(WifiStation, HasTheModeOfItsRate) {
  const auto mode = [](std::uint32_t frequency, const std::function<void(KernelMessage&)>& rate) {
    return StationAt(frequency, rate).mode;
  };
  EXPECT_EQ(mode(kLowChannel,
                 [](KernelMessage& rate) { rate.U16(NL80211_RATE_INFO_BITRATE, 720).U8(NL80211_RATE_INFO_MCS, 7); }),
            WIFIOpMode::k802_11n);
  EXPECT_EQ(mode(kHighChannel, [](KernelMessage& rate) { rate.U16(NL80211_RATE_INFO_BITRATE, 540); }),
            WIFIOpMode::k802_11a);
  EXPECT_EQ(mode(kLowChannel, [](KernelMessage& rate) { rate.U16(NL80211_RATE_INFO_BITRATE, 540); }),
            WIFIOpMode::k802_11g);
  EXPECT_EQ(mode(kLowChannel, [](KernelMessage& rate) { rate.U16(NL80211_RATE_INFO_BITRATE, 110); }),
            WIFIOpMode::k802_11b);
  // of modes that the records have no number for
  EXPECT_EQ(static_cast<int>(mode(kHighChannel,
                                  [](KernelMessage& rate) {
                                    rate.U32(NL80211_RATE_INFO_BITRATE32, 12010).U8(NL80211_RATE_INFO_HE_MCS, 11);
                                  })),
            -1);
}

TEST(WifiStation, WithoutAWholeMacIsNone) {
  KernelMessage message(NL80211_CMD_NEW_STATION);
  EXPECT_EQ(StationIn(message.Header(), kLowChannel), std::nullopt);
  message.Octets(NL80211_ATTR_MAC, "\x02\xfc");
  EXPECT_EQ(StationIn(message.Header(), kLowChannel), std::nullopt);
}

TEST(WifiStation, OfWhichTheKernelTellsNothingHasNoTraffic) {
  KernelMessage message(NL80211_CMD_NEW_STATION);
  message.Octets(NL80211_ATTR_MAC, "\x02\xfc\x0a\xbb\xcc\x01");
  const auto station = StationIn(message.Header(), kLowChannel);
  ASSERT_TRUE(station.has_value());
  EXPECT_EQ(station->in_bytes, 0U);
  EXPECT_EQ(station->data_rate, 0);
}

TEST(WifiBand, IsThatOfTheChannel) {
  EXPECT_EQ(BandOf(0), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOf(2399), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOf(2412), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOf(2484), WIFIBandType::k2_4GHz);
  EXPECT_EQ(BandOf(5149), WIFIBandType::kUnknown);
  EXPECT_EQ(BandOf(5180), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOf(5885), WIFIBandType::k5GHz);
  EXPECT_EQ(BandOf(5955), WIFIBandType::kUnknown);  // the band at 6 GHz
}

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
    interface.frequency = kLowChannel;
    interface.is_access_point = true;
    interface.stations.push_back(
        {.mac = "02:fc:00:00:00:01", .in_bytes = 1, .out_bytes = 2, .data_rate = 54, .mode = WIFIOpMode::k802_11g});
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
  const records::SSIDCfg& configuration = snapshot.ssid_config.at("Office@phy0");
  EXPECT_EQ(configuration.name, "Office");
  EXPECT_FALSE(configuration.guest);
  EXPECT_EQ(static_cast<int>(configuration.security_mode), -1);
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

TEST(WifiReading, OfThisMachineNamesOnlyInterfacesThatThereAre) {
  for (const WifiInterface& interface : ReadWifi()) {
    EXPECT_GT(interface.if_index, 0) << interface.name;
    EXPECT_FALSE(interface.name.empty());
  }
}

}  // namespace
}  // namespace probe
