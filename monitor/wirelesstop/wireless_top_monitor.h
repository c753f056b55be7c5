#pragma once

#include <string>
#include <vector>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitor.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_fold.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/utilities/locks.h"

/// Tells which access points, wireless networks and wireless clients carry the most traffic or the most clients right
/// now.
///
/// Keeps no history: every pass discards the caches and rebuilds them from the counters of every online managed device.
/// Figures are the devices' counters as they stand, neither speeds nor differences between passes.
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
  void DataMerge() override VEXORA_EXCLUDES(cache_lock_, order_lock_);

  /// Adds the present counters of one device to the caches. Does nothing for a device that is gone, has no driver or no
  /// wireless side.
  void Collectdata(const std::string& mac) override VEXORA_REQUIRES(cache_lock_);

  /// Empties every cache.
  void ClearAllCache() VEXORA_REQUIRES(cache_lock_, order_lock_);

  /// Ranks what was collected.
  void SortCache() VEXORA_REQUIRES(cache_lock_, order_lock_);

  /// Do nothing: this monitor has no views at different intervals.
  void MergeDataForInterval() override;
  void MergeDifferentInterval(const std::string& source, const std::string& target, int count, int minutes) override;

  /// Pushes to the subscribers; the last step of a pass.
  void monitor(const std::string& argument) override;
  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override
      VEXORA_EXCLUDES(cache_lock_, order_lock_);

  using Monitor::GenerateJsonMsg;
  /// The message for one connection: what the filter selects from the rankings. "{}" when memory is exhausted, or when
  /// there is no filter.
  ///
  /// Asks the device centre for the devices' names with the caches locked for reading.
  std::string GenerateJsonMsg(const std::string& topic, const WirelessTopFilter* filter,
                              const std::vector<std::string>& sids) VEXORA_EXCLUDES(cache_lock_, order_lock_);

  /// Only logs: the next pass drops a device that is gone. Threads: any.
  void Cleanup(const std::string& mac) override;

 private:
  /// The body of a message, which has its SIDs still to get; null, and logged, when memory is exhausted.
  monitoring::JsonTree Body(const WirelessTopFilter& filter) VEXORA_EXCLUDES(cache_lock_, order_lock_);
  /// The message for one connection, whose SIDs it puts into `body`; "{}" without one.
  static std::string Message(const std::string& topic, const monitoring::JsonTree& body,
                             const std::vector<std::string>& sids);

  /// What a filter selects from the rankings. Valid while the caller holds `cache_lock_`.
  monitoring::wirelesstop::Selection SelectionOf(const WirelessTopFilter& filter) VEXORA_REQUIRES_SHARED(cache_lock_)
      VEXORA_EXCLUDES(order_lock_);

  // Order: cache_lock_ before order_lock_, never the reverse. The host is called with cache_lock_ held, never with
  // order_lock_.
  utilities::lock::RwLock cache_lock_;
  // Rankings are sorted when a message asks for them, and several messages are built at once with cache_lock_ held for
  // reading: this lock lets one of them sort at a time.
  utilities::lock::Mutex order_lock_ VEXORA_ACQUIRED_AFTER(cache_lock_);
  monitoring::wirelesstop::Totals totals_ VEXORA_GUARDED_BY(cache_lock_);
  monitoring::wirelesstop::Rankings rankings_ VEXORA_GUARDED_BY(order_lock_);  // of totals_, to which they refer
};
