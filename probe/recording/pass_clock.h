#pragma once

#include <pthread.h>

#include <vector>

#include "platform/utilities/locks.h"
#include "probe/clock/clock.h"
#include "probe/host/device_centre.h"

namespace probe::recording {

/// Is told of every pass, on the engine's thread.
class PassObserver {
 public:
  virtual ~PassObserver() = default;

  /// A pass is about to begin, at this time; the devices stand still.
  virtual void OnPassBegins(time_t at) = 0;

  /// The pass is over; the devices still stand.
  virtual void OnPassEnds() = 0;
};

/// The clock of the process, on top of the one that was installed before, for those who write passes down: it learns
/// when a pass begins and ends, since the engine sleeps in between.
///
/// During a pass it freezes the devices and, for the engine, the time, as they are in a replay; clean-ups wait for its
/// end.
///
/// Owner:   the application, which has it around for as long as the plug-in runs.
/// Threads: one makes it and lets it go, while no engine runs; the rest is called by the engine and by host threads.
class PassClock final : public Clock {
 public:
  /// The observers are told in this order of a pass's beginning, in the reverse one of its end. They and `centre` must
  /// outlive the clock.
  PassClock(DeviceCentre& centre, std::vector<PassObserver*> observers);
  ~PassClock() override;
  PassClock(const PassClock&) = delete;
  PassClock& operator=(const PassClock&) = delete;

  timeval Now() override VEXORA_EXCLUDES(lock_);
  unsigned Sleep(unsigned seconds) override;

 private:
  void BeginPass() VEXORA_EXCLUDES(lock_);

  /// Releases what a pass froze, if there was one.
  void EndPass() VEXORA_EXCLUDES(lock_);

  DeviceCentre& centre_;
  Clock& clock_;
  const std::vector<PassObserver*> observers_;

  utilities::lock::Mutex lock_;
  bool is_in_pass_ VEXORA_GUARDED_BY(lock_) = false;
  pthread_t engine_ VEXORA_GUARDED_BY(lock_){};
  timeval pass_time_ VEXORA_GUARDED_BY(lock_){};

  ClockInstallation installation_{*this};  // last: the rest is ready when the engine asks for the time
};

}  // namespace probe::recording
