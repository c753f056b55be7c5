#pragma once

#include <chrono>

#include "platform/utilities/locks.h"

namespace probe {

/// Tells a thread that works at intervals to stop, also while it waits for the next one.
///
/// Threads: any; one sets it, the working thread waits. Fails: never.
class StopFlag {
 public:
  /// Ends the wait that goes on, and every later one. It cannot be taken back.
  void Set() VEXORA_EXCLUDES(lock_) {
    const utilities::lock::lock_guard held(lock_);
    is_set_ = true;
    changed_.NotifyAll();
  }

  /// Waits until `deadline`, or until the flag is set. True when it is.
  bool IsSetBefore(std::chrono::steady_clock::time_point deadline) VEXORA_EXCLUDES(lock_) {
    const utilities::lock::lock_guard held(lock_);
    while (!is_set_ && changed_.WaitUntil(lock_, deadline)) {
    }
    return is_set_;
  }

 private:
  utilities::lock::Mutex lock_;  // leaf lock: no other lock is taken while it is held
  utilities::lock::CondVar changed_;
  bool is_set_ VEXORA_GUARDED_BY(lock_) = false;
};

}  // namespace probe
