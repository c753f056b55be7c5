#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/poll_schedule.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"
#include "probe/sources/snmp/worker_threads.h"

namespace probe::snmp {

/// Hears of every poll: `device` is the index in the settings. Called on the poller's threads, for one device never
/// twice at a time.
using PollObserver = std::function<void(std::size_t device, PollResult result)>;

/// Polls all devices, each at its own interval, side by side.
///
/// A device is polled by one thread at a time, and a silent one keeps only that thread busy. The polls of all devices
/// are spread over their interval. A device that does not answer is asked more rarely, at every fourth interval at
/// last, and again at each interval from its first answer on.
///
/// Owner:   the source. Stop or destroy it before the catalogue goes.
/// Threads: `Start` and `Stop` one thread; up to `kMaxThreads` of its own poll.
class SnmpPoller {
 public:
  /// More devices than these are polled by them in turn.
  static constexpr std::size_t kMaxThreads = 128;

  /// Makes what polls a device.
  using DevicePollMaker = std::function<std::unique_ptr<DevicePoll>(const DeviceSettings&, const StopEvent&)>;

  /// `catalogue` has to outlive the poller.
  SnmpPoller(const SnmpSettings& settings, const ProfileCatalogue& catalogue, PollObserver observer);

  /// The same with another way to poll a device.
  SnmpPoller(const SnmpSettings& settings, const DevicePollMaker& maker, PollObserver observer);
  ~SnmpPoller();
  SnmpPoller(const SnmpPoller&) = delete;
  SnmpPoller& operator=(const SnmpPoller&) = delete;

  /// Starts the threads. Fails: throws `std::system_error` when there cannot be one.
  void Start();

  /// Ends requests that wait for an answer, and joins the threads. No observer is called afterwards.
  void Stop() VEXORA_EXCLUDES(lock_);

 private:
  struct Device;
  void Work() VEXORA_EXCLUDES(lock_);
  std::optional<std::size_t> AwaitDevice() VEXORA_EXCLUDES(lock_);
  bool Poll(std::size_t index);

  const PollObserver observer_;
  StopEvent stop_;                                // before the devices, whose sessions wait for it
  std::vector<std::unique_ptr<Device>> devices_;  // each only by the thread that polls it

  utilities::lock::Mutex lock_;        // leaf lock: no other lock is taken while it is held
  utilities::lock::CondVar idle_;      // for the threads that have nothing to do
  utilities::lock::CondVar watching_;  // for the one of them that waits for the time of the next device
  PollSchedule schedule_ VEXORA_GUARDED_BY(lock_);
  bool is_stopping_ VEXORA_GUARDED_BY(lock_) = false;
  std::optional<PollSchedule::Time> watched_time_
      VEXORA_GUARDED_BY(lock_);  // until when it waits; nothing: nobody does
  WorkerThreads threads_;        // only the thread that calls Start and Stop
};

}  // namespace probe::snmp
