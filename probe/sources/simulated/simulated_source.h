#pragma once

#include <chrono>
#include <ctime>
#include <thread>

#include "platform/utilities/locks.h"
#include "probe/host/device_centre.h"
#include "probe/sources/simulated/simulated_network.h"

namespace probe {

/// The source that keeps a simulated network up to date, by the clock of the process.
///
/// Owner:   the application. Stop or destroy it before the device centre is destroyed or another clock is installed.
/// Threads: `Start` and `Stop` one thread; between the two a thread of its own advances the network.
class SimulatedSource {
 public:
  /// `centre` has to outlive the source. Units: `every` in seconds of the installed clock, at least 1.
  SimulatedSource(DeviceCentre& centre, const SimulatedNetworkSettings& settings, time_t every = 10);
  ~SimulatedSource();
  SimulatedSource(const SimulatedSource&) = delete;
  SimulatedSource& operator=(const SimulatedSource&) = delete;

  /// Fills the device centre, then goes on in a thread of its own.
  void Start();

  /// Ends the thread, after a reading that has begun, and joins it. The devices stay in the centre.
  void Stop();

  const SimulatedNetwork& network() const { return network_; }

 private:
  void Run(time_t last);
  /// Waits for so long, or until the source is stopped. True when it is.
  bool StopsWithin(std::chrono::steady_clock::duration wait);

  SimulatedNetwork network_;  // only the source's thread; before it starts, the one that calls Start
  const time_t every_;

  // Leaf lock: no other lock is taken while it is held.
  utilities::lock::Mutex lock_;
  utilities::lock::CondVar stopping_;
  bool is_stopping_ VEXORA_GUARDED_BY(lock_) = false;
  std::thread thread_;  // only the thread that calls Start and Stop
};

}  // namespace probe
