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
class ConnectionLimiter {
 public:
  enum class Verdict {
    kAccepted,         ///< Counted; must be released.
    kConnectionLimit,  ///< Over `limits.connections`; kept only until it was told so. Must be released.
    kAddressLimit,     ///< Over `limits.connections_per_address`; likewise.
    kRejectionLimit    ///< So many are being told already that this one is hung up on at once. Must not be released.
  };

  /// Connections over a limit that may be open at once until they have been told.
  static constexpr std::size_t kMaxRejected = 16;

  explicit ConnectionLimiter(const ServerLimits& limits);

  Verdict Acquire(const std::string& address);
  void Release(const std::string& address, Verdict verdict);

 private:
  std::size_t max_connections_;
  std::size_t max_per_address_;
  std::size_t connections_ = 0;
  std::size_t rejected_ = 0;
  std::map<std::string, std::size_t> of_address_;  // admitted ones, by group of addresses
};

}  // namespace probe
