#pragma once

#include <cstdint>

namespace probe::uplink {

/// What an uplink has done since the start.
struct UplinkCounts {
  bool is_connected = false;
  std::uint64_t stored = 0;   ///< Texts that a server has acknowledged.
  std::uint64_t cut = 0;      ///< Texts that a bound of the spool cut off, or that no server takes for their size.
  std::uint64_t waiting = 0;  ///< Texts that wait.
  std::uint64_t waiting_bytes = 0;
};

}  // namespace probe::uplink
