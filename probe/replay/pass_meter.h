#pragma once

#include <cstdint>
#include <ctime>

#include "platform/utilities/locks.h"
#include "probe/clock/clock.h"

namespace probe {

/// What the engine's passes have cost so far.
struct PassCost {
  std::uint64_t passes = 0;
  double cpu_seconds = 0;   ///< Of the engine's thread, between the end of one sleep and the beginning of the next.
  double wall_seconds = 0;  ///< Likewise, by the monotonic clock.
};

/// A clock that counts and times what happens between two sleeps of the engine, over another clock.
///
/// Threads: `Sleep` is the engine's; the rest any.
class PassMeter final : public Clock {
 public:
  /// `clock` must outlive the meter.
  explicit PassMeter(Clock& clock) : clock_(clock) {}

  timeval Now() override { return clock_.Now(); }
  unsigned Sleep(unsigned seconds) override;

  /// The pass in progress, or the last one; counted from 1, 0 before the first.
  std::uint64_t pass() const;

  /// The cost of all passes that are over.
  PassCost cost() const;

 private:
  /// Ends the pass of a thread that ends without another sleep.
  struct AtThreadEnd {
    PassMeter* meter = nullptr;
    ~AtThreadEnd() {
      if (meter != nullptr) meter->EndPass();
    }
  };

  void BeginPass();
  void EndPass();

  Clock& clock_;
  mutable utilities::lock::Mutex lock_;
  PassCost cost_ VEXORA_GUARDED_BY(lock_);
  bool is_in_pass_ VEXORA_GUARDED_BY(lock_) = false;

  // The engine's thread only: when its pass began, by its processor time and by the monotonic clock.
  timespec cpu_{};
  timespec wall_{};
};

}  // namespace probe
