#pragma once

#include <cstdint>
#include <ctime>
#include <limits>

// Arithmetic on two readings of a device's octet counters, for every monitor that turns counters into differences.
namespace monitoring {

/// The reading that a counter has to be counted from: the last one, or 0 when the counter is below it. A counter that
/// fell restarted with its device, and counts from 0 since.
constexpr std::uint64_t CounterBase(std::uint64_t last, std::uint64_t now) {
  return now < last ? 0 : last;
}

/// How far a counter got between two readings, as far as can be known: what a counter had counted after the last
/// reading and before its restart is lost.
constexpr std::uint64_t CounterIncrease(std::uint64_t last, std::uint64_t now) {
  return now - CounterBase(last, now);
}

/// The seconds from one time to a later one; 0 when the clock stood still or was set back.
///
/// Exact for any two times, also those that lie further apart than a `time_t` can count.
constexpr std::uint64_t SecondsBetween(time_t earlier, time_t later) {
  if (later <= earlier) return 0;
  return static_cast<std::uint64_t>(std::int64_t{later}) - static_cast<std::uint64_t>(std::int64_t{earlier});
}

/// A number of seconds for a record that holds 32 bits of them: the greatest that it can hold, when there are more.
constexpr std::int32_t SaturatedSeconds(std::uint64_t seconds) {
  constexpr std::uint64_t kMaxSeconds = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(seconds < kMaxSeconds ? seconds : kMaxSeconds);
}

}  // namespace monitoring
