#include "monitor/reports/network/network_fold.h"

#include "monitor/engine/constants.h"
#include "monitor/reports/network/network_client_counts.h"
#include "monitor/reports/network/snapshots.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

void LogSSIDSpeed(const std::string& id, double peak, double speed, double sum) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateDailyTraffic] ID: %s, current peak traffic: %f, mins traffic "
                "average: %f, average_speed_total: %f",
                id.c_str(), peak, speed, sum);
}

void LogAccessPointSpeed(const std::string& id, double peak, double speed, double sum) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateAccesspointsDailyTraffic] ID: %s, current peak traffic: %f, mins "
                "traffic average: %f,average_speed_total: %f",
                id.c_str(), peak, speed, sum);
}

void LogSpectrumSpeed(const std::string& id, double peak, double speed, double sum) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateSpectrumDailyTraffic] ID: %s, current peak traffic: %f, mins traffic "
                "average: %f,average_speed_total: %f",
                id.c_str(), peak, speed, sum);
}

void LogLine(const char* line) {
  if (line != nullptr) pel_log_debug(log_module::kMonitor, "%s", line);
}

/// Notes what a network moved between its latest samples.
void NoteDelta(const std::string& mac, const std::string& key, const Networks& latest,
               std::map<std::string, TrafficDelta>& deltas) {
  const TrafficCount& traffic = latest.measured.traffic;
  deltas[key] = {.time_delta = traffic.time_delta, .delta_octets = traffic.delta_octets};
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectSSIDsByMac] ID: %s, key: %s, radio type: %s, delta time: %d",
                mac.c_str(), key.c_str(), latest.attributes.radio_type.c_str(), static_cast<int>(traffic.time_delta));
}

/// Folds the samples of one device.
void FoldDevice(DaySamples& networks, const ReportTime& time, Buckets& daily, Buckets& weekly) {
  const std::string* last = nullptr;       // whose client counts were recorded
  const std::string* last_fast = nullptr;  // whose speed was recorded
  for (const auto& [key, samples] : networks) {
    RecordClientCounts(key, samples, time, daily);
    last = &key;
  }
  // Before the speeds: an eighth day is dropped as soon as clients have been counted.
  if (last != nullptr) FoldClientCounts(time, daily, weekly);
  for (auto& [key, samples] : networks) {
    if (RecordSpeed(key, samples, time, daily)) last_fast = &key;
  }
  if (last_fast != nullptr) FoldSpeeds(*last_fast, time, daily, weekly);
}

}  // namespace

void FoldDevices(const ReportTime& time, NetworkReport& report, RadioDeltas& deltas) {
  const auto today = report.device_ssid_samples.find(time.day);
  if (today == report.device_ssid_samples.end()) return;
  for (auto& [mac, networks] : today->second) {
    FoldDevice(networks, time, report.device_ssid_report[monitoring::kDaily][mac],
               report.device_ssid_report[monitoring::kWeekly][mac]);
    for (const auto& [key, samples] : networks) {
      if (!samples.empty()) NoteDelta(mac, key, samples.rbegin()->second, deltas[mac]);
    }
  }
}

const Family kSSIDs{.sum = &SumBySSID,
                    .snapshot = &NetworkReport::ssid_snapshot,
                    .report = &NetworkReport::ssid_report,
                    .log_speed = &LogSSIDSpeed,
                    .start_line = "[WirelessNetworkReport::CollectSSIDs] Start",
                    .end_line = "[WirelessNetworkReport::CollectSSIDs] End"};

const Family kAccessPoints{.sum = &SumByAccessPoint,
                           .snapshot = &NetworkReport::access_point_snapshot,
                           .report = &NetworkReport::access_point_report,
                           .log_speed = &LogAccessPointSpeed,
                           .start_line = "[WirelessNetworkReport::CollectAccessPoints] Start",
                           .end_line = "[WirelessNetworkReport::CollectAccessPoints] End"};

const Family kSpectrums{.sum = &SumBySpectrum,
                        .snapshot = &NetworkReport::spectrum_snapshot,
                        .report = &NetworkReport::spectrum_report,
                        .log_speed = &LogSpectrumSpeed,
                        .start_line = "[WirelessNetworkReport::CollectSpectrums] Start",
                        .end_line = nullptr};

void FoldFamily(const Family& family, const ReportTime& time, NetworkReport& report) {
  Snapshot& snapshot = report.*family.snapshot;
  const auto devices = report.device_ssid_samples.find(time.day);
  if (devices != report.device_ssid_samples.end()) snapshot[time.day] = family.sum(devices->second);

  Report& buckets = report.*family.report;
  const DaySamples& today = snapshot[time.day];
  for (const auto& [id, samples] : today) RecordClientCounts(id, samples, time, buckets[monitoring::kDaily]);
  if (!today.empty()) FoldClientCounts(time, buckets[monitoring::kDaily], buckets[monitoring::kWeekly]);
  LogLine(family.start_line);
  RecordDailySpeeds(buckets, snapshot, time, family.log_speed);
  FoldWeeklySpeeds(buckets, time);
  LogLine(family.end_line);
}

}  // namespace vexora_probe::monitor
