#include "probe/clock/scaled_clock.h"

#include <cstdint>

namespace probe {
namespace {

constexpr std::int64_t kNanoseconds = 1'000'000'000;
constexpr std::int64_t kNanosecondsAMicrosecond = 1'000;

std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * kNanoseconds + time.tv_nsec;
}

}  // namespace

ScaledClock::ScaledClock(unsigned speed, time_t not_before) : speed_(speed) {
  // What has passed since is measured by the monotonic clock, so that setting the machine's moves nothing here.
  clock_gettime(CLOCK_MONOTONIC, &real_start_);
  clock_gettime(CLOCK_REALTIME, &start_);
  if (start_.tv_sec < not_before) start_ = {.tv_sec = not_before, .tv_nsec = 0};
}

timeval ScaledClock::Now() {
  timespec real{};
  clock_gettime(CLOCK_MONOTONIC, &real);
  const std::int64_t elapsed = (Nanoseconds(real) - Nanoseconds(real_start_)) * speed_;
  // 64 bits of nanoseconds reach to the year 2262, which the greatest speed reaches in some three weeks.
  const std::int64_t now = Nanoseconds(start_) + elapsed;
  return {.tv_sec = static_cast<time_t>(now / kNanoseconds),
          .tv_usec = static_cast<suseconds_t>(now % kNanoseconds / kNanosecondsAMicrosecond)};
}

unsigned ScaledClock::Sleep(unsigned seconds) {
  const std::int64_t real = std::int64_t{seconds} * kNanoseconds / speed_;
  const timespec wanted{.tv_sec = static_cast<time_t>(real / kNanoseconds),
                        .tv_nsec = static_cast<long>(real % kNanoseconds)};
  timespec left{};
  if (clock_nanosleep(CLOCK_MONOTONIC, 0, &wanted, &left) == 0) return 0;
  return static_cast<unsigned>(Nanoseconds(left) * speed_ / kNanoseconds) + 1;  // a started second counts as left
}

}  // namespace probe
