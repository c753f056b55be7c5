#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace probe {

/// A token bucket: `per_second` messages a second in the long run, and as many at once.
///
/// Threads: the event loop only.
class RateLimiter {
 public:
  using Clock = std::chrono::steady_clock;

  enum class Verdict {
    kAccepted,  ///< Within the limit.
    kRejected,  ///< Over it; the client is to be told.
    kDropped,   ///< Over it, and the client was told within the last second: a flood is not answered by a flood.
  };

  RateLimiter(std::size_t per_second, Clock::time_point now)
      : per_second_(static_cast<double>(per_second)), tokens_(per_second_), filled_at_(now), tell_again_at_(now) {}

  Verdict Count(Clock::time_point now) {
    const double elapsed = std::chrono::duration<double>(now - filled_at_).count();
    tokens_ = std::min(per_second_, tokens_ + elapsed * per_second_);
    filled_at_ = now;
    if (tokens_ >= 1) {
      tokens_ -= 1;
      return Verdict::kAccepted;
    }
    if (now < tell_again_at_) return Verdict::kDropped;
    tell_again_at_ = now + std::chrono::seconds(1);
    return Verdict::kRejected;
  }

 private:
  double per_second_;
  double tokens_;
  Clock::time_point filled_at_;
  Clock::time_point tell_again_at_;
};

}  // namespace probe
