#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <tuple>

namespace probe::centre {

/// A text as the stream has it.
struct SiteText {
  std::string site;
  std::string topic;
  std::string id;                   ///< What follows site and topic in its message id: the time that it is of.
  std::int64_t stored_at_ns = 0;    ///< When a server stored it, nanoseconds since the epoch by that server's clock.
  std::int64_t stream_made_ns = 0;  ///< When the stream was made, likewise: one that is made anew counts anew.
  std::uint64_t sequence = 0;       ///< Its place in the stream.
  std::string text;

  /// Whether the stream took it in behind another one; clocks of servers, which may differ, do not count.
  bool IsBehind(const SiteText& other) const {
    return std::tie(stream_made_ns, sequence) > std::tie(other.stream_made_ns, other.sequence);
  }

  /// Of when it tells, seconds since the epoch: the time of its id, but not later than it was stored, for the clock of
  /// a simulated network runs ahead. What a spool has kept is older than it was stored.
  time_t told_at() const;

  /// When it was stored, in seconds.
  time_t stored_at() const {
    constexpr std::int64_t kSecond = 1'000'000'000;
    return static_cast<time_t>(stored_at_ns / kSecond);
  }
};

}  // namespace probe::centre
