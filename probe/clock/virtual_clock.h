#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "probe/clock/clock.h"

namespace probe {

/// A clock that stands still until somebody moves it.
///
/// One thread, the driver, moves it; one other, the engine, sleeps on it. Between them they run passes one at a time:
/// the driver wakes the sleeper and waits until it sleeps again. Nothing of it depends on how fast the machine is.
///
/// Does not model: several sleepers; a second one would wake with the first.
class VirtualClock final : public Clock {
 public:
  explicit VirtualClock(time_t start);

  timeval Now() override;
  unsigned Sleep(unsigned seconds) override;

  /// Sets the clock without waking anybody. It may go backwards.
  void Set(time_t now);

  /// Blocks until the engine sleeps. Threads: the driver.
  void AwaitSleeper();

  /// Sets the clock, wakes the engine and blocks until it sleeps again, that is until its pass is done. Waits first for
  /// the engine to fall asleep. Threads: the driver, before `RunFreely`.
  void RunPass(time_t at);

  /// From now on every sleep ends at once and moves the clock on by its length, so that an engine that was told to
  /// stop runs to its end by itself.
  void RunFreely();

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  time_t now_;  // guarded by lock_, as is all that follows
  bool free_running_ = false;
  bool asleep_ = false;
  std::uint64_t sleeps_ = 0;  // sleeps begun
  std::uint64_t wakes_ = 0;   // sleeps ended by the driver
};

/// Installs a clock for as long as the scope lasts.
class ClockInstallation {
 public:
  explicit ClockInstallation(Clock& clock) { InstallClock(&clock); }
  ~ClockInstallation() { InstallClock(nullptr); }
  ClockInstallation(const ClockInstallation&) = delete;
  ClockInstallation& operator=(const ClockInstallation&) = delete;
};

}  // namespace probe
