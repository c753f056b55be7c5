#include "probe/server/net/log_rate_limiter.h"

#include <utility>

#include "probe/host/log.h"

namespace probe {

std::optional<std::size_t> LogRateLimiter::Ask(Clock::time_point now) {
  std::size_t left_out = 0;
  if (lines_ == 0 || now - minute_began_at_ >= std::chrono::minutes(1)) {
    minute_began_at_ = now;
    lines_ = 0;
    left_out = std::exchange(left_out_, 0);
  }
  if (lines_ < kLinesAMinute) {
    ++lines_;
    return left_out;
  }
  ++left_out_;
  return std::nullopt;
}

void RejectionLog::Note(const std::string& who, const std::string& why, Clock::time_point now) {
  const auto left_out = limiter_.Ask(now);
  if (!left_out) return;
  if (*left_out > 0) log::Info("[WebServer] %zu more clients were refused", *left_out);
  log::Info("[WebServer] a client at %s was refused: %s", who.c_str(), why.c_str());
}

}  // namespace probe
