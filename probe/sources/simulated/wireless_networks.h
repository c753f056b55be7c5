#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "platform/configuration.h"

namespace probe::simulated {

/// One wireless network of the company.
struct WirelessNetwork {
  const char* ssid;
  bool guest;  ///< Its clients come through the captive portal.
};

/// "Office" is configured for each radio by itself, the other two for both at once.
inline constexpr std::array<WirelessNetwork, 3> kWirelessNetworks{
    {{.ssid = "Office", .guest = false}, {.ssid = "Staff", .guest = false}, {.ssid = "Welcome", .guest = true}}};
inline constexpr std::size_t kOffice = 0;
inline constexpr std::size_t kStaff = 1;
inline constexpr std::size_t kWelcome = 2;

/// Every access point has these two: 2.4 GHz first, 5 GHz second.
inline constexpr std::array<const char*, 2> kRadioNames{"radio0", "radio1"};
inline constexpr std::size_t kLowBand = 0;
inline constexpr std::size_t kHighBand = 1;

/// SSID interfaces of an access point: each network on each radio.
inline constexpr std::size_t kSsidInterfaces = kWirelessNetworks.size() * kRadioNames.size();

/// The number of an SSID interface, 0 to `kSsidInterfaces` - 1.
constexpr std::size_t SsidInterface(std::size_t radio, std::size_t network) {
  return radio * kWirelessNetworks.size() + network;
}

/// Its name, as "wlan1.0" for the office network on the 5 GHz radio.
std::string SsidInterfaceName(std::size_t radio, std::size_t network);

/// The configuration that all access points have.
SSIDConfigurations WirelessConfiguration();

}  // namespace probe::simulated
