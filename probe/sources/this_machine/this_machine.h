#pragma once

#include <cstdint>
#include <ctime>
#include <deque>
#include <string>
#include <thread>

#include "platform/utilities/locks.h"
#include "probe/host/device_centre.h"
#include "probe/host/name_limit.h"
#include "probe/host/stop_flag.h"
#include "probe/sources/this_machine/machine_reading.h"
#include "probe/sources/this_machine/proc_texts.h"
#include "probe/sources/this_machine/this_machine_settings.h"

namespace probe {

/// The source that makes this Linux machine one of the devices, with its real traffic.
///
/// Each reading becomes one snapshot in the device centre. A reading that fails is logged, once until one succeeds, and
/// takes the device offline, because an online device promises fresh values. Its last snapshot stays, marked offline,
/// so that its name and counters remain.
///
/// Owner:   the application. Stop or destroy it before the device centre is destroyed.
/// Threads: `Start`, `Stop` and `mac` one thread; between the two a thread of its own calls `RefreshOnce`, and nobody
///          else may.
class ThisMachine {
 public:
  /// `centre` has to outlive the source.
  ThisMachine(DeviceCentre& centre, ThisMachineSettings settings, MachineReader read = ReadMachine);
  ~ThisMachine();
  ThisMachine(const ThisMachine&) = delete;
  ThisMachine& operator=(const ThisMachine&) = delete;

  /// Reads once, then goes on in a thread of its own. Fails: never; a reading that fails is retried.
  void Start();

  /// Ends the thread, after a reading that has begun, and joins it. The device stays in the centre.
  void Stop();

  /// Reads the machine and replaces its snapshot in the device centre. Fails: never throws. A
  /// reading for which there is no memory is left out.
  void RefreshOnce();

  /// The device's MAC; empty until a reading has worked. It stays the same from then on.
  std::string mac() const;

 private:
  struct CpuReading {
    std::time_t read_at = 0;
    CpuTimes times;
  };

  void Run();
  void TakeOver(const MachineReading& reading);
  void ReadOrGoOffline();

  /// CPU use in percent over the last pass, or as far back as readings go; -1 after the first.
  std::int32_t MeanCpu(const MachineReading& reading);
  void GoOffline(const std::string& reason);

  DeviceCentre& centre_;
  const ThisMachineSettings settings_;
  const MachineReader read_;

  // Only the source's thread; before it starts, the one that calls Start.
  std::deque<CpuReading> cpu_times_;  // of the last pass and one before that, the oldest first
  NameLimit names_;
  bool is_failing_ = false;

  // Leaf lock: no other lock is taken while it is held.
  mutable utilities::lock::Mutex lock_;
  std::string mac_ VEXORA_GUARDED_BY(lock_);
  StopFlag stop_;
  std::thread thread_;  // only the thread that calls Start and Stop
};

}  // namespace probe
