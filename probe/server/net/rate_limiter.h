#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <limits>

namespace probe {

/// A token bucket: `per_second` tokens a second in the long run, and as many at once unless said otherwise.
///
/// Threads: the event loop only.
class RateLimiter {
 public:
  using Clock = std::chrono::steady_clock;

  enum class Result {
    kAccepted,  ///< Within the limit.
    kRejected,  ///< Over it; the client is to be told.
    kDropped,   ///< Over it, and the client was told within the last second: a flood is not answered by a flood.
  };

  RateLimiter(std::size_t per_second, Clock::time_point now)
      : RateLimiter(static_cast<double>(per_second), static_cast<double>(per_second), now) {
    tokens_ = most_;
  }

  /// One that saves `burst` tokens, and has none to begin with.
  RateLimiter(double per_second, double burst, Clock::time_point now)
      : per_second_(per_second), most_(burst), filled_at_(now), tell_again_at_(now) {}

  /// Counts a message, for one token.
  Result Count(Clock::time_point now) { return Spend(1, 1, now) ? Result::kAccepted : Refuse(now); }

  /// Counts the octets of a message, a token each. One goes as long as any token is left, however large.
  Result CountOctets(std::size_t octets, Clock::time_point now) {
    return SpendOctets(octets, now) ? Result::kAccepted : Refuse(now);
  }

  /// The same, for who tells the client nothing.
  bool SpendOne(Clock::time_point now) { return SpendOneAbove(0, now); }
  bool SpendOctets(std::size_t octets, Clock::time_point now) {
    return Spend(static_cast<double>(octets), std::numeric_limits<double>::min(), now);
  }

  /// Likewise, and this part of what can be saved is left to others.
  bool SpendOneAbove(double part, Clock::time_point now) { return Spend(1, 1 + part * most_, now); }

  /// A message goes over another limit: whether the client is to be told.
  Result Refuse(Clock::time_point now) {
    if (now < tell_again_at_) return Result::kDropped;
    tell_again_at_ = now + std::chrono::seconds(1);
    return Result::kRejected;
  }

  bool HasAny(Clock::time_point now) {
    Fill(now);
    return tokens_ > 0;
  }

  /// How much is missing of what can be saved, as a part of it.
  double MissingPart(Clock::time_point now) {
    Fill(now);
    return 1 - tokens_ / most_;
  }

  /// Takes so many tokens. False when more were taken before than there were.
  bool Take(double tokens, Clock::time_point now) {
    Fill(now);
    const bool is_within_limit = tokens_ >= 0;
    tokens_ -= tokens;
    return is_within_limit;
  }

  /// Gives tokens back.
  void Give(double tokens) { tokens_ = std::min(most_, tokens_ + tokens); }

 private:
  /// Takes tokens when there are at least so many.
  bool Spend(double tokens, double least, Clock::time_point now) {
    Fill(now);
    if (tokens_ < least) return false;
    tokens_ -= tokens;
    return true;
  }

  void Fill(Clock::time_point now) {
    Give(std::chrono::duration<double>(now - filled_at_).count() * per_second_);
    filled_at_ = now;
  }

  double per_second_;
  double most_;
  double tokens_ = 0;
  Clock::time_point filled_at_;
  Clock::time_point tell_again_at_;
};

}  // namespace probe
