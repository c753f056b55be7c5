#include "probe/clock/virtual_clock.h"

namespace probe {

VirtualClock::VirtualClock(time_t start) : now_(start) {}

timeval VirtualClock::Now() {
  const std::lock_guard held(lock_);
  return {.tv_sec = now_, .tv_usec = 0};
}

unsigned VirtualClock::Sleep(unsigned seconds) {
  std::unique_lock held(lock_);
  if (free_running_) {
    now_ += static_cast<time_t>(seconds);
    return 0;
  }
  const std::uint64_t wakes_before = wakes_;
  ++sleeps_;
  asleep_ = true;
  changed_.notify_all();
  changed_.wait(held, [&] { return wakes_ != wakes_before || free_running_; });
  asleep_ = false;
  if (wakes_ == wakes_before) now_ += static_cast<time_t>(seconds);
  return 0;
}

void VirtualClock::Set(time_t now) {
  const std::lock_guard held(lock_);
  now_ = now;
}

void VirtualClock::AwaitSleeper() {
  std::unique_lock held(lock_);
  changed_.wait(held, [&] { return asleep_; });
}

void VirtualClock::RunPass(time_t at) {
  std::unique_lock held(lock_);
  changed_.wait(held, [&] { return asleep_; });
  now_ = at;
  const std::uint64_t sleeps_before = sleeps_;
  ++wakes_;
  changed_.notify_all();
  changed_.wait(held, [&] { return sleeps_ != sleeps_before; });
}

void VirtualClock::RunFreely() {
  const std::lock_guard held(lock_);
  free_running_ = true;
  changed_.notify_all();
}

}  // namespace probe
