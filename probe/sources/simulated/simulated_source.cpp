#include "probe/sources/simulated/simulated_source.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "probe/clock/clock.h"
#include "probe/host/log.h"

namespace probe {

namespace {

/// How often the thread reads the installed clock. It cannot sleep on that clock, which may run at any pace, be set at
/// any time, and serve one sleeper only.
constexpr std::chrono::milliseconds kPollInterval{20};

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
  // On the caller's thread, so that the devices are there when it starts the plug-in.
  Advance(now);
  thread_ = std::thread(&SimulatedSource::Run, this, now);
}

void SimulatedSource::Stop() {
  stop_.Set();
  if (thread_.joinable()) thread_.join();
}

void SimulatedSource::ContinueFrom(const LastSnapshots& last) {
  const utilities::lock::lock_guard held(lock_);
  network_.ContinueFrom(last, Now());
}

void SimulatedSource::Advance(time_t now) {
  const utilities::lock::lock_guard held(lock_);
  network_.Advance(now);
}

void SimulatedSource::Run(time_t last) {
  while (!stop_.IsSetBefore(std::chrono::steady_clock::now() + kPollInterval)) {
    const time_t now = Now();
    // A clock that was set back is followed at once: the next reading must not wait until the old time comes again.
    const bool went_back = now < last;
    if (!went_back && now - last < every_) continue;
    last = now;
    try {
      Advance(now);
    } catch (const std::exception& error) {
      // Out of memory: the next reading is made when there may be some.
      log::Error("simulated network: a reading is left out: %s", error.what());
    }
  }
}

}  // namespace probe
