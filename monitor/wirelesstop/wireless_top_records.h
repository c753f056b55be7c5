#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace monitoring::wirelesstop {

/// The traffic of one access point, wireless network or wireless client, as its devices count it at present.
///
/// Shared by the map that it is filed in and the three rankings that it stands in.
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

using Streams = std::map<std::string, std::shared_ptr<NetStream>>;  ///< By name.
using ClientCounts = std::map<std::string, std::int32_t>;           ///< Device MAC or SSID -> clients.

/// The stream of this name, made with this description if there is none yet.
NetStream& StreamOf(Streams& streams, const std::string& name, const std::string& desc = {});

/// Adds octet counters to a stream, each cut to whole KiB before it is added.
void AddOctets(NetStream& stream, std::uint64_t in_bytes, std::uint64_t out_bytes);

/// Adds to a count, which starts at 0. A sum that 32 bits cannot hold wraps.
void AddClients(ClientCounts& counts, const std::string& name, std::int32_t clients);

}  // namespace monitoring::wirelesstop
