#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/device_records.h"

namespace probe {

/// One client of this machine's access point.
struct WifiStation {
  std::string mac;              ///< "02:fc:00:00:00:01".
  std::uint64_t in_bytes = 0;   ///< Octets received from the client.
  std::uint64_t out_bytes = 0;  ///< Octets sent to the client.
  std::int32_t signal_dbm = 0;  ///< Level at which it is heard; 0 when the driver gives none.
  std::int32_t data_rate = 0;   ///< Rate of sending to it, in Mbit/s, rounded down; 0 when the driver gives none.
  /// Operating mode of the connection; -1 for one that the contract has no number for.
  vexora_probe::models::controller::WIFIOpMode mode = vexora_probe::models::controller::WIFIOpMode::k802_11a;
};

/// One interface of a Wi-Fi card.
struct WifiInterface {
  std::int32_t if_index = 0;  ///< RFC 2863, ifIndex.
  std::string name;           ///< "wlan0".
  std::string ssid;       ///< SSID that it serves, or is a client of; up to 32 free octets, empty without a network.
  std::uint32_t phy = 0;  ///< Number of its radio (wiphy).
  std::uint32_t frequency = 0;        ///< Frequency of its channel in MHz; 0 when it has none at present.
  bool is_access_point = false;       ///< Whether it serves clients.
  bool lists_stations = true;         ///< False: the kernel refused to tell all of them.
  std::vector<WifiStation> stations;  ///< Its clients; empty for an interface that is a client itself.
};

/// The band of a channel. Units: MHz. Source: IEEE Std 802.11, annex E.
vexora_probe::models::controller::WIFIBandType BandOf(std::uint32_t frequency);

/// The channel of a frequency; 0 for one that is in neither band. Units: MHz. Source: likewise.
std::int32_t ChannelOf(std::uint32_t frequency);

/// The Wi-Fi interfaces of this machine, in the kernel's order; none without a Wi-Fi card, or when the kernel refuses
/// the question.
///
/// Threads: any; each call opens a socket of its own, for libnl's sockets are not safe between threads.
/// Fails:   never; what cannot be read is left out.
/// Source:  linux/nl80211.h, NL80211_CMD_GET_INTERFACE and NL80211_CMD_GET_STATION.
std::vector<WifiInterface> ReadWifi();

}  // namespace probe
