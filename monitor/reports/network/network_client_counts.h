#pragma once

#include <string>

#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"

/// The client counts of days and weeks. Every step is logged at debug level.
///
/// There are two steps: a pass takes the first, the day of one ID, for every ID, and the second, the week of all IDs,
/// once. So a pass takes time with the number of IDs and not with its square.
namespace vexora_probe::monitor {

/// The day's client counts of one ID. The mean is over the slots that have begun: a slot without a sample counts as a
/// slot without clients.
void RecordClientCounts(const std::string& id, const Samples& samples, const ReportTime& time,
                        const HostFunctions& host, Buckets& daily);

/// Sets the means of all finished days, drops an eighth day, and sets the client counts of the current week, for all
/// IDs.
void FoldClientCounts(const ReportTime& time, const HostFunctions& host, Buckets& daily, Buckets& weekly);

}  // namespace vexora_probe::monitor
