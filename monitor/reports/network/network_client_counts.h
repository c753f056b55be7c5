#pragma once

#include <string>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/report_time.h"

/// The client counts of days and weeks. Every step is logged at debug level.
///
/// What an ID's samples say of its own day, and what the days say of the week, are two steps: a pass takes the first
/// for every ID and the second once, so that it grows with the number of IDs and not with its square.
namespace vexora_probe::monitor {

/// The day's client counts of one ID: the mean is over the slots that have begun, so a slot without a sample counts as
/// one without clients.
void RecordClientCounts(const std::string& id, const Samples& samples, const ReportTime& time, Buckets& daily);

/// The means of all finished days, no more days than are kept, and the client counts of the current week, for all IDs.
void FoldClientCounts(const ReportTime& time, Buckets& daily, Buckets& weekly);

}  // namespace vexora_probe::monitor
