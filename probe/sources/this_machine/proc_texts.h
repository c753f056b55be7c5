#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace probe {

/// CPU time of all processors together since the machine started.
///
/// Units: clock ticks (USER_HZ); only their ratios are used.
struct CpuTimes {
  std::uint64_t busy = 0;   ///< Neither idle nor waiting for a disk.
  std::uint64_t total = 0;  ///< Busy, idle and waiting for a disk.

  bool operator==(const CpuTimes&) const = default;
};

/// The times in a text of /proc/stat. Nothing when its line "cpu" is missing or no list of numbers.
///
/// Guest time counts once: the kernel includes it in the user time.
/// Source: proc(5), /proc/stat.
std::optional<CpuTimes> CpuTimesOf(std::string_view stat);

/// CPU use between two readings in percent, 0 to 100, rounded to the nearest.
///
/// 0 when no time has passed, or when a counter went backwards, as idle time may after a processor was taken out.
std::int32_t CpuPercent(const CpuTimes& before, const CpuTimes& now);

/// Whole seconds since the machine started, in a text of /proc/uptime. Nothing when there is no number.
///
/// Source: proc(5), /proc/uptime.
std::optional<std::int32_t> UptimeOf(std::string_view uptime);

}  // namespace probe
