#pragma once

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "monitor/engine/filter.h"
#include "monitor/engine/monitor.h"
#include "monitor/traffic/traffic_collect.h"
#include "monitor/traffic/traffic_fold.h"
#include "monitor/traffic/traffic_records.h"
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

  /// Turns one device's statistics into counter texts and ifIndexes, both by display name, and moves the histories of
  /// interfaces whose display name is not their own. Does nothing for a device that is gone or has no driver.
  void ConvertDriverStruct(const std::string& mac, const monitoring::traffic::InterfaceStatistics& statistics,
                           monitoring::traffic::InterfaceAttributes& attributes,
                           monitoring::traffic::InterfaceIndexes& indexes) VEXORA_EXCLUDES(views_lock_);

  /// Makes the record's name the display name: band and SSID for an interface that carries a network, else its own.
  static void GenerateNewInterfaceName(AttributeInfo& info);

  /// Moves an interface's histories to a new name in every view, in place of any that stand there.
  void ReplaceInterfaceTraffic(const std::string& mac, const std::string& old_name, const std::string& new_name)
      VEXORA_EXCLUDES(views_lock_);

  /// Folds the newest readings into the views.
  void DataMerge() override VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// Turns the difference between this pass's counters and the last ones into one sample for each interface.
  void CalculateTrafficSpeed() VEXORA_EXCLUDES(collection_lock_, views_lock_);

  void MergeDataForInterval() override VEXORA_EXCLUDES(views_lock_);
  void MergeDifferentInterval(const std::string& source, const std::string& target, int count, int minutes) override
      VEXORA_EXCLUDES(views_lock_);

  /// The averaging of one step from view to view; see `AppendAverages`.
  void CalculateAverage(const monitoring::traffic::DeviceHistories& source, int count,
                        monitoring::traffic::DeviceHistories& target, int minutes) const;

  /// Drops samples that lie in the future from the front of a history, each logged at debug level.
  void RemoveBadTimeSample(monitoring::traffic::History& history) const;

  /// Pushes to the subscribers; the last step of a pass.
  void monitor(const std::string& argument) override;
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override
      VEXORA_EXCLUDES(collection_lock_, views_lock_);

  using Monitor::GenerateJsonMsg;
  /// The message for one connection: the view and the devices that the filter asks for.
  ///
  /// Asks the host for the credential state of the device that the filter names, with the views locked for reading.
  std::string GenerateJsonMsg(const std::string& name, const Filter& filter, const std::vector<std::string>& sids)
      VEXORA_EXCLUDES(collection_lock_, views_lock_);

  /// Sets `out["input"]` and `out["output"]` to the newest speed of an interface, in bytes per second. Leaves `out` as
  /// it was when the interface is unknown. Threads: any.
  void GetInterfaceTrafficData(const std::string& mac, const std::string& interface,
                               std::map<std::string, unsigned long long>& out) const VEXORA_EXCLUDES(views_lock_);

  /// Forgets a device. Threads: any, also during a pass.
  void Cleanup(const std::string& mac) override VEXORA_EXCLUDES(collection_lock_, views_lock_);

 private:
  using Attributes = monitoring::traffic::Attributes;
  using InterfaceAttributes = monitoring::traffic::InterfaceAttributes;
  using DeviceAttributes = monitoring::traffic::DeviceAttributes;
  using DeviceTimes = std::map<std::string, time_t>;  // by device MAC

  /// Makes a reading the latest one of a device. `sampled_at` is the device's clock.
  void StoreReading(const std::string& mac, InterfaceAttributes attributes,
                    const monitoring::traffic::InterfaceIndexes& indexes, time_t sampled_at)
      VEXORA_EXCLUDES(collection_lock_);

  /// Gives every interface of the "1m" view that the latest readings lack a zero sample.
  void PadMissingInterfaces() VEXORA_REQUIRES(collection_lock_) VEXORA_EXCLUDES(views_lock_);
  /// Whether the latest reading of a device has counters of this interface.
  bool HasLatestAttributes(const std::string& mac, const std::string& interface) const
      VEXORA_REQUIRES(collection_lock_);

  /// Appends a sample for every interface of a device's latest reading, and makes it the last one.
  void CalculateDeviceSpeed(const std::string& mac, const InterfaceAttributes& latest) VEXORA_REQUIRES(collection_lock_)
      VEXORA_EXCLUDES(views_lock_);
  /// Appends the sample of an interface that the last reading has, too.
  void CalculateInterfaceSpeed(const std::string& mac, const std::string& interface, const Attributes& latest,
                               const Attributes& last) VEXORA_REQUIRES(collection_lock_) VEXORA_EXCLUDES(views_lock_);
  /// Appends an interface's first sample, of speed 0.
  void AppendFirstSample(const std::string& mac, const std::string& interface) VEXORA_EXCLUDES(views_lock_);
  /// Appends the sample of a step, if there is one, to the "1m" history.
  void AppendSpeed(const std::string& mac, const std::string& interface, const monitoring::traffic::Step& step)
      VEXORA_EXCLUDES(views_lock_);
  /// Makes this pass's reading of a device the last one.
  void StoreAsLast(const std::string& mac, const InterfaceAttributes& latest) VEXORA_REQUIRES(collection_lock_);

  /// Drops samples that lie in the future from every history of a view.
  void RemoveBadTimeSampleForDifferentView(const std::string& view) VEXORA_REQUIRES(views_lock_);

  /// The ifIndexes of one device, or of all for an empty `mac`.
  monitoring::traffic::DeviceIndexes IndexesOf(const std::string& mac) const VEXORA_EXCLUDES(collection_lock_);

  // Order: collection_lock_ before views_lock_, never the reverse.
  mutable utilities::lock::Mutex collection_lock_;
  DeviceAttributes last_attributes_ VEXORA_GUARDED_BY(collection_lock_);    // counters of the previous reading
  DeviceTimes last_polling_time_ VEXORA_GUARDED_BY(collection_lock_);       // pass time of the previous reading
  DeviceTimes last_sample_time_ VEXORA_GUARDED_BY(collection_lock_);        // device clock at the previous reading
  DeviceAttributes latest_attributes_ VEXORA_GUARDED_BY(collection_lock_);  // counters of this reading
  DeviceTimes current_polling_time_ VEXORA_GUARDED_BY(collection_lock_);    // pass time of this reading
  DeviceTimes sample_time_ VEXORA_GUARDED_BY(collection_lock_);             // device clock at this reading
  monitoring::traffic::DeviceIndexes interface_indexes_ VEXORA_GUARDED_BY(collection_lock_);

  mutable utilities::lock::RwLock views_lock_ VEXORA_ACQUIRED_AFTER(collection_lock_);
  monitoring::traffic::Views views_ VEXORA_GUARDED_BY(views_lock_);
};
