#pragma once

#include <cstddef>

// What keeps the memory of a report bounded, the same for both reports.
namespace monitoring {

inline constexpr std::size_t kMaxReportDays = 7;   ///< Day buckets that a report keeps; the oldest is dropped first.
inline constexpr std::size_t kMaxReportWeeks = 4;  ///< Week buckets that a report keeps, likewise.

}  // namespace monitoring
