#pragma once

#include <semaphore.h>

#include <cstdint>

#include "platform/utilities/locks.h"
#include "probe/clock/clock.h"

namespace probe {

/// A clock that stands still until somebody moves it.
///
/// One thread, the driver, moves it; one other, the engine, sleeps on it. Between them they run passes one at a time:
/// the driver wakes the sleeper and waits until it sleeps again. Nothing of it depends on how fast the machine is.
///
/// A signal ends a sleep early, as it does with the C library's, and the clock then moves on by the whole length of the
/// sleep: so the pass that a stop still lets run is a minute later than the last.
///
/// Does not model: several sleepers at a time.
class VirtualClock final : public Clock {
 public:
  explicit VirtualClock(time_t start);
  ~VirtualClock() override;
  VirtualClock(const VirtualClock&) = delete;
  VirtualClock& operator=(const VirtualClock&) = delete;

  timeval Now() override;
  unsigned Sleep(unsigned seconds) override;

  /// Sets the clock without waking anybody. It may go backwards.
  void Set(time_t now);

  /// Blocks until the engine sleeps. Threads: the driver.
  void AwaitSleeper();

  /// Waits for the engine to fall asleep, sets the clock, wakes the engine and blocks until it sleeps again, that is
  /// until its pass is done. Threads: the driver.
  void RunPass(time_t at);

 private:
  utilities::lock::Mutex lock_;
  utilities::lock::CondVar changed_;  // a sleep has begun
  time_t now_ VEXORA_GUARDED_BY(lock_);
  bool is_asleep_ VEXORA_GUARDED_BY(lock_) = false;
  std::uint64_t sleeps_ VEXORA_GUARDED_BY(lock_) = 0;  // sleeps begun
  sem_t wake_{};  // posted once for each pass; a semaphore, because its wait ends with a signal
};

}  // namespace probe
