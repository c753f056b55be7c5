#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// Makes the record's name the one under which the interface is shown: band and SSID ("5Ghz - Office") when it carries
/// a wireless network, else its own. The band of an unknown radio is empty.
void SetDisplayName(AttributeInfo& info);

/// The readings that `now` has to be counted from; see `CounterBase`.
Counters AfterRestart(const Counters& last, const Counters& now);

/// The seconds from one reading to the next; 0 when the device's clock stood still, was set back, or the difference
/// overflows a signed 64-bit number.
std::uint64_t SampleInterval(time_t last, time_t now);

/// The mean speed between two readings of counters that did not restart, `seconds` apart. Rounded down.
///
/// An interval of 0 gives speed 0.
Traffic SpeedBetween(const Counters& last, const Counters& now, std::uint64_t seconds);

/// One interface from its last reading to this one.
struct Step {
  Counters last;
  Counters now;
  time_t last_sample_time = 0;  ///< Of the last reading, by the device's clock; 0 when there was none.
  time_t sample_time = 0;       ///< Of this reading. Equal to the last one: the device did not refresh its counters.
  time_t polling_time = 0;      ///< Pass time of this reading.
};

/// The sample by which a step extends a history of the "1m" view: the speed between the readings, or the newest speed
/// again when the device did not refresh its counters.
///
/// Nothing when the history is empty and the counters, not both 0, have not moved: the first speed of an interface is
/// to be one that was measured.
std::optional<Traffic> NextSample(const History& history, const Step& step);

}  // namespace monitoring::traffic
