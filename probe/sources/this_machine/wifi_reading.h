#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/device_records.h"

namespace probe {

/// One client of an access point that this machine is.
struct WifiStation {
  std::string mac;              ///< "02:fc:00:00:00:01".
  std::uint64_t in_bytes = 0;   ///< Octets received from it.
  std::uint64_t out_bytes = 0;  ///< Octets sent to it.
  std::int32_t data_rate = 0;   ///< To it, in Mbit/s, rounded down; 0 when the driver does not tell.
  vexora_probe::models::controller::WIFIOpMode mode = vexora_probe::models::controller::WIFIOpMode::k802_11a;
};

/// One interface of a Wi-Fi card.
struct WifiInterface {
  std::int32_t if_index = 0;
  std::string name;
  std::string ssid;              ///< The network that it carries, or is a client of; free octets, empty without one.
  std::uint32_t phy = 0;         ///< Number of the radio that it stands on.
  std::uint32_t frequency = 0;   ///< Of its channel, in MHz; 0 when it has none at present.
  bool is_access_point = false;  ///< It serves clients.
  std::vector<WifiStation> stations;  ///< Those; empty for an interface that is a client itself.
};

/// The band of a channel. Units: MHz. Source: IEEE Std 802.11, annex E.
vexora_probe::models::controller::WIFIBandType BandOf(std::uint32_t frequency);

/// The Wi-Fi interfaces of this machine, in the kernel's order; none on a machine without a card, or when the kernel
/// refuses to tell.
///
/// Threads: any; a fresh socket serves each call.
/// Fails:   never; what cannot be read is left out.
/// Source:  linux/nl80211.h, NL80211_CMD_GET_INTERFACE and NL80211_CMD_GET_STATION.
std::vector<WifiInterface> ReadWifi();

}  // namespace probe
