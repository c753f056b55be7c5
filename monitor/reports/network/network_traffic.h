#pragma once

#include <string>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/report_time.h"

/// The speeds of samples, days and weeks, in megabits per second. Every step is logged at debug level.
///
/// As with the client counts, a pass takes the step of an ID for every ID and the step of the week once.
namespace vexora_probe::monitor {

/// The speed of the latest sample of one ID, from its counters and those of the sample before, and what it adds to the
/// day. A counter that fell has restarted from 0.
///
/// Whether there was a speed: false with less than two samples, and when the device has not read its counters again.
bool RecordSpeed(const std::string& id, Samples& samples, const ReportTime& time, Buckets& daily);

/// The means of all finished days, no more days than are kept, and the traffic of the current week, for all IDs. `id`
/// is the one in whose name it is logged.
void FoldSpeeds(const std::string& id, const ReportTime& time, Buckets& daily, Buckets& weekly);

/// Called with each sample of a day: ID, peak so far, the sample's speed, sum so far.
using SpeedLog = void (*)(const std::string& id, double peak, double speed, double sum);

/// Peak and mean of today's speeds of each ID. The mean is over the slots that have begun, also when none has.
void RecordDailySpeeds(Report& report, const Snapshot& snapshot, const ReportTime& time, SpeedLog log);

/// The traffic of the current week from its days, for all IDs, and no more days than are kept.
void FoldWeeklySpeeds(Report& report, const ReportTime& time);

}  // namespace vexora_probe::monitor
