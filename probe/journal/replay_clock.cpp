#include "probe/journal/replay_clock.h"

namespace probe::journal {
namespace {

/// The clock whose engine's time this thread sees.
thread_local const ReplayClock* seen_here = nullptr;

}  // namespace

timeval ReplayClock::Now() {
  if (seen_here == this && !is_over_.load()) return virtual_.Now();
  return beneath_.Now();
}

unsigned ReplayClock::Sleep(unsigned seconds) {
  if (!is_over_.load()) {
    seen_here = this;
    const unsigned left = virtual_.Sleep(seconds);
    if (!is_over_.load()) return left;
    seen_here = nullptr;
  }
  return beneath_.Sleep(seconds);
}

void ReplayClock::HandOver() {
  is_over_.store(true);
  virtual_.Wake();
}

ReplayClock::OnThisThread::OnThisThread(const ReplayClock& clock) {
  seen_here = &clock;
}

ReplayClock::OnThisThread::~OnThisThread() {
  seen_here = nullptr;
}

}  // namespace probe::journal
