#pragma once

#include <ctime>
#include <thread>

#include "probe/host/device_centre.h"
#include "probe/host/stop_flag.h"
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

  SimulatedNetwork network_;  // only the source's thread; before it starts, the one that calls Start
  const time_t every_;

  StopFlag stop_;
  std::thread thread_;  // only the thread that calls Start and Stop
};

}  // namespace probe
