#pragma once

#include <cstddef>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/device_centre.h"
#include "platform/utilities/locks.h"
#include "probe/host/client_presence.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/notification_log.h"

namespace probe {

class SnapshotDevice;

/// A time in which a device was offline: from its last reading before to the first one after.
struct Absence {
  time_t from = 0;
  time_t to = 0;

  bool operator==(const Absence&) const = default;
};

/// The reference host's device manager: a register of devices, each with its newest snapshot.
///
/// Sources write snapshots on their own threads, the plug-in reads them on its threads; neither waits for the other
/// longer than a pointer takes to copy. It is also where the event centre, the credentials and the configuration
/// managers of this host look their answers up.
///
/// Does not model: devices that answer slowly. Every question is answered at once from the snapshot.
/// Threads: any.
class DeviceCentre final : public DeviceManager {
 public:
  /// The one device centre of the process, the same object as `DeviceManager::GetInstance()`.
  static DeviceCentre& Instance();

  /// The device centre that the plug-in sees: this one or, while histories are made anew, another.
  static DeviceCentre& InForce();

  /// Makes `centre` what the plug-in sees, null: `Instance()`. The one before may still be asked by calls that are
  /// under way.
  static void PutInForce(DeviceCentre* centre);

  /// Replaces the snapshot of the device by a new reading of it. A MAC that was never named is added at the end of the
  /// lists.
  void Replace(const std::string& mac, DeviceSnapshot snapshot) VEXORA_EXCLUDES(lock_);

  /// The same with a snapshot that others share, and whose MAC is right. It is no new reading: clients and
  /// notifications are not noted.
  void ReplaceWith(const std::string& mac, std::shared_ptr<const DeviceSnapshot> snapshot) VEXORA_EXCLUDES(lock_);

  /// Forgets the device: it is in no list, and `device(mac)` is null. Should it come back, it takes its old place in
  /// the lists. Does not call the plug-in's clean-up function.
  void Forget(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Reserves the device's place in the lists for the time when it has a snapshot.
  void Name(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Gives these the first places in the lists, in this order, in front of all that were named before.
  void PutFirst(const std::vector<std::string>& macs) VEXORA_EXCLUDES(lock_);

  /// Freezes all snapshots: changes are queued, and `Release` applies them in their order. A second `Hold` before the
  /// `Release` has no effect.
  void Hold() VEXORA_EXCLUDES(lock_);
  void Release() VEXORA_EXCLUDES(lock_);

  /// Forgets every device and the order in which they came.
  void Clear() VEXORA_EXCLUDES(lock_);

  /// What is known of the device now; null for a MAC that nobody named, or that was forgotten.
  std::shared_ptr<const DeviceSnapshot> Snapshot(const std::string& mac) const VEXORA_EXCLUDES(lock_);

  /// When the device was offline and came back, the newest thirty-two, in their order. What has no time is not among
  /// them, and neither is the absence of a device that is offline still: it began when its snapshot was read.
  std::vector<Absence> Absences(const std::string& mac) const VEXORA_EXCLUDES(lock_);

  /// Since when the clients of the device have been there; nobody at one that is offline.
  Presences ClientsOf(const std::string& mac) const VEXORA_EXCLUDES(lock_);

  /// The notifications that hold no longer, in the order in which they ended.
  std::vector<PastNotification> PastNotifications() const VEXORA_EXCLUDES(lock_);

  /// All MACs as they were first named, from this place on: those of forgotten devices, too.
  std::vector<std::string> NamedFrom(std::size_t place) const VEXORA_EXCLUDES(lock_);

  /// The newest snapshots in the order of `NamedFrom(0)`; null for a device that is not known.
  std::vector<std::shared_ptr<const DeviceSnapshot>> Newest() const VEXORA_EXCLUDES(lock_);

  std::vector<std::string> GetOnlineManagedDevices(bool online_only) override VEXORA_EXCLUDES(lock_);
  std::shared_ptr<Device> device(const std::string& mac) override VEXORA_EXCLUDES(lock_);
  std::map<std::string, vexora_probe::models::controller::BasicInfo> GetDevicesBasicInfo(const std::string& mac,
                                                                                         bool online_only) override
      VEXORA_EXCLUDES(lock_);
  std::map<std::string, vexora_probe::models::controller::PlatformInfo> GetDevicePlatformInfo(const std::string& mac,
                                                                                              bool online_only) override
      VEXORA_EXCLUDES(lock_);

 private:
  /// MAC -> the newest snapshot; null for a device that was only named, or was forgotten.
  using Snapshots = std::map<std::string, std::shared_ptr<const DeviceSnapshot>>;

  /// A change of one device; neither a snapshot nor a reading forgets it.
  struct Change {
    std::string mac;
    std::shared_ptr<const DeviceSnapshot> snapshot;
    std::shared_ptr<DeviceSnapshot> reading{};  // a new one, which nobody else has yet
    time_t read_at = 0;                         // by the probe's clock
  };

  void Enter(Change change) VEXORA_EXCLUDES(lock_);

  /// Applies a change, or queues it while the centre is held. `change` keeps the snapshot that was replaced, so that
  /// the caller can free it without the lock.
  void Make(Change& change) VEXORA_REQUIRES(lock_);

  /// Takes down that the device has come back, when it has.
  void NoteReturn(const std::string& mac, const DeviceSnapshot* before, const DeviceSnapshot& now)
      VEXORA_REQUIRES(lock_);

  /// Takes down which clients have come and which notifications have ended, and since when those hold that stay.
  void NoteReading(const Change& change, const DeviceSnapshot* before) VEXORA_REQUIRES(lock_);

  /// Where the device's snapshot is kept; makes the place when the device was never named.
  std::shared_ptr<const DeviceSnapshot>& PlaceOf(const std::string& mac) VEXORA_REQUIRES(lock_);

  /// The snapshots of one device, or of all in the order of their MACs for an empty `mac`.
  std::vector<std::pair<std::string, std::shared_ptr<const DeviceSnapshot>>> Select(const std::string& mac,
                                                                                    bool online_only) const
      VEXORA_EXCLUDES(lock_);

  mutable utilities::lock::RwLock lock_;
  Snapshots snapshots_ VEXORA_GUARDED_BY(lock_);
  std::map<std::string, std::vector<Absence>> absences_ VEXORA_GUARDED_BY(lock_);
  ClientPresence clients_ VEXORA_GUARDED_BY(lock_);
  NotificationLog notifications_ VEXORA_GUARDED_BY(lock_);
  bool is_held_ VEXORA_GUARDED_BY(lock_) = false;
  std::vector<Change> waiting_ VEXORA_GUARDED_BY(lock_);
  // Both lead to entries of snapshots_, which stay until all are cleared.
  std::vector<const Snapshots::value_type*> order_ VEXORA_GUARDED_BY(lock_);  // as first named
  std::unordered_map<std::string_view, Snapshots::value_type*> by_mac_ VEXORA_GUARDED_BY(lock_);
};

}  // namespace probe
