#pragma once

#include <atomic>
#include <ctime>
#include <functional>
#include <optional>

#include "probe/clock/clock.h"

namespace probe::journal {

/// The clock of a process whose engine makes passes of the past while everybody else lives in the present: on top of
/// the clock that was installed before, which all other threads see.
///
/// The engine, which sleeps before each pass, is the thread that makes the past ready for the next one, in place of
/// sleeping: to hand each pass over between two threads costs more than many a pass. When the past is over, it goes on
/// sleeping on the clock beneath.
///
/// Threads: the engine is the thread that sleeps on it; the rest any.
class ReplayClock final : public Clock {
 public:
  /// Makes everything ready for the next pass and gives its time; nothing when there is none. Called on the engine's
  /// thread.
  using NextPass = std::function<std::optional<time_t>()>;

  ReplayClock(time_t start, NextPass next_pass);

  timeval Now() override;
  unsigned Sleep(unsigned seconds) override;

  /// From now on this clock is the one beneath. The engine's next sleep, or the one that it is in, is the present's.
  void End() { is_over_.store(true); }

  /// While it lives, its thread sees the engine's time, too.
  class OnThisThread {
   public:
    explicit OnThisThread(const ReplayClock& clock);
    ~OnThisThread();
    OnThisThread(const OnThisThread&) = delete;
    OnThisThread& operator=(const OnThisThread&) = delete;
  };

 private:
  Clock& beneath_;
  const NextPass next_pass_;
  std::atomic<time_t> now_;
  std::atomic<bool> is_over_{false};
  ClockInstallation installation_{*this};
};

}  // namespace probe::journal
