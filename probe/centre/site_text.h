#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace probe::centre {

/// A text as the stream has it.
struct SiteText {
  std::string site;
  std::string topic;
  std::string id;                 ///< What follows site and topic in its message id: the time that it is of.
  std::int64_t stored_at_ns = 0;  ///< When a server stored it, nanoseconds since the epoch by that server's clock.
  std::string text;

  /// The same in seconds.
  time_t stored_at() const {
    constexpr std::int64_t kSecond = 1'000'000'000;
    return static_cast<time_t>(stored_at_ns / kSecond);
  }
};

}  // namespace probe::centre
