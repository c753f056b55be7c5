#include "probe/server/net/log_rate_limiter.h"

#include <utility>

#include "probe/host/log.h"

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

void RejectionLog::Note(const std::string& who, const std::string& why, Clock::time_point now) {
  const auto line = limiter_.Ask(now);
  if (line.left_out > 0) log::Info("[WebServer] %zu more clients were refused", line.left_out);
  if (line.may_be_written) log::Info("[WebServer] a client at %s was refused: %s", who.c_str(), why.c_str());
}

}  // namespace probe
