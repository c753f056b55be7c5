#pragma once

#include <chrono>
#include <cstddef>

namespace probe {

/// Lets `per_second` messages a second pass in the long run, and as many at once.
///
/// Threads: the server thread only.
class RateLimiter {
 public:
  using Clock = std::chrono::steady_clock;

  enum class Verdict {
    kAccepted,  ///< Within the limit.
    kRejected,  ///< Over it; the client is to be told.
    kDropped,   ///< Over it, and the client was told within the last second: a flood is not answered by a flood.
  };

  RateLimiter(std::size_t per_second, Clock::time_point now);

  Verdict Count(Clock::time_point now);

 private:
  double per_second_;
  double tokens_;
  Clock::time_point filled_at_;
  Clock::time_point tell_again_at_;
};

}  // namespace probe
