#include "probe/clock/pass_timer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using utilities::lock::lock_guard;

namespace probe {
unsigned PassTimer::Sleep(unsigned seconds) {
  const Wall::time_point asleep = Wall::now();
  EndPass(asleep);
  ++steps_;
  const unsigned left = clock_.Sleep(seconds);
  ++steps_;
  const Wall::time_point woken = Wall::now();
  const auto wanted = std::chrono::duration_cast<Wall::duration>(std::chrono::seconds(seconds)) / speed_;
  BeginPassPhases(woken);
  const lock_guard held(lock_);
  // Late is what the pass before has taken, and what the system woke the engine too late.
  lateness_ = passes_.empty() ? Wall::duration::zero() : Wall::duration(passes_.back().duration);
  lateness_ += std::max(woken - asleep - wanted, Wall::duration::zero());
  NoteLateness(wanted);
  begun_ = woken;
  return left;
}

void PassTimer::NoteLateness(Wall::duration period) {
  if (period <= Wall::duration::zero()) return;
  // By the probe's clock, as everything about passes: at sixty times the pace of life a second is a whole pass.
  if (lateness_ > std::chrono::duration_cast<Wall::duration>(std::chrono::seconds(1)) / speed_) ++totals_.late;
  lost_ += lateness_;
  totals_.skipped += static_cast<std::uint64_t>(lost_ / period);
  lost_ %= period;
}

void PassTimer::EndPass(Wall::time_point now) {
  const auto phases = EndPassPhases(now);
  const lock_guard held(lock_);
  if (!begun_) return;
  const auto rounded = [](Wall::duration time) { return std::chrono::duration_cast<std::chrono::milliseconds>(time); };
  passes_.push_back({rounded(now - *begun_), rounded(lateness_)});
  if (passes_.size() > kPasses) passes_.pop_front();
  totals_.durations.Note(now - *begun_);
  for (std::size_t phase = 0; phases && phase < kPassPhases; ++phase) {
    totals_.phases[phase].Note(phases->Of(static_cast<PassPhase>(phase)));
  }
  begun_.reset();
}

PassTotals PassTimer::totals() const {
  const lock_guard held(lock_);
  return totals_;
}

std::optional<PassTiming> PassTimer::last() const {
  const lock_guard held(lock_);
  return passes_.empty() ? std::nullopt : std::optional(passes_.back());
}

std::optional<PassTiming> PassTimer::worst() const {
  const lock_guard held(lock_);
  if (passes_.empty()) return std::nullopt;
  PassTiming worst;
  for (const PassTiming& pass : passes_) {
    worst.duration = std::max(worst.duration, pass.duration);
    worst.lateness = std::max(worst.lateness, pass.lateness);
  }
  return worst;
}

}  // namespace probe
