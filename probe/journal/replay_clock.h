#pragma once

#include <atomic>
#include <ctime>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"

namespace probe::journal {

/// The clock of a process whose engine makes passes of the past while everybody else lives in the present: on top of
/// the clock that was installed before, which all other threads see, a virtual one for the engine.
///
/// In the end the engine is handed over to the clock beneath, asleep as it is.
///
/// Threads: one drives the passes. The engine is the thread that sleeps on it.
class ReplayClock final : public Clock {
 public:
  explicit ReplayClock(time_t start) : beneath_(InstalledClock()), virtual_(start) {}

  timeval Now() override;
  unsigned Sleep(unsigned seconds) override;

  /// While it lives, its thread sees the engine's time, too.
  class OnThisThread {
   public:
    explicit OnThisThread(const ReplayClock& clock);
    ~OnThisThread();
    OnThisThread(const OnThisThread&) = delete;
    OnThisThread& operator=(const OnThisThread&) = delete;
  };

  /// As those of `VirtualClock`.
  void AwaitSleeper() { virtual_.AwaitSleeper(); }
  void RunPass(time_t at) { virtual_.RunPass(at); }

  /// Lets the engine, which sleeps, go on sleeping on the clock beneath, for the whole of its time. From now on this
  /// clock is that one.
  void HandOver();

 private:
  Clock& beneath_;
  VirtualClock virtual_;
  std::atomic<bool> is_over_{false};
  ClockInstallation installation_{*this};
};

}  // namespace probe::journal
