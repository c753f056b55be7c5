#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

#include "platform/utilities/locks.h"
#include "probe/clock/clock.h"
#include "probe/clock/duration_histogram.h"
#include "probe/clock/pass_phase.h"

namespace probe {

/// How long a pass took, and how late it began, by the wall's time whatever the pace of the probe's clock.
struct PassTiming {
  std::chrono::milliseconds duration{0};
  std::chrono::milliseconds lateness{0};  ///< Beyond the time that the engine sleeps between two passes.
};

/// All passes since the start.
struct PassTotals {
  DurationHistogram durations;
  std::array<DurationHistogram, kPassPhases> phases;  ///< By `PassPhase`.
  std::uint64_t late = 0;                             ///< Those that began more than a second too late.
  std::uint64_t skipped = 0;                          ///< How many more there were, had none been late.
};

/// A clock on top of the one that was installed before, which measures the passes: the engine sleeps in between.
///
/// The engine sleeps for a minute after each pass, so a pass that takes long makes the next one as late.
/// Owner: the application. Threads: one makes it and lets it go, while no engine runs; any asks.
class PassTimer final : public Clock {
 public:
  /// Passes of which the worst is told: an hour of them.
  static constexpr std::size_t kPasses = 60;

  /// `speed`: how many times faster than the wall's that clock runs.
  explicit PassTimer(unsigned speed = 1) : speed_(speed), clock_(InstalledClock()) {}
  PassTimer(const PassTimer&) = delete;
  PassTimer& operator=(const PassTimer&) = delete;

  timeval Now() override { return clock_.Now(); }
  unsigned Sleep(unsigned seconds) override VEXORA_EXCLUDES(lock_);

  /// Grows when a pass begins and when one ends. Threads: any.
  std::uint64_t steps() const { return steps_.load(std::memory_order_relaxed); }

  /// The last pass that is over; nothing: there is none yet.
  std::optional<PassTiming> last() const VEXORA_EXCLUDES(lock_);

  /// The longest and the greatest lateness of the last `kPasses`.
  std::optional<PassTiming> worst() const VEXORA_EXCLUDES(lock_);

  PassTotals totals() const VEXORA_EXCLUDES(lock_);

 private:
  using Wall = std::chrono::steady_clock;

  void EndPass(Wall::time_point now) VEXORA_EXCLUDES(lock_);
  void NoteLateness(Wall::duration period) VEXORA_REQUIRES(lock_);

  const unsigned speed_;
  Clock& clock_;
  std::atomic<std::uint64_t> steps_{0};
  mutable utilities::lock::Mutex lock_;  // leaf
  std::deque<PassTiming> passes_ VEXORA_GUARDED_BY(lock_);
  std::optional<Wall::time_point> begun_ VEXORA_GUARDED_BY(lock_);  // the pass that runs
  Wall::duration lateness_ VEXORA_GUARDED_BY(lock_){};              // of that pass
  PassTotals totals_ VEXORA_GUARDED_BY(lock_);
  Wall::duration lost_ VEXORA_GUARDED_BY(lock_){};  // lateness that has not added up to a skipped pass yet
  ClockInstallation installation_{*this};           // last: the rest is ready when somebody asks for the time
};

}  // namespace probe
