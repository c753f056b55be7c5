#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitor.h"
#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_names.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_rogue_sums.h"
#include "monitor/reports/network/network_store.h"
#include "platform/configuration.h"
#include "platform/device_centre.h"
#include "platform/utilities/locks.h"

namespace vexora_probe::monitor {

/// Keeps the history of the wireless network by days and weeks: rogue access points, access points, SSIDs and bands.
/// Answers report requests from it.
///
/// Samples are taken every fifth pass, so every five minutes. Each of these passes folds the samples of the current day
/// into the day's and the week's bucket; seven days and four weeks are kept.
///
/// Threads: a pass runs on the engine's thread, and so do the operations that it is made of. Reports come from any
///          thread, also during a pass: between two of its steps they see what there is at that moment.
class WirelessNetworkReport final : public Monitor {
 public:
  WirelessNetworkReport();
  ~WirelessNetworkReport() override = default;

  std::string GetMonitorName() override;

  // Keys. `RemoveRadioTypeFromSSIDKey` and `GetAttributeFromKey` as in network_keys.h.

  static void RemoveRadioTypeFromSSIDKey(const std::string& ssid_key, std::string& out);
  static bool GetAttributeFromKey(const std::string& ssid_key, std::string& name, models::controller::SecModeType& mode,
                                  bool& guest);
  /// Splits a week key into its first and its last day; logged at debug level.
  ///
  /// Fails: false, logged at error level, for a key without "/" or of less than three characters.
  static bool GetStartEndTimeOfWeek(const std::string& week, std::string& start, std::string& end);

  // Conversions between maps of plain measurements and maps of described things. Entries of the same key are replaced,
  // others stay.

  /// Copy what is measured; the descriptions are left at their defaults.
  static void AccessPointsToNetworksStruct(const Measurements& from, Records& to);
  static void AccessPointsToNetworksStruct(const NestedMeasurements& from, Buckets& to);
  /// Copy what is measured; the descriptions are dropped.
  static void NetworksStructToAccessPoints(const Records& from, Measurements& to);
  static void NetworksStructToAccessPoints(const Buckets& from, NestedMeasurements& to);
  /// Sets the octet counters of `access_point` to the sums over its interfaces.
  static void TrafficStructDe(const std::string& id, const std::map<std::string, TrafficCount>& interfaces,
                              AccessPoints& access_point);
  /// Replaces the description of the record under `key`, made when there is none; what is measured of it stays.
  static void UpdateNetworkAttr(Records& records, const std::string& key, const NetworksAttr& attributes);

  // Collection. `now` is the pass time in seconds since the epoch, `day` and `week` its keys.

  /// Every fifth call takes samples and folds them; the others only count.
  void CollectData() override VEXORA_EXCLUDES(lock_);

  /// Adds the device's scan to the report of rogue access points.
  ///
  /// `mac`: that under which the host lists the device, of which it may know nothing else. Without it, the MAC of its
  /// basic information counts.
  void CollectNeighboringAPs(const std::string& mac, const std::shared_ptr<Device>& device, const long& now,
                             const std::string& day, const std::string& week) VEXORA_EXCLUDES(lock_);
  void CollectNeighboringAPs(const std::shared_ptr<Device>& device, const long& now, const std::string& day,
                             const std::string& week) VEXORA_EXCLUDES(lock_);

  /// Takes a sample of each SSID interface of the device. Does nothing for a device without driver. `mac` as above.
  void CollectOneSSID(const std::string& mac, const std::shared_ptr<Device>& device, const long& now,
                      const std::string& day, const std::string& week) VEXORA_EXCLUDES(lock_);
  void CollectOneSSID(const std::shared_ptr<Device>& device, const long& now, const std::string& day,
                      const std::string& week) VEXORA_EXCLUDES(lock_);

  /// Folds the samples of each device into its own days and weeks, and sets the speeds of the latest samples.
  void CollectSSIDsByMac(const long& now, const std::string& day, const std::string& week) VEXORA_EXCLUDES(lock_);

  /// Fold the samples of all devices into the days and weeks of networks, access points and bands.
  void CollectSSIDs(const long& now, const std::string& day, const std::string& week) VEXORA_EXCLUDES(lock_);
  void CollectAccessPoints(const long& now, const std::string& day, const std::string& week) VEXORA_EXCLUDES(lock_);
  void CollectSpectrums(const long& now, const std::string& day, const std::string& week) VEXORA_EXCLUDES(lock_);

  /// Updates name, model and firmware of every access point in every bucket.
  void UpdateAccessPointsInfo() VEXORA_EXCLUDES(lock_);

  /// Fills `configurations` with the SSID configurations of a router or access point.
  static void GetSSIDCfgs(const std::string& device_mac, SSIDConfigurations& configurations);

  /// Sets `chosen` to the configuration of an SSID on a radio: the radio's own before the one for both. Returns whether
  /// there is one; if not, `chosen` stays as it was.
  static bool GetSSIDCfg(const std::string& ssid, const std::string& radio, const SSIDConfigurations& configurations,
                         models::controller::SSIDCfg& chosen);

  // Aggregation. The arguments of all: an ID and its samples of the day, or a report and its snapshot; the "daily" and
  // "weekly" buckets into which they are folded. The slots of the day that have begun are `SampleCountCurrentTime`.

  /// The client counts of the day and the week. Recalculates the week of all other IDs, too; a pass does that part once
  /// for all.
  void CalculateClientCountData(const std::string& id, const Samples& samples, const std::string& day,
                                const std::string& week, Buckets& daily, Buckets& weekly) const;

  /// The speed of the latest sample, and the traffic of the day and the week; otherwise as the client counts.
  void CalculateTrafficData(const std::string& id, Samples& samples, const std::string& day, const std::string& week,
                            Buckets& daily, Buckets& weekly) const;

  void CalculateSSIDsDailyTraffic(Report& report, const Snapshot& snapshot, const std::string& day) const;
  void CalculateAccesspointsDailyTraffic(Report& report, const Snapshot& snapshot, const std::string& day) const;
  void CalculateSpectrumDailyTraffic(Report& report, const Snapshot& snapshot, const std::string& day) const;
  void CalculateWeeklyTraffic(Report& report, const std::string& day, const std::string& week) const;

  /// As in network_rogues.h.
  static double GetAverageSignalStrength(const std::map<std::string, RogueAPs>& sightings, const bool& daily);

  // Retention. The first two do as in network_retention.h with the samples that are kept, the buckets and what the
  // debug lines tell of; the third drops the traffic of the radios.

  bool ClearOtherSnapShot(const std::string& day, const long& now) VEXORA_EXCLUDES(lock_);
  void CleaRedundantSampleData(const std::string& day, const std::string& week, const bool& clear_current)
      VEXORA_EXCLUDES(lock_);
  void ClearTimeDeltaForRadio() VEXORA_EXCLUDES(lock_);

  // Output. Threads: any. `report_type` is "daily" or "weekly", `period` a day or week key; a bucket that does
  // not exist is shown empty.

  std::string GetAvailableTypePeriod() override VEXORA_EXCLUDES(lock_);
  std::string GetWirelessReport(const std::string& report_type, const std::string& period) override
      VEXORA_EXCLUDES(lock_);
  monitoring::JsonTree GetRogueAPsReport(const std::string& report_type, const std::string& period) const
      VEXORA_EXCLUDES(lock_);
  monitoring::JsonTree GetAccessPointsReport(const std::string& report_type, const std::string& period) const
      VEXORA_EXCLUDES(lock_);
  monitoring::JsonTree GetSSIDsReport(const std::string& report_type, const std::string& period) const
      VEXORA_EXCLUDES(lock_);
  monitoring::JsonTree GetSpectrumsReport(const std::string& report_type, const std::string& period) const
      VEXORA_EXCLUDES(lock_);
  static monitoring::JsonTree GenerateSeenByString(const std::map<std::string, std::string>& seen_by);

  /// Whether a bucket has aged out: there are others of its type, but not this one.
  bool CheckPeriodExpire(const std::string& report_type, const std::string& period) const VEXORA_EXCLUDES(lock_);

  void MergeDataForInterval() override {}
  void MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/, int /*count*/,
                              int /*minutes*/) override {}

 private:
  /// The calendar that the fold takes, from the keys and what `BeginPass` noted.
  ReportTime TimeOf(const std::string& day, const std::string& week) const;

  /// Notes whether the clock was set back since the last collection.
  void NoteClock(const std::string& day, const long& now);

  /// Notes the calendar of a pass and counts it. Returns whether it is one that takes samples.
  bool BeginPass(time_t now, const std::string& day, const std::string& week);

  /// Takes scan and samples of one device, unless it is gone, has no driver or no wireless side.
  void CollectDevice(const std::string& mac, const long& now, const std::string& day, const std::string& week)
      VEXORA_EXCLUDES(lock_);

  /// Tells once a day that rogue access points were left out, because the day is full.
  void LogLeftOutRogues(const std::string& day);

  /// What the debug lines of a pass tell of.
  std::unique_ptr<NetworkReport> NewDebugReport() const VEXORA_EXCLUDES(lock_);

  /// Writes the current week of rogue access points down when a later one begins, before its days are dropped.
  void EndRogueWeek(const std::string& week) VEXORA_REQUIRES(lock_);

  // The engine's thread only.
  std::string week_start_;
  std::string week_end_;
  std::int32_t week_day_ = 0;        // of the latest pass; 0 is Sunday
  time_t last_collection_time_ = 0;  // tells when the clock goes back
  std::uint32_t tick_counter_ = 0;   // passes since samples were last taken
  bool is_clock_changed_ = false;    // today is still to be dropped, also after a pass that ran out of memory

  std::string kept_day_;  // of the latest retention
  std::string kept_week_;
  std::string full_day_;  // of which a line tells that it has no room for more rogue access points
  SampleStore store_;     // its sums point to records of `report_`, which are written with the lock held
  AccessPointNames names_;
  std::unique_ptr<NetworkReport> debug_report_;  // there while a pass runs of which somebody reads the debug lines

  // The traffic of each network on each radio between its two latest samples, as the log says it; empty while nobody
  // reads debug lines. Nothing else reads it: it is there for a debugger.
  RadioDeltas radio_deltas_;

  // Devices and configurations are read without it. With the lock held, a pass calls the host's signal conversions, and
  // `time`, which a host may define itself, and a report calls the log functions, too. None of these may call back or
  // wait for a thread that may be inside the plug-in.
  // Leaf lock: no other lock of ours is taken while it is held.
  mutable utilities::lock::RwLock lock_;
  NetworkReport report_ VEXORA_GUARDED_BY(lock_);  // days and weeks; its samples stay empty
  RogueWeek rogue_week_ VEXORA_GUARDED_BY(lock_);
};

}  // namespace vexora_probe::monitor
