#pragma once

#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"

/// Rogue access points: from the scans of managed ones to days and weeks. Every step is logged at debug level.
namespace vexora_probe::monitor {

/// Adds a scan to the samples, the day and the week.
///
/// The first scan after retention builds the whole week from its days; a later one renews the keys that it names, for
/// no other has changed. So a pass takes time with the entries of its scans. The week is the same as if every scan
/// rebuilt it, with one consequence: a record that one scan adds to the day and the next one removes from it stays in
/// the week until the next pass.
///
/// `now`: the pass time, seconds since the epoch.
void RecordScan(const Scan& scan, long now, const ReportTime& time, const HostFunctions& host, NetworkReport& report);

/// The mean of signal levels in dBm, taken over their power: of the samples of a day (`daily`), or of the days' means.
///
/// Fails: 0 when there are none.
double GetAverageSignalStrength(const RogueSamples& sightings, bool daily, const HostFunctions& host);

}  // namespace vexora_probe::monitor
