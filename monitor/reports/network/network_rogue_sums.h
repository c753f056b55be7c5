#pragma once

#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

/// Rogue access points by running sums: a scan takes time with its entries alone. Their current week is built from its
/// days when it is asked for.
namespace vexora_probe::monitor {

/// The current week of rogue access points.
struct RogueWeek {
  ReportTime time;          ///< Of the latest pass.
  bool is_scanned = false;  ///< That pass has had a scan; without one the week is not shown.
  RogueRecords gone;        ///< As they were before they left their last day of the week, in the same pass.
};

/// Adds a scan to the samples, the day and the week. What a day has no room for (`store.max_rogues_a_day`) is left out,
/// and counted in `store.left_out_rogues`. `now`: the pass time, seconds since the epoch.
void FoldScan(const Hearing& hearing, long now, const ReportTime& time, const HostFunctions& host, SampleStore& store,
              RogueBuckets& daily, RogueWeek& week);

/// The records of the week: each like that of its first day, but for what is summed up over the days.
RogueRecords RogueWeekRecords(const RogueBuckets& daily, const RogueWeek& week, const HostFunctions& host);

}  // namespace vexora_probe::monitor
