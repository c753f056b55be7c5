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

  RateLimiter requests;               // that show the token, or where none is asked for
  RateLimiter unauthorized_requests;  // the others: who has no token takes nothing from who has
  RateLimiter messages;
  RateLimiter octets;  // of messages
};

/// The rates of all addresses from which somebody has called lately, as counted by `AddressGroup`.
///
/// Threads: the event loop only.
class AddressRatesRegister {
 public:
  using Clock = RateLimiter::Clock;

  /// Addresses that are remembered, beside those with a connection. When there are more, those are forgotten that have
  /// sent nothing for a while, and of the others all but the half that has sent the most.
  static constexpr std::size_t kMaxGroups = 10'000;

  explicit AddressRatesRegister(const ServerLimits& limits) : limits_(limits) {}

  std::shared_ptr<AddressRates> Of(const std::string& group, Clock::time_point now);

  std::size_t size() const { return rates_.size(); }

 private:
  void ForgetSome(Clock::time_point now);

  const ServerLimits limits_;
  std::map<std::string, std::shared_ptr<AddressRates>> rates_;
  std::size_t most_ = kMaxGroups;  // then some are forgotten
};

/// How fast requests may come over one HTTP connection: what it may alone, of what all of its address may.
///
/// A part of what an address may save is for connections that send few: others of the address can't take it with many
/// requests.
/// Threads: the event loop only.
class RequestRates {
 public:
  using Clock = RateLimiter::Clock;

  /// Whose limit a request exceeds.
  enum class Limit { kNone, kConnection, kAddress };

  /// The part of what its address may that is for those who send few requests, and the part of its own rate up to which
  /// a connection is one of them.
  static constexpr double kPartForFew = 0.25;

  RequestRates(const ServerLimits& limits, std::shared_ptr<AddressRates> of_address, Clock::time_point now);

  /// Counts a request. `is_authorized`: it shows the token, or none is asked for.
  Limit Count(bool is_authorized, Clock::time_point now);

  const std::shared_ptr<AddressRates>& of_address() const { return of_address_; }

 private:
  RateLimiter requests_;
  RateLimiter few_requests_;
  std::shared_ptr<AddressRates> of_address_;
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
