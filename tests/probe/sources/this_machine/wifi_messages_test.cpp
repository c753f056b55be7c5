#include "probe/sources/this_machine/wifi_messages.h"
#include "platform/device_records.h"
#include "probe/sources/this_machine/wifi_reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/nl80211.h>
#include <netlink/attr.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace probe {
namespace {

using ::testing::IsEmpty;
using vexora_probe::models::controller::WIFIOpMode;

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
        .U8(NL80211_STA_INFO_SIGNAL, 195)
        .Nested(NL80211_STA_INFO_TX_BITRATE, rate);
  });
  return StationIn(message.Header(), frequency).value();
}

TEST(WifiMessagesInterface, IsReadFromTheKernelsMessage) {
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

TEST(WifiMessagesInterface, ThatIsAClientItselfServesNobody) {
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

TEST(WifiMessagesInterface, WithoutANameOrAnIndexIsNone) {
  KernelMessage nameless(NL80211_CMD_NEW_INTERFACE);
  nameless.U32(NL80211_ATTR_IFINDEX, 4);
  EXPECT_EQ(InterfaceIn(nameless.Header()), std::nullopt);
  KernelMessage indexless(NL80211_CMD_NEW_INTERFACE);
  indexless.Text(NL80211_ATTR_IFNAME, "wlan0");
  EXPECT_EQ(InterfaceIn(indexless.Header()), std::nullopt);
}

TEST(WifiMessagesStation, IsReadWithItsCountersOf64BitsBeforeThoseOf32) {
  const WifiStation station = StationAt(kHighChannel, [](KernelMessage& rate) {
    rate.U32(NL80211_RATE_INFO_BITRATE32, 8667).U8(NL80211_RATE_INFO_VHT_MCS, 9);
  });
  EXPECT_EQ(station.mac, "02:fc:0a:bb:cc:01");
  EXPECT_EQ(station.in_bytes, 5'000'000'000U);
  EXPECT_EQ(station.out_bytes, 700U);
  EXPECT_EQ(station.signal_dbm, -61);
  EXPECT_EQ(station.data_rate, 866);
  EXPECT_EQ(station.mode, WIFIOpMode::k802_11ac);
}

TEST(WifiMessagesStation, HasTheModeOfItsRate) {
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

TEST(WifiMessagesStation, WithoutAWholeMacIsNone) {
  KernelMessage message(NL80211_CMD_NEW_STATION);
  EXPECT_EQ(StationIn(message.Header(), kLowChannel), std::nullopt);
  message.Octets(NL80211_ATTR_MAC, "\x02\xfc");
  EXPECT_EQ(StationIn(message.Header(), kLowChannel), std::nullopt);
}

TEST(WifiMessagesStation, OfWhichTheKernelTellsNothingHasNoTraffic) {
  KernelMessage message(NL80211_CMD_NEW_STATION);
  message.Octets(NL80211_ATTR_MAC, "\x02\xfc\x0a\xbb\xcc\x01");
  const auto station = StationIn(message.Header(), kLowChannel);
  ASSERT_TRUE(station.has_value());
  EXPECT_EQ(station->in_bytes, 0U);
  EXPECT_EQ(station->data_rate, 0);
}

}  // namespace
}  // namespace probe
