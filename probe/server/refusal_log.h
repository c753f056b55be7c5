#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace probe {

/// Logs who was refused, but no more than so many lines a minute: whoever knocks all day long must not fill the log.
/// What was left out is counted and said with the next line.
///
/// Threads: the server thread only.
class RefusalLog {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::size_t kLinesAMinute = 20;

  void Note(const std::string& who, const std::string& why, Clock::time_point now);

 private:
  Clock::time_point minute_began_at_;
  std::size_t lines_ = 0;
  std::size_t left_out_ = 0;
};

}  // namespace probe
