#pragma once

#include <cstdint>
#include <optional>

#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

/// One reading of one octet counter, with what tells a wrap from a restart.
struct CounterReading {
  OctetCounter counter;
  std::int64_t read_at = 0;                          ///< By the device's clock, in hundredths of a second.
  std::uint32_t device_starts = 0;                   ///< Grows by one with each restart of the device.
  std::optional<std::uint32_t> discontinuity_ticks;  ///< ifCounterDiscontinuityTime; nothing: not given.
  std::optional<std::uint64_t> bits_per_second;      ///< Speed of the link; nothing: not known.
  bool restarts_alone =
      false;  ///< Whether going back is itself the evidence: a client's counters, at each association.
};

/// What became of a counter from one reading to the next.
enum class CounterStep {
  kFirst,      ///< There was no reading before.
  kCounted,    ///< It went on, through a wrap if need be.
  kRestarted,  ///< It restarted: `value` is what it has counted since.
  kGap,        ///< What it counted cannot be told: `value` stays.
};

/// An octet counter of a device, continued as one of 64 bits that falls only when the device's counter restarted.
///
/// Whoever takes two of its values and counts as the contract says (the difference, or the later value when it is the
/// smaller one) never gets more than the device has counted in between, as long as evidence of restarts is there.
///
/// A counter that went back is judged by evidence, in this order:
/// 1. the device restarted, or the counter's discontinuity time changed: a restart, if what it shows now can have been
///    counted since the last reading;
/// 2. the way through the wrap can have been counted at the speed of the link: a wrap;
/// 3. a gap. The last good reading is kept, so that a counter which slips back a little is counted on from there as
///    soon as it has passed it. A second doubtful reading that goes on from the first one becomes the new start.
///
/// A Counter32 that becomes a Counter64, or the other way round, is counted on by its low 32 bits.
///
/// Source: RFC 2863, section 3.1.6 and ifCounterDiscontinuityTime; RFC 2578, sections 7.1.6 and 7.1.10.
class WidenedCounter {
 public:
  /// Takes one reading; `read_at` is later than that of the reading before.
  CounterStep Take(const CounterReading& reading);

  /// Goes on from the value that it had in an earlier run of the probe, as if that and the newest reading had followed
  /// one another; of the earlier reading only the time by the device's clock is known, and whether the device has
  /// restarted since. Returns what became of the counter until the newest reading; `kFirst` when there is none yet.
  CounterStep ContinueFrom(std::uint64_t value, std::int64_t read_at, std::uint32_t device_starts);

  /// Octets, as of the last reading that was no gap; 0 before the first.
  std::uint64_t value() const { return value_; }

 private:
  /// When a value of an earlier run was read, and how often the device had started then.
  struct Earlier {
    std::int64_t read_at = 0;
    std::uint32_t device_starts = 0;
  };

  CounterStep TakeAfterRestart(const CounterReading& reading);
  CounterStep Count(const CounterReading& reading, std::uint64_t octets);
  CounterStep Doubt(const CounterReading& reading);
  void Accept(const CounterReading& reading);

  std::uint64_t value_ = 0;
  std::optional<Earlier> earlier_;        // nothing: value_ is of this run
  std::optional<CounterReading> last_;    // the last good reading
  std::optional<OctetCounter> doubtful_;  // of the gap that lasts; nothing: there is none
};

}  // namespace probe::snmp
