#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "monitor/engine/filter.h"
#include "monitor/engine/monitor.h"
#include "monitor/engine/pass_devices.h"
#include "monitor/traffic/newest_speeds.h"
#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_collect.h"
#include "monitor/traffic/traffic_fold.h"
#include "monitor/traffic/traffic_records.h"
#include "platform/device_centre.h"
#include "platform/utilities/locks.h"

/// Measures the input and output speed of every interface of every online managed device once a minute, and keeps short
/// histories of these speeds at six resolutions.
///
/// Threads: a pass runs on the engine's thread. Clean-up, the newest speed of an interface and a first message for a
///          new subscriber come from any thread, also during a pass.
class TrafficMonitor final : public Monitor {
 public:
  /// What the name of one interface is made of.
  using AttributeInfo = monitoring::traffic::AttributeInfo;

  TrafficMonitor() = default;
  ~TrafficMonitor() override;

  std::string GetMonitorName() override;

  /// Takes a reading of every online managed device.
  void CollectData() override VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// Gives the interfaces of a device's reading their display names and puts them in the order of these; notes those
  /// with histories under their own names, which are to be moved.
  void ConvertDriverStruct(const std::string& mac, const Device& device, monitoring::traffic::Reading& reading)
      VEXORA_EXCLUDES(views_lock_);

  /// Makes the record's name the display name: band and SSID for an interface that carries a network, else its own.
  static void GenerateNewInterfaceName(AttributeInfo& info);

  /// Moves an interface's histories to a new name in every view, in place of any that stand there.
  void ReplaceInterfaceTraffic(const std::string& mac, const std::string& old_name, const std::string& new_name)
      VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// Folds the newest readings into the views. Messages show what was before, or all of it. Where memory ends, an
  /// interface goes without its sample of this pass.
  void DataMerge() override VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// Turns the difference between this pass's counters and the last ones into one sample for each interface.
  void CalculateTrafficSpeed() VEXORA_EXCLUDES(collection_lock_, views_lock_);

  void MergeDataForInterval() override VEXORA_EXCLUDES(collection_lock_, views_lock_);
  /// Does nothing for a view that there is not.
  void MergeDifferentInterval(const std::string& source, const std::string& target, int count, int minutes) override
      VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// The averaging of one history into that of the next view; see `AppendAverage`.
  void CalculateAverage(const monitoring::traffic::History& source, int count, monitoring::traffic::History& target,
                        int minutes) const;

  /// Drops samples that lie in the future from the front of a history, each logged at debug level.
  void RemoveBadTimeSample(monitoring::traffic::History& history) const;

  /// Pushes to the subscribers; the last step of a pass.
  void monitor(const std::string& argument) override;
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override VEXORA_EXCLUDES(views_lock_);

  using Monitor::GenerateJsonMsg;
  /// The message for one connection: the view and the devices that the filter asks for.
  ///
  /// Asks the host for the credential state of the device that the filter names, with the views locked for reading.
  std::string GenerateJsonMsg(const std::string& name, const Filter& filter, const std::vector<std::string>& sids)
      VEXORA_EXCLUDES(views_lock_);

  /// Sets `out["input"]` and `out["output"]` to the newest speed of an interface, in bytes per second. Leaves `out` as
  /// it was when the interface is unknown. Waits for no fold and for no message: during a fold it is the speed of the
  /// pass before. Threads: any.
  void GetInterfaceTrafficData(const std::string& mac, const std::string& interface,
                               std::map<std::string, unsigned long long>& out) const;

  /// Forgets a device. Threads: any, also during a pass.
  void Cleanup(const std::string& mac) override VEXORA_EXCLUDES(collection_lock_, views_lock_);

 private:
  using DeviceRecord = monitoring::traffic::DeviceRecord;
  using InterfaceRecord = monitoring::traffic::InterfaceRecord;

  /// Whether an interface has histories under this name.
  bool HasHistory(const std::string& mac, const std::string& name) const VEXORA_EXCLUDES(views_lock_);

  /// Makes a reading the latest one of a device, with the renames that it brought. Not that of a device which was
  /// cleaned up since it was read.
  void StoreReading(const std::string& mac, const monitoring::traffic::Reading& reading)
      VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// Makes the renames of the latest readings.
  void MakeRenames() VEXORA_REQUIRES(views_lock_);

  /// Speeds and averages of one device before the next one, so that its records stay in the cache meanwhile: for a pass
  /// in which there are no samples of the future.
  void FoldAtOnce() VEXORA_REQUIRES(collection_lock_, views_lock_);
  /// The same step by step, for any pass.
  void FoldSpeeds() VEXORA_REQUIRES(collection_lock_, views_lock_);
  void FoldViews() VEXORA_REQUIRES(collection_lock_, views_lock_);

  /// Hands the newest samples of all interfaces to those who ask for the newest speed.
  void ShowNewest() VEXORA_REQUIRES(collection_lock_, views_lock_);

  /// Gives every interface of the "1m" view that the latest readings lack a zero sample.
  void PadMissingInterfaces() VEXORA_REQUIRES(views_lock_);

  /// Appends a sample for every interface of a device's latest reading, and makes it the last one.
  void CalculateDeviceSpeed(const std::string& mac, DeviceRecord& device) const VEXORA_REQUIRES(views_lock_);
  /// Appends the sample of an interface that the last reading has, too.
  void CalculateInterfaceSpeed(const std::string& mac, const DeviceRecord& device, InterfaceRecord& interface) const
      VEXORA_REQUIRES(views_lock_);
  /// Appends an interface's first sample, of speed 0.
  void AppendFirstSample(const std::string& mac, InterfaceRecord& interface) const VEXORA_REQUIRES(views_lock_);

  /// All steps of the chain for one device.
  void MergeAllViews(DeviceRecord& device) const VEXORA_REQUIRES(collection_lock_, views_lock_);
  /// One step of the chain for one device: averages of the view of number `source` for the one of number `target`.
  void MergeDevice(DeviceRecord& device, std::size_t source, std::size_t target, int count, int minutes) const
      VEXORA_REQUIRES(collection_lock_, views_lock_);

  /// Drops samples that lie in the future from every history of a view.
  void RemoveBadTimeSampleForDifferentView(DeviceRecord& device, std::size_t view) const
      VEXORA_REQUIRES(collection_lock_, views_lock_);

  /// Makes the time of the pass one of those at which samples were made.
  void NoteSampleTime() VEXORA_REQUIRES(collection_lock_);
  /// Whether there may be samples from the future: only after the clock was set back.
  bool MayHaveFutureSamples() const VEXORA_REQUIRES(collection_lock_) { return current_time() < latest_sample_time_; }

  /// The text of the devices that a filter asks for; null for a view that there is not.
  std::shared_ptr<const std::string> TrafficData(const Filter& filter) const VEXORA_EXCLUDES(views_lock_);
  /// The message for one connection around that text.
  static std::string Message(const std::string& name, const Filter& filter,
                             const std::shared_ptr<const std::string>& data, const std::vector<std::string>& sids);

  // The engine's thread only, which fills it anew for each device.
  monitoring::traffic::Reading reading_;
  AttributeInfo attribute_info_;
  std::vector<monitoring::traffic::Rename> renames_;

  monitoring::PassDevices pass_devices_;

  // Both are held while a reading is stored, through the whole fold, and by a clean-up.
  // Order: collection_lock_ before views_lock_, never the reverse.
  utilities::lock::Mutex collection_lock_;
  time_t latest_sample_time_ VEXORA_GUARDED_BY(collection_lock_) = std::numeric_limits<time_t>::min();

  mutable utilities::lock::RwLock views_lock_ VEXORA_ACQUIRED_AFTER(collection_lock_);
  monitoring::traffic::Devices devices_ VEXORA_GUARDED_BY(views_lock_);
  std::array<bool, monitoring::traffic::kViewNames.size()> has_view_ VEXORA_GUARDED_BY(views_lock_){};

  monitoring::traffic::NewestSpeeds newest_;  // has a lock of its own, after the two above
};
