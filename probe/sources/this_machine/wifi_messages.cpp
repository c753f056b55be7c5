#include "probe/sources/this_machine/wifi_messages.h"

#include <linux/nl80211.h>
#include <netlink/attr.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>

#include <array>
#include <cstddef>
#include <cstdio>

#include "platform/device_records.h"

namespace probe {
namespace {

using vexora_probe::models::controller::WIFIBandType;
using vexora_probe::models::controller::WIFIOpMode;

/// The attributes of a message, or those nested in one attribute, by type; null for one that is missing.
template <int kMax>
using Attributes = std::array<nlattr*, kMax + 1>;

constexpr int kEthernetOctets = 6;
constexpr auto kUnknownMode = static_cast<WIFIOpMode>(-1);

/// The number in an attribute, which nl80211 sends in the byte order of the machine.
template <typename Number>
Number NumberIn(const nlattr* attribute, Number fallback = 0) {
  if (attribute == nullptr || nla_len(attribute) < static_cast<int>(sizeof(Number))) return fallback;
  Number number = 0;
  nla_memcpy(&number, attribute, sizeof number);
  return number;
}

/// An SSID: it may hold any octets, NUL among them.
std::string OctetsIn(const nlattr* attribute) {
  if (attribute == nullptr) return {};
  return {static_cast<const char*>(nla_data(attribute)), static_cast<std::size_t>(nla_len(attribute))};
}

/// A name, which the kernel ends with NUL.
std::string TextIn(const nlattr* attribute) {
  const std::string octets = OctetsIn(attribute);
  return octets.substr(0, octets.find('\0'));
}

std::string MacIn(const nlattr* attribute) {
  // `StationIn` has checked the length.
  const auto* octets = static_cast<const unsigned char*>(nla_data(attribute));
  std::array<char, 18> text{};
  std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", octets[0], octets[1], octets[2], octets[3],
                octets[4], octets[5]);
  return text.data();
}

/// The mode of a connection whose rate has none of the attributes of 802.11n and later.
WIFIOpMode OlderMode(std::int32_t rate, std::uint32_t frequency) {
  constexpr std::int32_t kLastRateOfB = 11;  // Mbit/s
  if (BandOf(frequency) == WIFIBandType::k5GHz) return WIFIOpMode::k802_11a;
  return rate <= kLastRateOfB ? WIFIOpMode::k802_11b : WIFIOpMode::k802_11g;
}

void FillRate(nlattr* attribute, std::uint32_t frequency, WifiStation& station) {
  constexpr std::uint32_t kUnitsInMbit = 10;  // the kernel counts in 100 kbit/s
  Attributes<NL80211_RATE_INFO_MAX> rate{};
  if (attribute == nullptr || nla_parse_nested(rate.data(), NL80211_RATE_INFO_MAX, attribute, nullptr) != 0) return;
  // The attribute of 16 bits cannot hold rates above 6.5 Gbit/s, so kernels send one of 32 bits besides.
  const auto units = NumberIn<std::uint32_t>(rate[NL80211_RATE_INFO_BITRATE32],
                                             NumberIn<std::uint16_t>(rate[NL80211_RATE_INFO_BITRATE]));
  station.data_rate = static_cast<std::int32_t>(units / kUnitsInMbit);
  if (rate[NL80211_RATE_INFO_VHT_MCS] != nullptr) {
    station.mode = WIFIOpMode::k802_11ac;
  } else if (rate[NL80211_RATE_INFO_MCS] != nullptr) {
    station.mode = WIFIOpMode::k802_11n;
  } else if (rate[NL80211_RATE_INFO_HE_MCS] != nullptr) {
    station.mode = kUnknownMode;  // 802.11ax, for which the contract has no number
  } else {
    station.mode = OlderMode(station.data_rate, frequency);
  }
}

/// The counter of 64 bits, or the one of 32 that older drivers have.
std::uint64_t CounterIn(const nlattr* wide, const nlattr* narrow) {
  return NumberIn<std::uint64_t>(wide, NumberIn<std::uint32_t>(narrow));
}

template <int kMax>
bool Parse(nlmsghdr* message, Attributes<kMax>& attributes) {
  // Without a policy libnl checks the length of no attribute: whoever reads one does.
  return genlmsg_parse(message, 0, attributes.data(), kMax, nullptr) == 0;
}

}  // namespace

std::optional<WifiInterface> InterfaceIn(nlmsghdr* message) {
  Attributes<NL80211_ATTR_MAX> attributes{};
  if (!Parse<NL80211_ATTR_MAX>(message, attributes)) return std::nullopt;
  if (attributes[NL80211_ATTR_IFINDEX] == nullptr || attributes[NL80211_ATTR_IFNAME] == nullptr) return std::nullopt;
  WifiInterface interface;
  interface.if_index = NumberIn<std::int32_t>(attributes[NL80211_ATTR_IFINDEX]);
  interface.name = TextIn(attributes[NL80211_ATTR_IFNAME]);
  interface.ssid = OctetsIn(attributes[NL80211_ATTR_SSID]);
  interface.phy = NumberIn<std::uint32_t>(attributes[NL80211_ATTR_WIPHY]);
  interface.frequency = NumberIn<std::uint32_t>(attributes[NL80211_ATTR_WIPHY_FREQ]);
  const auto type = NumberIn<std::uint32_t>(attributes[NL80211_ATTR_IFTYPE]);
  interface.is_access_point =
      type == NL80211_IFTYPE_AP || type == NL80211_IFTYPE_AP_VLAN || type == NL80211_IFTYPE_P2P_GO;
  return interface;
}

std::optional<WifiStation> StationIn(nlmsghdr* message, std::uint32_t frequency) {
  Attributes<NL80211_ATTR_MAX> attributes{};
  if (!Parse<NL80211_ATTR_MAX>(message, attributes)) return std::nullopt;
  nlattr* mac = attributes[NL80211_ATTR_MAC];
  if (mac == nullptr || nla_len(mac) != kEthernetOctets) return std::nullopt;
  WifiStation station;
  station.mac = MacIn(mac);
  // Received and sent are seen from this machine: what it received from the station is the station's upload.
  Attributes<NL80211_STA_INFO_MAX> info{};
  nlattr* nested = attributes[NL80211_ATTR_STA_INFO];
  if (nested == nullptr || nla_parse_nested(info.data(), NL80211_STA_INFO_MAX, nested, nullptr) != 0) return station;
  station.in_bytes = CounterIn(info[NL80211_STA_INFO_RX_BYTES64], info[NL80211_STA_INFO_RX_BYTES]);
  station.out_bytes = CounterIn(info[NL80211_STA_INFO_TX_BYTES64], info[NL80211_STA_INFO_TX_BYTES]);
  // One octet that stands for a number from -128 to 127.
  const std::int32_t octet = NumberIn<std::uint8_t>(info[NL80211_STA_INFO_SIGNAL]);
  station.signal_dbm = octet < 128 ? octet : octet - 256;
  FillRate(info[NL80211_STA_INFO_TX_BITRATE], frequency, station);
  return station;
}

}  // namespace probe
