#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "probe/server/net/rate_limiter.h"
#include "probe/server/net/server_settings.h"

namespace probe {

/// How fast all connections of one address may send together: a few times as fast as one of them, so that a client
/// gains nothing by connecting again and again.
struct AddressRates {
  /// What they may send in the long run, and at once, as multiples of what one connection may.
  static constexpr std::size_t kTimes = 4;
  static constexpr std::size_t kTimesAtOnce = 16;

  AddressRates(const ServerLimits& limits, RateLimiter::Clock::time_point now);

  RateLimiter requests;
  RateLimiter messages;
  RateLimiter octets;  // of messages
};

/// The rates of all addresses from which somebody has called lately, as counted by `AddressGroup`.
///
/// Threads: the event loop only.
class AddressRatesRegister {
 public:
  using Clock = RateLimiter::Clock;

  /// Addresses that are remembered. When there are more, those are forgotten that have sent nothing for a while; then
  /// the one that has sent the least.
  static constexpr std::size_t kMaxGroups = 10'000;

  explicit AddressRatesRegister(const ServerLimits& limits) : limits_(limits) {}

  std::shared_ptr<AddressRates> Of(const std::string& group, Clock::time_point now);

  std::size_t size() const { return rates_.size(); }

 private:
  void ForgetSome(Clock::time_point now);

  const ServerLimits limits_;
  std::map<std::string, std::shared_ptr<AddressRates>> rates_;
};

/// How fast the client of one connection may send: what it may alone, of what all of its address may.
///
/// A part of its own rate is the connection's whatever others of its address send; a new connection has to save it
/// first.
/// Threads: the event loop only.
class ClientRates {
 public:
  using Clock = RateLimiter::Clock;

  enum class Limit { kNone, kMessages, kOctets, kAddress };

  /// Whose limit a message exceeds, and whether the client is to be told.
  struct Verdict {
    Limit limit = Limit::kNone;
    RateLimiter::Result result = RateLimiter::Result::kAccepted;
  };

  /// Which part of its own rate nobody can take.
  static constexpr double kOwnPart = 0.25;

  ClientRates(const ServerLimits& limits, std::shared_ptr<AddressRates> of_address, Clock::time_point now);

  /// Counts a message of so many octets.
  Verdict Count(std::size_t octets, Clock::time_point now);

 private:
  bool IsWithinAddress(std::size_t octets, Clock::time_point now);

  RateLimiter messages_;
  RateLimiter octets_;
  RateLimiter own_messages_;
  RateLimiter own_octets_;
  std::shared_ptr<AddressRates> of_address_;
};

}  // namespace probe
