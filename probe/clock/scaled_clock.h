#pragma once

#include <sys/time.h>

#include <ctime>

#include "probe/clock/clock.h"

namespace probe {

/// A clock that starts at the present and runs so many times as fast as the machine's.
///
/// A signal ends a sleep early, as it does with the C library's.
/// Threads: any.
class ScaledClock final : public Clock {
 public:
  /// `speed` is 1 or more. It starts at `not_before` where the present is earlier.
  explicit ScaledClock(unsigned speed, time_t not_before = 0);

  timeval Now() override;
  unsigned Sleep(unsigned seconds) override;

 private:
  const unsigned speed_;
  timespec real_start_{};  // the moment of construction, by CLOCK_MONOTONIC
  timespec start_{};       // the same moment by CLOCK_REALTIME
};

}  // namespace probe
