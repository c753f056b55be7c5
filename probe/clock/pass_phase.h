#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace probe {

/// What a pass is doing, as far as the host sees it by what it is asked.
enum class PassPhase {
  kHost,    ///< The host's own work around it: devices are frozen and released, the pass is handed to the journal.
  kSample,  ///< The plug-in reads devices and folds what it read into its histories and reports.
  kPush     ///< The plug-in builds messages for subscribers, and sends them.
};

inline constexpr std::size_t kPassPhases = 3;

/// The time that each phase of one pass took. A monitor samples and pushes before the next one does, so that a phase
/// comes more than once.
class PhaseTimes {
 public:
  using Clock = std::chrono::steady_clock;

  explicit PhaseTimes(Clock::time_point now) : since_(now) {}

  void Enter(PassPhase phase, Clock::time_point now) {
    times_[static_cast<std::size_t>(phase_)] += now - since_;
    since_ = now;
    phase_ = phase;
  }

  Clock::duration Of(PassPhase phase) const { return times_[static_cast<std::size_t>(phase)]; }

 private:
  PassPhase phase_ = PassPhase::kHost;
  Clock::time_point since_;
  std::array<Clock::duration, kPassPhases> times_{};
};

/// A pass begins on this thread: from now on its phases are timed.
void BeginPassPhases(PhaseTimes::Clock::time_point now);

/// Says that the pass on this thread has come to a phase. Does nothing on a thread that makes no pass. Threads: any.
void EnterPassPhase(PassPhase phase);

/// The pass on this thread is over. Its times; nothing: none had begun.
std::optional<PhaseTimes> EndPassPhases(PhaseTimes::Clock::time_point now);

}  // namespace probe
