#pragma once

#include <string>

#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

/// Retention: samples of the current day only, `kMaxReportDays` days, `kMaxReportWeeks` weeks.
namespace vexora_probe::monitor {

/// Drops the samples of every day but `day`. Logged at debug level.
///
/// A sample of the current minute or later means that the clock was set back. Then today's samples are dropped, too: in
/// the family that has such a sample, and in those after it. Returns whether there was one.
///
/// `now`: the pass time, seconds since the epoch.
bool ClearOtherSnapShot(const std::string& day, long now, const HostFunctions& host, NetworkReport& report);

/// Drops days and weeks of the future, and the oldest of too many. Also drops the current week, because the pass
/// rebuilds it from its days.
///
/// `clear_current`: also drop the samples and the bucket of the current day.
void CleaRedundantSampleData(const std::string& day, const std::string& week, bool clear_current,
                             const HostFunctions& host, NetworkReport& report);

/// Does the same for the days of each device, of which `store` keeps nothing but figures.
void KeepDeviceDays(const std::string& day, bool clear_current, SampleStore& store);

}  // namespace vexora_probe::monitor
