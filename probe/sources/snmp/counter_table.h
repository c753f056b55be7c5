#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "probe/sources/snmp/counter_widening.h"
#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

/// The two octet counters of one row, and what is known about them.
struct CounterRow {
  std::string name;  ///< Unique in the table; it, and not the row's number, is what a counter belongs to.
  std::optional<OctetCounter> in;
  std::optional<OctetCounter> out;
  std::optional<std::uint32_t> discontinuity_ticks;  ///< As in `CounterReading`, like the next two.
  std::optional<std::uint64_t> bits_per_second;
  bool restarts_alone = false;
};

/// The moment of a reading, by `DeviceTime`.
struct ReadingMoment {
  std::int64_t now_ticks = 0;
  std::uint32_t device_starts = 0;
};

/// Octets of one row, each continued as `WidenedCounter` does.
struct RowOctets {
  std::uint64_t in = 0;
  std::uint64_t out = 0;
  bool is_measured = false;  ///< Both counters are there and without a gap in the newest reading.
};

/// The octet counters of the rows of one table, reading by reading.
///
/// Threads: one.
class CounterTable {
 public:
  /// Readings in a row that are held back for a gap. After that the rows with gaps are handed on unmeasured, lest one
  /// faulty counter keeps all others from being seen.
  static constexpr unsigned kMaxHeldBack = 2;

  /// Rows that were there once and whose counters are kept for the case that they come back.
  static constexpr std::size_t kMaxAbsent = 1024;
  static constexpr std::int64_t kMaxAbsentTicks = 100 * 600;

  /// Takes a reading of all rows. False: one of them has a gap, and the reading is not to be handed on as a new one.
  bool Take(const std::vector<CounterRow>& rows, const ReadingMoment& moment);

  /// Goes on from the octets that rows had in an earlier run of the probe, as `WidenedCounter::ContinueFrom` does. The
  /// newest reading may have been taken already.
  void ContinueFrom(const std::map<std::string, RowOctets>& rows, const ReadingMoment& earlier);

  /// The octets of a row of the newest reading; both 0 and unmeasured for a row that was never there.
  RowOctets Find(const std::string& name) const;

 private:
  struct Entry {
    WidenedCounter in;
    WidenedCounter out;
    bool is_measured = false;
    std::int64_t seen_at = 0;
  };

  /// Whether the row has a gap now.
  static bool TakeRow(const CounterRow& row, const ReadingMoment& moment, Entry& entry);
  void DropAbsent(std::int64_t now_ticks);

  std::map<std::string, Entry> entries_;
  unsigned held_back_ = 0;
};

}  // namespace probe::snmp
