#include "probe/recording/pass_clock.h"

#include <algorithm>
#include <utility>

#include "probe/clock/pass_phase.h"
#include "probe/host/memory_cleanup.h"

using utilities::lock::lock_guard;

namespace probe::recording {

PassClock::PassClock(DeviceCentre& centre, std::vector<PassObserver*> observers)
    : centre_(centre), clock_(InstalledClock()), observers_(std::move(observers)) {}

PassClock::~PassClock() {
  // The pass that runs while the engine is stopped is not ended by a sleep.
  EndPass();
}

timeval PassClock::Now() {
  {
    const lock_guard held(lock_);
    // Time stands still for the engine only: sources and clients need theirs to go on.
    if (is_in_pass_ && pthread_equal(engine_, pthread_self()) != 0) return pass_time_;
  }
  return clock_.Now();
}

unsigned PassClock::Sleep(unsigned seconds) {
  EndPass();
  const unsigned left = clock_.Sleep(seconds);
  BeginPass();
  return left;
}

void PassClock::BeginPass() {
  // Clean-ups first: one that came through with the devices held already would be of a device that is in the pass.
  HoldCleanUpsForPass();
  centre_.Hold();
  const timeval now = clock_.Now();
  {
    const lock_guard held(lock_);
    engine_ = pthread_self();
    pass_time_ = now;
    is_in_pass_ = true;
  }
  // Without lock_: observers take locks of their own.
  for (PassObserver* const observer : observers_) observer->OnPassBegins(now.tv_sec);
}

void PassClock::EndPass() {
  {
    const lock_guard held(lock_);
    if (!std::exchange(is_in_pass_, false)) return;
  }
  EnterPassPhase(PassPhase::kHost);
  std::for_each(observers_.rbegin(), observers_.rend(), [](PassObserver* observer) { observer->OnPassEnds(); });
  centre_.Release();
  ReleaseCleanUpsAfterPass();
}

}  // namespace probe::recording
