#pragma once

#include <ctime>
#include <thread>

#include "platform/utilities/locks.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
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

  /// Has the network go on from the states of an earlier run of the probe, as `SimulatedNetwork::ContinueFrom` does.
  /// Threads: any, between `Start` and `Stop`.
  void ContinueFrom(const LastSnapshots& last) VEXORA_EXCLUDES(lock_);

  /// Ends the thread, after a reading that has begun, and joins it. The devices stay in the centre.
  void Stop();

  /// For what never changes: its devices and how many clients there are.
  const SimulatedNetwork& network() const { return network_; }

 private:
  void Run(time_t last);
  void Advance(time_t now) VEXORA_EXCLUDES(lock_);

  utilities::lock::Mutex lock_;  // before that of the device centre
  SimulatedNetwork network_;     // is advanced with lock_ held; its constant parts are read without
  const time_t every_;

  StopFlag stop_;
  std::thread thread_;  // only the thread that calls Start and Stop
};

}  // namespace probe
