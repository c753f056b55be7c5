#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "probe/sources/snmp/poll_health.h"

namespace probe::snmp {

/// A table that did not answer in the last reading, and whose rows are older for that.
struct StaleTable {
  std::string name;              ///< "interfaces", "radios", "ssids", "stations", "portal_users", "neighbours".
  std::int64_t age_seconds = 0;  ///< Since it last answered.
};

/// All polls of one device since it is asked in this way.
struct PollTotals {
  std::uint64_t answered = 0;  ///< That gave a reading.
  std::uint64_t failed = 0;
};

/// What there is to say about one device of the settings and its polls.
struct DeviceStatus {
  std::string address;  ///< As asked, with its port: "192.0.2.1:161", "[2001:db8::1]:161".
  std::string name;     ///< Device name; the address while it is not known.
  std::string mac;      ///< Device id; empty while it is not in the device centre.
  bool online = false;  ///< As in the device centre.
  std::optional<std::int32_t>
      clients;  ///< Wireless clients, by what its profile takes for the truth; nothing: not told.
  std::optional<std::int32_t> listed_clients;  ///< Clients of which it tells who they are; nothing: it has no list.
  PollHealth health;  ///< Of its last poll; `error` also tells what keeps it out of the device centre.
  PollTotals totals{};
  std::vector<StaleTable> stale;  ///< Tables that did not answer in its last reading.
};

}  // namespace probe::snmp
