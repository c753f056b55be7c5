#include "probe/sources/simulated/simulated_source.h"

#include <algorithm>
#include <chrono>

#include "probe/clock/clock.h"

namespace probe {
namespace {

/// How often the thread looks at the clock. It cannot sleep on it: the installed clock may run at any pace, be set by
/// somebody, and have one sleeper only.
constexpr std::chrono::milliseconds kLook{20};

time_t Now() {
  return InstalledClock().Now().tv_sec;
}

}  // namespace

SimulatedSource::SimulatedSource(DeviceCentre& centre, const SimulatedNetworkSettings& settings, time_t every)
    : network_(centre, settings), every_(std::max<time_t>(1, every)) {}

SimulatedSource::~SimulatedSource() {
  Stop();
}

void SimulatedSource::Start() {
  const time_t now = Now();
  network_.Advance(now);
  thread_ = std::thread(&SimulatedSource::Run, this, now);
}

void SimulatedSource::Stop() {
  {
    const std::lock_guard held(lock_);
    is_stopping_ = true;
  }
  stopping_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void SimulatedSource::Run(time_t last) {
  while (true) {
    {
      std::unique_lock held(lock_);
      if (stopping_.wait_for(held, kLook, [this] { return is_stopping_; })) return;
    }
    const time_t now = Now();
    const bool went_back = now < last;
    if (!went_back && now - last < every_) continue;
    network_.Advance(now);
    last = now;
  }
}

}  // namespace probe
