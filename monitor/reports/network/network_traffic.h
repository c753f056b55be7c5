#pragma once

#include <string>

#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_store.h"

/// The speeds of samples, days and weeks, in megabits per second. Every step is logged at debug level.
///
/// As with the client counts, a pass takes the step of one ID for every ID and the step of the week once.
namespace vexora_probe::monitor {

/// The speed between two readings of a device's counters, of which the later one has to be later by the device's clock.
/// A counter that fell has restarted from 0.
double SpeedBetween(const CounterReading& before, const CounterReading& now);

/// The speed of the latest sample of one ID, from its counters and those of the sample before, and what it adds to the
/// day. A counter that fell has restarted from 0.
///
/// Returns whether there was a speed: false with less than two samples, and when the device has not read its counters
/// again.
bool RecordSpeed(const std::string& id, Samples& samples, const ReportTime& time, const HostFunctions& host,
                 Buckets& daily);

/// Sets the means of all finished days, drops an eighth day, and sets the traffic of the current week, for all IDs.
///
/// `id`: the ID that log lines name. It has no other effect.
void FoldSpeeds(const std::string& id, const ReportTime& time, const HostFunctions& host, Buckets& daily,
                Buckets& weekly);

/// Called with each sample of a day: ID, peak so far, the sample's speed, sum so far.
using SpeedLog = void (*)(const HostFunctions& host, const std::string& id, double peak, double speed, double sum);

/// Peak and mean of today's speeds of each ID. The mean is over the slots that have begun, also when none has.
void RecordDailySpeeds(const Snapshot& snapshot, const ReportTime& time, const HostFunctions& host, SpeedLog log,
                       Report& report);

/// Drops an eighth day, and sets the traffic of the current week from its days, for all IDs.
void FoldWeeklySpeeds(const ReportTime& time, const HostFunctions& host, Report& report);

}  // namespace vexora_probe::monitor
