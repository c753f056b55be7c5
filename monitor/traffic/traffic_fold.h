#pragma once

#include <cstdint>
#include <ctime>

#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// The octet counters of one interface at one reading.
struct Counters {
  std::uint64_t in = 0;   ///< Octets received since the counter restarted.
  std::uint64_t out = 0;  ///< Octets sent, likewise.

  friend bool operator==(const Counters&, const Counters&) = default;
};

/// Where `last` has to be counted from: a counter that is below its last reading restarted, and counts from 0.
Counters AfterRestart(const Counters& last, const Counters& now);

/// The seconds from one reading to the next; 0 when the device's clock stood still, was set back, or the difference
/// overflows a signed 64-bit number.
std::uint64_t SampleInterval(time_t last, time_t now);

/// The mean speed between two readings of counters that did not restart, `seconds` apart. Rounded down.
///
/// An interval of 0 gives speed 0.
Traffic SpeedBetween(const Counters& last, const Counters& now, std::uint64_t seconds);

}  // namespace monitoring::traffic
