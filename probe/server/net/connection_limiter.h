#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "probe/server/net/rate_limiter.h"
#include "probe/server/net/server_settings.h"

namespace probe {

/// Counts who is connected, in all and for each address, and says who is one too many. Addresses that one client can
/// take at will (`AddressGroup`) count as one.
///
/// Threads: the event loop only.
class ConnectionLimiter {
 public:
  enum class Verdict {
    kAccepted,         ///< Counted; must be released.
    kConnectionLimit,  ///< Over `limits.connections`; kept only until it was told so. Must be released.
    kAddressLimit,     ///< Over `limits.connections_per_address`; likewise.
    kRejectionLimit    ///< Too many rejections pending: to be closed without an answer. Must not be released.
  };

  /// Connections over a limit that may be open at once until they have been told.
  static constexpr std::size_t kMaxRejected = 16;

  explicit ConnectionLimiter(const ServerLimits& limits)
      : max_connections_(limits.connections), max_per_address_(limits.connections_per_address) {}

  Verdict Acquire(const std::string& address);
  void Release(const std::string& address, Verdict verdict);

 private:
  const std::size_t max_connections_;
  const std::size_t max_per_address_;
  std::size_t connections_ = 0;
  std::size_t rejected_ = 0;
  std::map<std::string, std::size_t> of_address_;  // accepted ones, by group of addresses
};

/// What is known of a connection from the moment when it was accepted, whatever becomes of it.
struct AcceptedConnection {
  std::string address;  ///< Of the client.
  ConnectionLimiter::Verdict verdict = ConnectionLimiter::Verdict::kAccepted;
  RateLimiter rate;  ///< Of its requests, then of its messages.
};

/// Allows the process as many open files as so many connections need, and gives the number of connections for which the
/// system then has files: one more would be left hanging instead of being refused. Fewer than wanted are an error in
/// the log.
std::size_t RaiseDescriptorLimit(std::size_t wanted);

}  // namespace probe
