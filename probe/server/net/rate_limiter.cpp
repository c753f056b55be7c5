#include "probe/server/net/rate_limiter.h"

#include <algorithm>

namespace probe {

RateLimiter::RateLimiter(std::size_t per_second, Clock::time_point now)
    : per_second_(static_cast<double>(per_second)), tokens_(per_second_), filled_at_(now), tell_again_at_(now) {}

RateLimiter::Verdict RateLimiter::Count(Clock::time_point now) {
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

}  // namespace probe
