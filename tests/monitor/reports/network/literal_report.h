#pragma once

#include <list>
#include <string>
#include <vector>

#include "monitor/reports/network/network_collect.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/network_records.h"
#include "platform/device_records.h"

namespace test {

/// What one device tells in a pass.
struct DeviceReading {
  std::string mac;
  std::string hostname;
  std::list<vexora_probe::models::controller::NeighboringAP> heard;  // as the device lists it
  vexora_probe::monitor::Hearing hearing;                            // as the monitor reads it
  std::vector<vexora_probe::monitor::NetworkReading> ssids;
};

/// One pass of the wireless network report, done the slow and plain way: every ID finishes all days and rebuilds the
/// whole week, and so does every scan.
///
/// Does not model: which passes take samples, which devices are asked and what is taken from them (it is handed the
/// readings and the calendar), names (see `LiteralNames`), deltas of single radios, log lines, and a device's clock
/// that steps by more than 68 years between two readings, for which the monitor notes the longest time that it can.
void LiteralPass(const std::vector<DeviceReading>& devices, long now, bool is_clock_back,
                 const vexora_probe::monitor::ReportTime& time, vexora_probe::monitor::NetworkReport& report);

/// Renews name, model and firmware of every access point in every bucket, with a question to the host for each.
void LiteralNames(vexora_probe::monitor::NetworkReport& report);

/// One pass as the monitor does it, over plain readings. Leaves the names of access points as they are: the monitor
/// asks for them before it folds.
void MonitorPass(const std::vector<DeviceReading>& devices, long now, bool is_clock_back,
                 const vexora_probe::monitor::ReportTime& time, vexora_probe::monitor::NetworkReport& report);

/// Everything that a report holds, a line with all fields for each record; reals to the last bit. Left out is which
/// rogue week is up to date, which only the monitor keeps.
std::string Dump(const vexora_probe::monitor::NetworkReport& report);

}  // namespace test
