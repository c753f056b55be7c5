#pragma once

#include <string>

#include "monitor/reports/network/network_records.h"

/// What keeps the report's memory bounded: samples of the current day only, `kMaxReportDays` days, `kMaxReportWeeks`
/// weeks.
namespace vexora_probe::monitor {

/// Drops the samples of every day but `day`. Logged at debug level.
///
/// A sample of the current minute or later shows that the clock was set back: then today's samples go too, from the
/// first family that shows one on. Whether one was found.
///
/// `now`: the pass time, seconds since the epoch.
bool ClearOtherSnapShot(const std::string& day, long now, NetworkReport& report);

/// Drops what lies in the future, and the oldest of too many days and weeks. The current week goes each time, for the
/// pass builds it anew.
///
/// `clear_current`: also drop the samples and the bucket of the current day.
void CleaRedundantSampleData(const std::string& day, const std::string& week, bool clear_current,
                             NetworkReport& report);

}  // namespace vexora_probe::monitor
