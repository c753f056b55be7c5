#pragma once

#include <list>
#include <string>

#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/report_time.h"
#include "platform/device_records.h"

/// Foreign access points: from the scans of managed ones to days and weeks. Every step is logged at debug level.
namespace vexora_probe::monitor {

/// What one managed access point heard in its latest scan.
struct Scan {
  std::string mac;       ///< Of the managed access point.
  std::string hostname;  ///< Its name.
  std::list<models::controller::NeighboringAP> heard;
};

/// Takes a scan into the samples, the day and the week.
///
/// The first scan after retention builds the whole week from its days; a later one renews the keys that it names, for
/// no other has changed. So a pass grows with the entries of its scans, and the week holds the same as if every scan
/// built it anew: also the record of an access point that one scan added to an otherwise empty week and the next one
/// took from the day again, which stays in the week until the next pass.
///
/// `now`: the pass time, seconds since the epoch.
void RecordScan(const Scan& scan, long now, const ReportTime& time, NetworkReport& report);

/// The mean of signal levels in dBm, taken over their power: of the samples of a day (`daily`), or of the days' means.
///
/// Fails: 0 when there are none.
double GetAverageSignalStrength(const RogueSamples& sightings, bool daily);

}  // namespace vexora_probe::monitor
