#pragma once

#include <string>

#include "probe/server/net/log_rate_limiter.h"

namespace probe {

/// Logs who was refused, within a `LineBudget`. What was left out is counted and said with the next line.
///
/// Threads: the server thread only.
class RefusalLog {
 public:
  using Clock = LineBudget::Clock;

  void Note(const std::string& who, const std::string& why, Clock::time_point now);

 private:
  LineBudget budget_;
};

}  // namespace probe
