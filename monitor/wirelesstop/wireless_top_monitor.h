#pragma once

#include <string>
#include <vector>

#include "monitor/engine/monitor.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_fold.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/utilities/locks.h"

/// Tells which access points, wireless networks and wireless clients carry the most traffic or the most clients right
/// now.
///
/// Keeps no history: every pass throws the caches away and builds them anew from the counters of every online managed
/// device. Figures are the devices' counters as they stand, no speeds and no differences between passes.
///
/// Threads: a pass runs on the engine's thread. Filters are parsed and messages are built on any thread, several at
///          once, also during a pass; a message shows the state before or after a rebuild, never one in between.
class WirelessTopMonitor final : public Monitor {
 public:
  WirelessTopMonitor() = default;

  std::string GetMonitorName() override;

  /// Turns a request, an array of `{"sid", "filter": {"access_point", "wireless_clients", "wireless_networks"}}`, into
  /// `WirelessTopFilter`s; otherwise as `ParseFilters` does. A null request is logged.
  subscribes::ParsedRequest FilterParser(json_object* request) override;

  /// Builds the caches anew.
  ///
  /// Asks the device centre for the devices and their wireless state with the caches locked for writing.
  void DataMerge() override VEXORA_EXCLUDES(cache_lock_);

  /// Adds the present counters of one device to the caches. Does nothing for a device that is gone, has no driver or no
  /// wireless side.
  void Collectdata(const std::string& mac) override VEXORA_REQUIRES(cache_lock_);

  /// Empties every cache.
  void ClearAllCache() VEXORA_REQUIRES(cache_lock_);

  /// Ranks what was collected.
  void SortCache() VEXORA_REQUIRES(cache_lock_);

  /// Nothing: this monitor has no views at different intervals.
  void MergeDataForInterval() override;
  void MergeDifferentInterval(const std::string& source, const std::string& target, int count, int minutes) override;

  /// Pushes to the subscribers; the last step of a pass.
  void monitor(const std::string& argument) override;
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override VEXORA_EXCLUDES(cache_lock_);

  using Monitor::GenerateJsonMsg;
  /// The message for one connection: what the filter cuts from the rankings. "{}" when there is no heap left for it, or
  /// when there is no filter.
  ///
  /// Asks the device centre for the devices' names, and has the message composed, with the caches locked for reading.
  std::string GenerateJsonMsg(const std::string& topic, const WirelessTopFilter* filter,
                              const std::vector<std::string>& sids) VEXORA_EXCLUDES(cache_lock_);

  /// Only logs: the next pass drops a device that is gone. Threads: any.
  void Cleanup(const std::string& mac) override;

 private:
  using Streams = monitoring::wirelesstop::Streams;
  using ClientCounts = monitoring::wirelesstop::ClientCounts;
  using StreamRankings = monitoring::wirelesstop::StreamRankings;
  using CountRanking = std::vector<monitoring::wirelesstop::ClientCount>;

  Streams device_streams_ VEXORA_GUARDED_BY(cache_lock_);  // by device MAC
  ClientCounts device_client_counts_ VEXORA_GUARDED_BY(cache_lock_);
  Streams ssid_streams_ VEXORA_GUARDED_BY(cache_lock_);  // by SSID, over all devices that carry it
  ClientCounts ssid_client_counts_ VEXORA_GUARDED_BY(cache_lock_);
  Streams client_streams_ VEXORA_GUARDED_BY(cache_lock_);  // by formatted client MAC
  StreamRankings device_rankings_ VEXORA_GUARDED_BY(cache_lock_);
  StreamRankings ssid_rankings_ VEXORA_GUARDED_BY(cache_lock_);
  StreamRankings client_rankings_ VEXORA_GUARDED_BY(cache_lock_);
  CountRanking device_count_ranking_ VEXORA_GUARDED_BY(cache_lock_);
  CountRanking ssid_count_ranking_ VEXORA_GUARDED_BY(cache_lock_);
  utilities::lock::RwLock cache_lock_;
};
