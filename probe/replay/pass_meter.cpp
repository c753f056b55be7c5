#include "probe/replay/pass_meter.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

timespec Read(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

double Since(const timespec& begin, clockid_t clock) {
  constexpr double kNanosecond = 1e-9;
  const timespec now = Read(clock);
  return static_cast<double>(now.tv_sec - begin.tv_sec) +
         static_cast<double>(now.tv_nsec - begin.tv_nsec) * kNanosecond;
}

}  // namespace

unsigned PassMeter::Sleep(unsigned seconds) {
  // The last pass, which a stop still lets run, ends with its thread and not with a sleep.
  thread_local AtThreadEnd at_thread_end;
  at_thread_end.meter = this;
  EndPass();
  const unsigned left = clock_.Sleep(seconds);
  BeginPass();
  return left;
}

void PassMeter::BeginPass() {
  const lock_guard held(lock_);
  ++cost_.passes;
  is_in_pass_ = true;
  // Last, so that waiting for the lock is not measured.
  cpu_ = Read(CLOCK_THREAD_CPUTIME_ID);
  wall_ = Read(CLOCK_MONOTONIC);
}

void PassMeter::EndPass() {
  const lock_guard held(lock_);
  if (!is_in_pass_) return;
  is_in_pass_ = false;
  cost_.cpu_seconds += Since(cpu_, CLOCK_THREAD_CPUTIME_ID);
  cost_.wall_seconds += Since(wall_, CLOCK_MONOTONIC);
}

std::uint64_t PassMeter::pass() const {
  const lock_guard held(lock_);
  return cost_.passes;
}

PassCost PassMeter::cost() const {
  const lock_guard held(lock_);
  return cost_;
}

}  // namespace probe
