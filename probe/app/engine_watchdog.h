#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <thread>

#include "platform/utilities/locks.h"

namespace probe {

/// Answers for the engine: gives a sign of life again and again, until the engine makes no progress any more.
///
/// Signs come ten times in each interval. After half an interval without progress there are none, and the log says why,
/// so that the service manager restarts the probe when the interval is over; progress brings them back.
///
/// Owner:   whoever starts the engine; destroyed before what `progress` looks at.
/// Threads: its own calls both functions.
class EngineWatchdog {
 public:
  /// `progress` gives a number that changes with each step of the engine.
  EngineWatchdog(std::chrono::microseconds interval, std::function<double()> progress, std::function<void()> give_sign);

  /// Gives no sign from now on.
  ~EngineWatchdog();
  EngineWatchdog(const EngineWatchdog&) = delete;
  EngineWatchdog& operator=(const EngineWatchdog&) = delete;

 private:
  using Clock = std::chrono::steady_clock;

  void Run() VEXORA_EXCLUDES(lock_);
  bool IsStuck(Clock::time_point now);

  const std::chrono::microseconds interval_;
  const std::function<double()> progress_;
  const std::function<void()> give_sign_;
  double last_progress_ = 0;
  Clock::time_point progressed_at_;
  bool is_told_ = false;         // that the engine is stuck
  utilities::lock::Mutex lock_;  // leaf
  utilities::lock::CondVar stopped_;
  bool is_stopped_ VEXORA_GUARDED_BY(lock_) = false;
  std::thread thread_;
};

}  // namespace probe
