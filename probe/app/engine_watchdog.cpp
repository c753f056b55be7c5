#include "probe/app/engine_watchdog.h"

#include <utility>

#include "probe/host/log.h"

using utilities::lock::lock_guard;

namespace probe {

EngineWatchdog::EngineWatchdog(std::chrono::microseconds interval, std::function<double()> progress,
                               std::function<void()> give_sign)
    : interval_(interval),
      progress_(std::move(progress)),
      give_sign_(std::move(give_sign)),
      last_progress_(progress_()),
      progressed_at_(Clock::now()),
      thread_([this] { Run(); }) {}

EngineWatchdog::~EngineWatchdog() {
  {
    const lock_guard held(lock_);
    is_stopped_ = true;
  }
  stopped_.NotifyOne();
  thread_.join();
}

void EngineWatchdog::Run() {
  constexpr int kSigns = 10;  // in an interval
  for (;;) {
    const Clock::time_point now = Clock::now();
    if (!IsStuck(now)) give_sign_();
    const lock_guard held(lock_);
    while (!is_stopped_ && stopped_.WaitUntil(lock_, now + interval_ / kSigns)) continue;
    if (is_stopped_) return;
  }
}

bool EngineWatchdog::IsStuck(Clock::time_point now) {
  const double progress = progress_();
  if (progress != last_progress_) {
    last_progress_ = progress;
    progressed_at_ = now;
    is_told_ = false;
  }
  if (now - progressed_at_ < interval_ / 2) return false;
  if (!std::exchange(is_told_, true)) {
    log::Error("[Watchdog] the engine has been stuck for %lld s: the service manager is to restart the probe",
               static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(now - progressed_at_).count()));
  }
  return true;
}

}  // namespace probe
