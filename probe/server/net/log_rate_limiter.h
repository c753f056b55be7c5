#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace probe {

/// Allows so many log lines a minute and counts the others, so that a client who calls all day does not fill the log.
///
/// Threads: none of its own, no lock.
class LogRateLimiter {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::size_t kLinesAMinute = 20;

  /// Asks for one more line. Nothing: it is left out. Else how many lines were left out in the minute that is over, to
  /// be told now.
  std::optional<std::size_t> Ask(Clock::time_point now);

 private:
  Clock::time_point minute_began_at_;
  std::size_t lines_ = 0;
  std::size_t left_out_ = 0;
};

/// Logs which clients were refused, within a `LogRateLimiter`; the lines left out are counted in the next one.
///
/// Threads: the event loop only.
class RejectionLog {
 public:
  using Clock = LogRateLimiter::Clock;

  void Note(const std::string& who, const std::string& why, Clock::time_point now);

 private:
  LogRateLimiter limiter_;
};

}  // namespace probe
