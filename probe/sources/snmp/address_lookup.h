#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "probe/sources/snmp/stop_event.h"

namespace probe::snmp {

/// One address of a host.
struct ResolvedAddress {
  std::string number;  ///< "192.0.2.7", "2001:db8::7".
  std::string peer;    ///< As the SNMP library writes it: "udp:192.0.2.7:161", "udp6:[2001:db8::7]:161".
};

/// What a host's name stands for.
struct Resolution {
  std::vector<ResolvedAddress> addresses;  ///< In the order in which to try them; empty when `error` is set.
  std::string error;                       ///< In plain words.
};

/// "192.0.2.7, 2001:db8::7": the same for the same addresses in whatever order.
std::string NumbersOf(const Resolution& resolution);

/// Finds the addresses of a host. A name is looked up by `NameLookups`, no longer than until `deadline` or `stop`.
Resolution ResolveAddress(const std::string& host, std::uint16_t port, std::chrono::steady_clock::time_point deadline,
                          const StopEvent* stop);

}  // namespace probe::snmp
