#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/clock/duration_histogram.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/stop_flag.h"
#include "probe/sources/snmp/device_status.h"
#include "probe/sources/snmp/poll_health.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_poller.h"
#include "probe/sources/snmp/snmp_settings.h"

namespace probe::snmp {

class DeviceFigures;

/// The source that makes the devices of the settings, which answer SNMP, devices of the probe.
///
/// Each reading becomes a snapshot in the device centre. What goes wrong with a device is logged when it changes. Two
/// devices with one id would overwrite each other: one is left out, and its status says so. The id is that of the
/// device for which it was set by hand, else that of the first one of the settings, whichever answers first; but never
/// taken from a device of another source.
///
/// Owner:   the application. Stop or destroy it before the device centre or the catalogue is destroyed.
/// Threads: `Start`, `Replace` and `Stop` one thread; `Statuses` any; the poller's threads call `TakeResult`, and a
/// thread of its
///          own notices devices that have fallen silent.
class SnmpSource {
 public:
  /// `centre` and `catalogue` have to outlive the source.
  SnmpSource(DeviceCentre& centre, SnmpSettings settings, const ProfileCatalogue& catalogue);

  /// The same with another way to poll a device.
  SnmpSource(DeviceCentre& centre, SnmpSettings settings, const SnmpPoller::DevicePollMaker& maker);
  ~SnmpSource();
  SnmpSource(const SnmpSource&) = delete;
  SnmpSource& operator=(const SnmpSource&) = delete;

  /// Lists the devices whose ids are set by hand, as offline, and starts to poll all. Fails: throws
  /// `std::system_error` when there cannot be a thread.
  void Start();

  /// Polls the devices of other settings from now on. A device whose settings are the same, but for where they stand,
  /// stays as it is. One for which the id of a former device is set by hand, else one with its address and port, else
  /// with its name, is that device, asked in another way: it goes on as it was last seen, unless another id is set for
  /// it. Devices that are no longer there leave the centre, and their ids are given back.
  ///
  /// To be called between `Start` and `Stop`, by the thread that calls them. Waits for polls that go on to be broken
  /// off. Fails: throws `std::system_error` when there cannot be a thread.
  std::vector<std::string> Replace(SnmpSettings settings, const ProfileCatalogue& catalogue)
      VEXORA_EXCLUDES(list_lock_);
  std::vector<std::string> Replace(SnmpSettings settings, const SnmpPoller::DevicePollMaker& maker)
      VEXORA_EXCLUDES(list_lock_);

  /// Ends the polls that go on, and joins all threads. The devices stay in the centre.
  void Stop();

  /// How the polls of each device go, in the order of the settings.
  std::vector<DeviceStatus> Statuses() const;

  /// How long the polls of all devices took, also of those that a reload has taken away: it never falls. Threads: any.
  DurationHistogram PollDurations() const VEXORA_EXCLUDES(durations_lock_);

  /// Whether it knows the ids of all its devices: one whose id is not set tells it when it first answers. Threads: any.
  bool KnowsAllIds() const;

  /// Goes on from what an earlier run of the probe last knew of its devices, so that a counter which the source has
  /// widened does not fall back. To be called once, before anybody looks at counters; a device that has not answered
  /// yet goes on with its first answer. Threads: any.
  void ContinueFrom(LastSnapshots last) VEXORA_EXCLUDES(list_lock_, claims_lock_);

  /// Takes the result of one poll of a device over; what the poller calls. For one device never twice at a time.
  void TakeResult(std::size_t device, PollResult result);

  /// Takes devices offline that have fallen silent.
  void CheckOffline();

 private:
  class PolledDevice;

  void Run();
  std::unique_ptr<SnmpPoller> MakePoller(const SnmpSettings& settings, const SnmpPoller::DevicePollMaker& maker);

  /// Takes new settings over; gives the ids of devices that have gone.
  std::vector<std::string> ReplaceDevices(SnmpSettings settings) VEXORA_EXCLUDES(list_lock_);

  /// Gives the device centre a snapshot, if the id is this device's own. Otherwise why it is not, in words.
  std::optional<std::string> Show(const std::string& mac, std::size_t device, DeviceSnapshot snapshot)
      VEXORA_REQUIRES_SHARED(list_lock_) VEXORA_EXCLUDES(claims_lock_);

  /// The snapshot that goes on from the earlier run; nothing: there is none, or no reading yet.
  std::optional<DeviceSnapshot> Continued(DeviceFigures& figures) VEXORA_EXCLUDES(claims_lock_);

  /// Whether the device centre has this device under the id.
  bool Owns(const std::string& mac, std::size_t device) const VEXORA_EXCLUDES(claims_lock_);

  /// Whether an id that both devices have belongs to the first of them.
  bool GoesBefore(std::size_t device, std::size_t other) const VEXORA_REQUIRES_SHARED(list_lock_);

  DeviceCentre& centre_;

  // Taken first. Written while nothing is polled.
  mutable utilities::lock::RwLock list_lock_;
  SnmpSettings settings_ VEXORA_GUARDED_BY(list_lock_);
  std::vector<std::unique_ptr<PolledDevice>> devices_ VEXORA_GUARDED_BY(list_lock_);  // each has a lock of its own

  // Leaf lock but for that of the device centre, which is written with it held: a device that loses its id meanwhile
  // must not write after its new owner. Taken with a device's lock held.
  mutable utilities::lock::Mutex claims_lock_;
  std::map<std::string, std::size_t> claims_ VEXORA_GUARDED_BY(claims_lock_);  // id -> number of the device
  LastSnapshots last_known_ VEXORA_GUARDED_BY(claims_lock_);  // of devices that have not gone on from it yet

  mutable utilities::lock::Mutex durations_lock_;  // leaf
  DurationHistogram durations_ VEXORA_GUARDED_BY(durations_lock_);

  std::unique_ptr<SnmpPoller> poller_;  // only the thread that calls Start and Stop, like the next two
  StopFlag stop_;
  std::thread thread_;
};

}  // namespace probe::snmp
