#pragma once

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_traffic.h"
#include "monitor/reports/network/report_time.h"

/// The folding of a pass: from the devices' samples to days and weeks. Each step grows with the number of samples and
/// IDs; the outcome is that of calling the calculations of each ID one after the other.
///
/// In a pass `day` is the last day of every "daily" map, and these hold no more than `kMaxReportDays` others: retention
/// has seen to it.
namespace vexora_probe::monitor {

/// Folds the samples of each device into its own report, gives the latest samples their speeds, and notes what each
/// radio moved. Every network is logged at debug level.
void FoldDevices(const ReportTime& time, NetworkReport& report, RadioDeltas& deltas);

/// One of the three families that sum over devices: where its samples and reports are, and how it is summed and logged.
struct Family {
  DaySamples (*sum)(const DeviceDaySamples& devices);
  Snapshot NetworkReport::*snapshot;
  Report NetworkReport::*report;
  SpeedLog log_speed;
  const char* start_line;  ///< Logged before the traffic is folded; null: not.
  const char* end_line;    ///< Logged after it; null: not.
};

extern const Family kSSIDs;
extern const Family kAccessPoints;
extern const Family kSpectrums;

/// Sums the devices' samples for a family, and folds the sums into its report.
void FoldFamily(const Family& family, const ReportTime& time, NetworkReport& report);

}  // namespace vexora_probe::monitor
