#include "probe/clock/virtual_clock.h"

#include <limits>

namespace probe {

VirtualClock::VirtualClock(time_t start) : now_(start) {
  sem_init(&wake_, 0, 0);
}

VirtualClock::~VirtualClock() {
  sem_destroy(&wake_);
}

timeval VirtualClock::Now() {
  const std::lock_guard held(lock_);
  return {.tv_sec = now_, .tv_usec = 0};
}

unsigned VirtualClock::Sleep(unsigned seconds) {
  {
    const std::lock_guard held(lock_);
    ++sleeps_;
    is_asleep_ = true;
    changed_.notify_all();
  }
  const bool is_interrupted = sem_wait(&wake_) != 0;
  const std::lock_guard held(lock_);
  is_asleep_ = false;
  if (is_interrupted && __builtin_add_overflow(now_, seconds, &now_)) now_ = std::numeric_limits<time_t>::max();
  return 0;
}

void VirtualClock::Set(time_t now) {
  const std::lock_guard held(lock_);
  now_ = now;
}

void VirtualClock::AwaitSleeper() {
  std::unique_lock held(lock_);
  changed_.wait(held, [&] { return is_asleep_; });
}

void VirtualClock::RunPass(time_t at) {
  std::unique_lock held(lock_);
  changed_.wait(held, [&] { return is_asleep_; });
  now_ = at;
  const std::uint64_t sleeps_before = sleeps_;
  sem_post(&wake_);
  changed_.wait(held, [&] { return sleeps_ != sleeps_before; });
}

}  // namespace probe
