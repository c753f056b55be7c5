#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/report_time.h"

namespace vexora_probe::monitor {

/// ID -> its records of the days of the current week, oldest first. Valid as long as `daily`.
using WeekOfIds = std::map<std::string, std::vector<const Networks*>>;

/// The days of the current week, by ID. `outside` is told of each day that is none of them.
WeekOfIds RegroupByWeek(const Buckets& daily, const ReportTime& time,
                        const std::function<void(const std::string& day)>& outside);

/// Drops the oldest of more than `kMaxReportDays` days; whether it did.
bool DropOldestDay(Buckets& daily);

}  // namespace vexora_probe::monitor
