#include "probe/clock/virtual_clock.h"

#include <limits>

using utilities::lock::lock_guard;

namespace probe {

VirtualClock::VirtualClock(time_t start) : now_(start) {
  sem_init(&wake_, 0, 0);
}

VirtualClock::~VirtualClock() {
  sem_destroy(&wake_);
}

timeval VirtualClock::Now() {
  const lock_guard held(lock_);
  return {.tv_sec = now_, .tv_usec = 0};
}

unsigned VirtualClock::Sleep(unsigned seconds) {
  {
    const lock_guard held(lock_);
    ++sleeps_;
    is_asleep_ = true;
    changed_.NotifyAll();
  }
  // A post before this call is not lost: the semaphore counts it.
  const bool is_interrupted = sem_wait(&wake_) != 0;
  const lock_guard held(lock_);
  is_asleep_ = false;
  if (is_interrupted && __builtin_add_overflow(now_, seconds, &now_)) now_ = std::numeric_limits<time_t>::max();
  return 0;
}

void VirtualClock::Set(time_t now) {
  const lock_guard held(lock_);
  now_ = now;
}

void VirtualClock::AwaitSleeper() {
  const lock_guard held(lock_);
  while (!is_asleep_) changed_.Wait(lock_);
}

void VirtualClock::RunPass(time_t at) {
  const lock_guard held(lock_);
  while (!is_asleep_) changed_.Wait(lock_);
  now_ = at;
  // Counted, because `is_asleep_` still tells of the old sleep until the woken thread has the lock.
  const std::uint64_t sleeps_before = sleeps_;
  sem_post(&wake_);
  while (sleeps_ == sleeps_before) changed_.Wait(lock_);
}

}  // namespace probe
