#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <optional>

#include "probe/sources/snmp/reading.h"

namespace probe::snmp {

/// When a device was asked, by this machine's clocks. Its uptime comes with the first answer of a poll, so the start of
/// the poll is meant.
struct PollTime {
  std::int64_t steady_ticks = 0;    ///< Hundredths of a second, by a clock that is never set.
  time_t wall = 0;                  ///< Seconds since the epoch; may step.
  std::int64_t duration_ticks = 0;  ///< How long the poll took.
};

/// The clock of one device, made from its uptime, and what its uptimes tell about restarts.
///
/// It starts at the wall clock's time and then goes on as the device counts, so that octets and seconds between two
/// readings come from the same machine, and no step of our own clock becomes a step of a speed. Where the device gives
/// no uptime, or one that does not keep pace with our steady clock, the latter stands in. Of several uptimes the first
/// of these counts: sysUpTime, hrSystemUptime, snmpEngineTime, the maker's own.
///
/// A device whose uptime went back, or is less than the time since the last reading, has restarted. That sysUpTime,
/// hrSystemUptime and a maker's own of 32 bits start again from 0, after 497 days, is no restart: snmpEngineTime goes
/// on meanwhile; where there is none, the way through the wrap is as long as the time between the readings.
///
/// Units:   ticks are hundredths of a second.
/// Threads: one.
/// Source:  RFC 3418, sysUpTime; RFC 2790, hrSystemUptime; RFC 3411, snmpEngineTime.
class DeviceTime {
 public:
  enum class Step {
    kNew,        ///< A later moment of the device, or its first one.
    kSame,       ///< The device's clock has not moved: the same reading once more.
    kRestarted,  ///< A later moment, after a restart.
  };

  /// A reading with the same uptime as the one before is no new one; after so many in a row the clock stands still.
  static constexpr unsigned kMaxSame = 3;

  Step Take(const SystemReading& system, const PollTime& arrival);

  /// The device's clock at the last reading: ticks since the epoch.
  std::int64_t now_ticks() const { return now_ticks_; }

  /// How often the device restarted since the first reading.
  std::uint32_t starts() const { return starts_; }

  /// The time since the device started: what the maker's own objects give, else the longest of the others, for an agent
  /// may have started after its machine. Nothing: the last reading had none.
  std::optional<std::uint64_t> uptime_seconds() const { return uptime_seconds_; }

 private:
  enum Source : std::size_t { kSys, kHost, kEngine, kProfile, kSources };
  using Uptimes = std::array<std::optional<std::int64_t>, kSources>;  // ticks

  /// One uptime, as it was last given.
  struct LastUptime {
    std::int64_t ticks = 0;
    std::int64_t steady_ticks = 0;  // our clock then
    std::int64_t now_ticks = 0;     // the device's clock then
    std::int64_t wraps = 0;         // since the device started
  };

  /// How one uptime got on since it was last given.
  struct Progress {
    std::int64_t ticks = 0;
    std::int64_t elapsed = 0;  // by our clock
    std::int64_t since = 0;    // the device's clock at its start
    bool has_wrapped = false;
    bool has_restarted = false;
  };

  std::optional<Progress> ProgressOf(Source source, const Uptimes& uptimes, std::int64_t steady_ticks) const;
  std::optional<bool> HasEngineGoneOn(const Uptimes& uptimes, std::int64_t steady_ticks) const;
  Step Advance(const std::optional<Progress>& progress, std::int64_t steady_ticks);
  void Remember(const Uptimes& uptimes, const std::array<std::optional<Progress>, kSources>& progress);
  std::optional<std::uint64_t> LongestUptime(const Uptimes& uptimes) const;
  std::int64_t WrapOf(Source source) const;

  std::array<std::optional<LastUptime>, kSources> last_;
  std::int64_t profile_wrap_ = 0;  // ticks after which the maker's own uptime begins anew; 0: it does not
  bool is_first_ = true;
  std::int64_t steady_ticks_ = 0;  // our clock at the last reading
  std::int64_t now_ticks_ = 0;
  std::uint32_t starts_ = 0;
  unsigned same_ = 0;  // readings in a row whose uptime had not moved
  std::optional<std::uint64_t> uptime_seconds_;
};

}  // namespace probe::snmp
