#include "probe/journal/replay_clock.h"

#include <utility>

namespace probe::journal {
namespace {

/// The clock whose engine's time this thread sees.
thread_local const ReplayClock* seen_here = nullptr;

}  // namespace

ReplayClock::ReplayClock(time_t start, NextPass next_pass)
    : beneath_(InstalledClock()), next_pass_(std::move(next_pass)), now_(start) {}

timeval ReplayClock::Now() {
  if (seen_here == this && !is_over_.load()) return {.tv_sec = now_.load(), .tv_usec = 0};
  return beneath_.Now();
}

unsigned ReplayClock::Sleep(unsigned seconds) {
  if (is_over_.load()) return beneath_.Sleep(seconds);
  seen_here = this;
  if (const auto at = next_pass_()) {
    now_.store(*at);
    return 0;
  }
  if (is_over_.load()) {
    seen_here = nullptr;
    return beneath_.Sleep(seconds);
  }
  // The replay was stopped, and soon a signal ends this sleep and the engine. Not on the clock beneath: whoever writes
  // passes down there must not hear of the one that is still to come.
  const timespec wanted{.tv_sec = static_cast<time_t>(seconds), .tv_nsec = 0};
  clock_nanosleep(CLOCK_MONOTONIC, 0, &wanted, nullptr);
  return 0;
}

ReplayClock::OnThisThread::OnThisThread(const ReplayClock& clock) {
  seen_here = &clock;
}

ReplayClock::OnThisThread::~OnThisThread() {
  seen_here = nullptr;
}

}  // namespace probe::journal
