#pragma once

#include <string>

#include "probe/server/net/log_rate_limiter.h"

namespace probe {

/// Logs who was refused, within a `LogRateLimiter`. What was left out is counted and said with the next line.
///
/// Threads: the server thread only.
class RejectionLog {
 public:
  using Clock = LogRateLimiter::Clock;

  void Note(const std::string& who, const std::string& why, Clock::time_point now);

 private:
  LogRateLimiter budget_;
};

}  // namespace probe
