#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace monitoring::wirelesstop {

/// The traffic of one access point, wireless network or wireless client, as its devices count it at present.
///
/// Owned by the map that it is filed in; the rankings refer to it.
struct NetStream {
  std::uint64_t in = 0;   ///< KiB received; octets below a whole KiB are dropped at each addition.
  std::uint64_t out = 0;  ///< KiB sent, likewise.
  std::string name;       ///< Device MAC, SSID or formatted client MAC: the key under which it is filed.
  std::string desc;       ///< The name that a client gives itself; empty for the others.
};

/// One entry of a ranking by clients.
struct ClientCount {
  std::string name;        ///< Device MAC or SSID.
  std::int32_t count = 0;  ///< Clients associated.

  friend bool operator==(const ClientCount&, const ClientCount&) = default;
};

// Hashed, because a pass looks each client up, and a look-up among 50,000 in a tree takes several times as long.
using Streams = std::unordered_map<std::string, std::shared_ptr<NetStream>>;  ///< By name.
using ClientCounts = std::map<std::string, std::int32_t>;                     ///< Device MAC or SSID -> clients.

/// The counters of all online devices, added up in one pass.
struct Totals {
  Streams devices;              ///< By device MAC.
  ClientCounts device_clients;  ///< By device MAC.
  Streams ssids;                ///< By SSID, over all devices that carry it.
  ClientCounts ssid_clients;    ///< By SSID, likewise.
  Streams clients;              ///< By formatted client MAC.
};

using TopStreamList = std::vector<const NetStream*>;
using TopCountList = std::vector<const ClientCount*>;

/// What a filter selects from the rankings: the five lists of a message, each in the order of the message.
///
/// Owner: the entries belong to the totals and rankings that they were selected from, and are valid as long as those
///        are not rebuilt.
struct Selection {
  TopStreamList device_traffic;
  TopCountList device_clients;
  TopStreamList ssid_traffic;
  TopCountList ssid_clients;
  TopStreamList client_traffic;
};

}  // namespace monitoring::wirelesstop
