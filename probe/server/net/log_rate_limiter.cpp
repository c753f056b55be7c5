#include "probe/server/net/log_rate_limiter.h"

#include <utility>

namespace probe {

LogRateLimiter::Verdict LogRateLimiter::Ask(Clock::time_point now) {
  Verdict verdict;
  if (lines_ == 0 || now - minute_began_at_ >= std::chrono::minutes(1)) {
    minute_began_at_ = now;
    lines_ = 0;
    verdict.left_out = std::exchange(left_out_, 0);
  }
  verdict.may_be_written = lines_ < kLinesAMinute;
  ++(verdict.may_be_written ? lines_ : left_out_);
  return verdict;
}

}  // namespace probe
