#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "probe/server/net/server_settings.h"

namespace probe {

/// Counts who is connected, in all and for each address, and says who is one too many. Addresses that one client can
/// take at will (`AddressGroup`) count as one.
///
/// Threads: the server thread only.
class Gate {
 public:
  enum class Verdict {
    kAdmitted,       ///< Counted; must `Leave`.
    kAllTaken,       ///< Over `limits.connections`; kept only until it was told so. Must `Leave`.
    kAddressTaken,   ///< Over `limits.connections_per_address`; likewise.
    kTooManyWaiting  ///< So many are being told already that this one is hung up on at once. Must not `Leave`.
  };

  /// Connections over a limit that may be open at once until they have been told.
  static constexpr std::size_t kTurnedAway = 16;

  explicit Gate(const ServerLimits& limits);

  Verdict Arrive(const std::string& address);
  void Leave(const std::string& address, Verdict verdict);

 private:
  std::size_t max_connections_;
  std::size_t max_per_address_;
  std::size_t connections_ = 0;
  std::size_t turned_away_ = 0;
  std::map<std::string, std::size_t> of_address_;  // admitted ones, by group of addresses
};

}  // namespace probe
