#include "probe/clock/clock.h"

#include <atomic>

namespace probe {
namespace {

/// The machine's own clock. Talks to the kernel directly: the C library's functions may be this clock's callers.
class SystemClock final : public Clock {
 public:
  timeval Now() override {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return {.tv_sec = now.tv_sec, .tv_usec = now.tv_nsec / 1000};
  }

  unsigned Sleep(unsigned seconds) override {
    const timespec wanted{.tv_sec = static_cast<time_t>(seconds), .tv_nsec = 0};
    timespec left{};
    // The one error that there can be is EINTR: a signal has ended the sleep. clock_nanosleep(2)
    if (clock_nanosleep(CLOCK_MONOTONIC, 0, &wanted, &left) == 0) return 0;
    return static_cast<unsigned>(left.tv_sec) + 1;  // a started second counts as left
  }
};

// Need no constructor at run time: other libraries may call `time` before those of static objects have run.
constinit SystemClock system_clock;
constinit std::atomic<Clock*> installed{nullptr};

}  // namespace

Clock* InstallClock(Clock* clock) {
  return installed.exchange(clock);
}

Clock& InstalledClock() {
  Clock* clock = installed.load();
  return clock != nullptr ? *clock : system_clock;
}

}  // namespace probe
