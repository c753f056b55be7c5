#pragma once

#include <cstdint>
#include <limits>

namespace vexora_probe::monitor {

/// `dividend` / `divisor` as IEEE 754 has it: 0 as divisor gives infinity or not-a-number, which a report shows as such
/// in the first five minutes of a day.
inline double Quotient(double dividend, std::int32_t divisor) {
  static_assert(std::numeric_limits<double>::is_iec559, "a division by zero must have a result");
  return dividend / static_cast<double>(divisor);
}

}  // namespace vexora_probe::monitor
