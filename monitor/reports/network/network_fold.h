#pragma once

#include <string>

#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/network_traffic.h"

/// The folding of all samples of the day into days and weeks, which writes the debug lines of a pass. Without a reader
/// of these a pass takes the short way of network_running.h, with the same result. Each step takes time with the number
/// of samples and IDs; the result is the same as that of calling the calculations of each ID one after the other.
///
/// In a pass `day` is the last day of every "daily" map, and these hold no more than `kMaxReportDays` others, because
/// retention runs before.
namespace vexora_probe::monitor {

/// Folds the samples of each device into its own report, sets the speeds of the latest samples, and stores the traffic
/// of each radio in `deltas`. Every network is logged at debug level.
void FoldDevices(const ReportTime& time, const HostFunctions& host, NetworkReport& report, RadioDeltas& deltas);

/// Sum clients and speeds over all devices, minute by minute: by SSID key, by device MAC, by band.
DaySamples SumBySSID(const DeviceDaySamples& devices, const HostFunctions& host);
DaySamples SumByAccessPoint(const DeviceDaySamples& devices, const HostFunctions& host);
DaySamples SumBySpectrum(const DeviceDaySamples& devices, const HostFunctions& host);

/// One of the three families that sum over devices: where its samples and reports are, and how it is summed and logged.
struct Family {
  DaySamples (*sum)(const DeviceDaySamples& devices, const HostFunctions& host);
  Snapshot NetworkReport::*snapshot;
  Report NetworkReport::*report;
  SpeedLog log_speed;
  const char* start_line;  ///< Logged before the traffic is folded; null: no line.
  const char* end_line;    ///< Logged after it; null: no line.
};

extern const Family kSSIDs;
extern const Family kAccessPoints;
extern const Family kSpectrums;

/// Sums the devices' samples for a family, and folds the sums into its report.
void FoldFamily(const Family& family, const ReportTime& time, const HostFunctions& host, NetworkReport& report);

}  // namespace vexora_probe::monitor
