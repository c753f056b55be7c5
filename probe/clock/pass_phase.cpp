#include "probe/clock/pass_phase.h"

#include <utility>

namespace probe {
namespace {

// Others ask the host the same questions as the engine: only on its thread do they tell of a pass.
thread_local std::optional<PhaseTimes> pass_of_thread;

}  // namespace

void BeginPassPhases(PhaseTimes::Clock::time_point now) {
  pass_of_thread.emplace(now);
}

void EnterPassPhase(PassPhase phase) {
  if (pass_of_thread) pass_of_thread->Enter(phase, PhaseTimes::Clock::now());
}

std::optional<PhaseTimes> EndPassPhases(PhaseTimes::Clock::time_point now) {
  if (pass_of_thread) pass_of_thread->Enter(PassPhase::kHost, now);
  return std::exchange(pass_of_thread, std::nullopt);
}

}  // namespace probe
