#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace probe {

/// What all processors together did since the machine started.
///
/// Units: clock ticks; only ratios of them mean anything.
struct CpuTimes {
  std::uint64_t busy = 0;   ///< Running something.
  std::uint64_t total = 0;  ///< All there was, idle time and waiting for a disk included.

  bool operator==(const CpuTimes&) const = default;
};

/// The times in a text of /proc/stat. Nothing when its line "cpu" is missing or no list of numbers.
///
/// Guest time counts once: the kernel has it in the user time too.
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
