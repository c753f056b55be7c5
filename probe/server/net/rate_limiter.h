#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <limits>

namespace probe {

/// A token bucket: `per_second` tokens a second in the long run, and as many at once.
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
      : per_second_(static_cast<double>(per_second)), tokens_(per_second_), filled_at_(now), tell_again_at_(now) {}

  /// Counts a message, for one token.
  Result Count(Clock::time_point now) {
    Fill(now);
    return Spend(1, 1, now);
  }

  /// Counts the octets of a message, a token each. One goes as long as any token is left, however large.
  Result CountOctets(std::size_t octets, Clock::time_point now) {
    Fill(now);
    return Spend(static_cast<double>(octets), std::numeric_limits<double>::min(), now);
  }

  /// Takes so many tokens. False when more were taken before than there were.
  bool Take(double tokens, Clock::time_point now) {
    Fill(now);
    const bool is_within_limit = tokens_ >= 0;
    tokens_ -= tokens;
    return is_within_limit;
  }

  /// Gives tokens back.
  void Give(double tokens) { tokens_ = std::min(per_second_, tokens_ + tokens); }

 private:
  /// Takes tokens when there are at least so many.
  Result Spend(double tokens, double least, Clock::time_point now) {
    if (tokens_ >= least) {
      tokens_ -= tokens;
      return Result::kAccepted;
    }
    if (now < tell_again_at_) return Result::kDropped;
    tell_again_at_ = now + std::chrono::seconds(1);
    return Result::kRejected;
  }

  void Fill(Clock::time_point now) {
    Give(std::chrono::duration<double>(now - filled_at_).count() * per_second_);
    filled_at_ = now;
  }

  double per_second_;
  double tokens_;
  Clock::time_point filled_at_;
  Clock::time_point tell_again_at_;
};

}  // namespace probe
