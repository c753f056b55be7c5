#include "monitor/reports/network/network_fold.h"

#include <iterator>

#include "monitor/engine/constants.h"
#include "monitor/reports/network/network_client_counts.h"
#include "monitor/reports/network/network_keys.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// Notes and logs what a network of a device moved between its two latest samples.
void NoteDelta(const std::string& mac, const std::string& key, const Samples& samples, const HostFunctions& host,
               RadioDeltas& deltas) {
  if (samples.empty()) return;
  const Networks& latest = samples.rbegin()->second;
  const TrafficCount& traffic = latest.measured.traffic;
  deltas[mac][key] = {.time_delta = traffic.time_delta, .delta_octets = traffic.delta_octets};
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CollectSSIDsByMac] ID: %s, key: %s, radio type: %s, delta time: %d",
                 mac.c_str(), key.c_str(), latest.attributes.radio_type.c_str(), static_cast<int>(traffic.time_delta));
}

/// Folds the samples of one device: clients, speed and log line of one network after the other.
///
/// Finished days and week are the same whichever network they are folded for, so the last one does it for all.
void FoldDevice(const std::string& mac, DaySamples& networks, const ReportTime& time, const HostFunctions& host,
                NetworkReport& report, RadioDeltas& deltas) {
  Buckets& daily = report.device_ssid_report[monitoring::kDaily][mac];
  Buckets& weekly = report.device_ssid_report[monitoring::kWeekly][mac];
  const std::string* last_with_speed = nullptr;
  for (auto network = networks.begin(); network != networks.end(); ++network) {
    auto& [key, samples] = *network;
    const bool is_last = std::next(network) == networks.end();
    RecordClientCounts(key, samples, time, host, daily);
    if (is_last) FoldClientCounts(time, host, daily, weekly);
    if (RecordSpeed(key, samples, time, host, daily)) last_with_speed = &key;
    if (is_last && last_with_speed != nullptr) FoldSpeeds(*last_with_speed, time, host, daily, weekly);
    NoteDelta(mac, key, samples, host, deltas);
  }
}

/// Called with each minute of an ID to which a sample was added, and the sums there.
using MinuteLog = void (*)(const HostFunctions& host, const std::string& id, const std::string& minute,
                           const AccessPoints& sum);

/// Adds clients and speeds, minute by minute. Both maps have the same order, so one pass over both is enough.
void AddSamples(const std::string& id, const Samples& samples, const HostFunctions& host, MinuteLog log,
                Samples& sums) {
  auto at = sums.begin();
  for (const auto& [minute, sample] : samples) {
    while (at != sums.end() && at->first < minute) ++at;
    if (at == sums.end() || at->first != minute) at = sums.try_emplace(at, minute);
    AccessPoints& sum = at->second.measured;
    sum.client.current += sample.measured.client.current;
    sum.traffic.average += sample.measured.traffic.average;
    log(host, id, minute, sum);
  }
}

/// The SSID key of a network on a band, without the band.
std::string WithoutRadio(const std::string& ssid_key_with_radio, const HostFunctions& host) {
  std::string key;
  RemoveRadioTypeFromSSIDKey(ssid_key_with_radio, host, key);
  NetworksAttr network;
  bool guest = false;
  GetAttributeFromKey(key, host, network.name, network.security_mode, guest);
  std::string rebuilt = SSIDKey(network.name, network.security_mode, guest);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectSSIDs] new ssid key: %s", rebuilt.c_str());
  return rebuilt;
}

void LogSSID(const HostFunctions& host, const std::string& id, const std::string& minute, const AccessPoints& sum) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CollectSSIDs] Minsutes: %s, ssid: %s, client count(current): %u, traffic "
                 "average: %f",
                 minute.c_str(), id.c_str(), static_cast<unsigned>(sum.client.current), sum.traffic.average);
}

void LogAccessPoint(const HostFunctions& host, const std::string& id, const std::string& minute,
                    const AccessPoints& sum) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CollectAccessPoints] ID: %s, Minsutes: %s, client count(current): %u, "
                 "traffic average: %f",
                 id.c_str(), minute.c_str(), static_cast<unsigned>(sum.client.current), sum.traffic.average);
}

void LogSpectrum(const HostFunctions& host, const std::string& id, const std::string& minute, const AccessPoints& sum) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CollectSpectrums] ID: %s, Minsutes: %s, client count(current): %u, traffic "
                 "average: %f",
                 id.c_str(), minute.c_str(), static_cast<unsigned>(sum.client.current), sum.traffic.average);
}

void LogSSIDSpeed(const HostFunctions& host, const std::string& id, double peak, double speed, double sum) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateDailyTraffic] ID: %s, current peak traffic: %f, mins traffic "
                 "average: %f, average_speed_total: %f",
                 id.c_str(), peak, speed, sum);
}

void LogAccessPointSpeed(const HostFunctions& host, const std::string& id, double peak, double speed, double sum) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateAccesspointsDailyTraffic] ID: %s, current peak traffic: %f, mins "
                 "traffic average: %f,average_speed_total: %f",
                 id.c_str(), peak, speed, sum);
}

void LogSpectrumSpeed(const HostFunctions& host, const std::string& id, double peak, double speed, double sum) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateSpectrumDailyTraffic] ID: %s, current peak traffic: %f, mins "
                 "traffic average: %f,average_speed_total: %f",
                 id.c_str(), peak, speed, sum);
}

void LogLine(const HostFunctions& host, const char* line) {
  if (line != nullptr) host.log_debug(log_module::kMonitor, "%s", line);
}

}  // namespace

void FoldDevices(const ReportTime& time, const HostFunctions& host, NetworkReport& report, RadioDeltas& deltas) {
  const auto today = report.device_ssid_samples.find(time.day);
  if (today == report.device_ssid_samples.end()) return;
  for (auto& [mac, networks] : today->second) FoldDevice(mac, networks, time, host, report, deltas);
}

DaySamples SumBySSID(const DeviceDaySamples& devices, const HostFunctions& host) {
  DaySamples sums;
  for (const auto& [mac, networks] : devices) {
    if (networks.empty()) {
      host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectSSIDs] Device: %s, ssid is empty",
                     mac.c_str());
    }
    for (const auto& [key, samples] : networks) {
      if (samples.empty()) continue;
      const std::string id = WithoutRadio(key, host);
      AddSamples(id, samples, host, &LogSSID, sums[id]);
    }
  }
  return sums;
}

DaySamples SumByAccessPoint(const DeviceDaySamples& devices, const HostFunctions& host) {
  DaySamples sums;
  for (const auto& [mac, networks] : devices) {
    for (const auto& [key, samples] : networks) {
      if (!samples.empty()) AddSamples(mac, samples, host, &LogAccessPoint, sums[mac]);
    }
  }
  return sums;
}

DaySamples SumBySpectrum(const DeviceDaySamples& devices, const HostFunctions& host) {
  DaySamples sums;
  for (const auto& [mac, networks] : devices) {
    for (const auto& [key, samples] : networks) {
      if (samples.empty()) continue;
      // The band is part of the key, so that all samples under it have the same one.
      const std::string& band = samples.begin()->second.attributes.radio_type;
      AddSamples(band, samples, host, &LogSpectrum, sums[band]);
    }
  }
  return sums;
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

void FoldFamily(const Family& family, const ReportTime& time, const HostFunctions& host, NetworkReport& report) {
  Snapshot& snapshot = report.*family.snapshot;
  const auto devices = report.device_ssid_samples.find(time.day);
  if (devices != report.device_ssid_samples.end()) snapshot[time.day] = family.sum(devices->second, host);

  Report& buckets = report.*family.report;
  const DaySamples& today = snapshot[time.day];
  for (const auto& [id, samples] : today) RecordClientCounts(id, samples, time, host, buckets[monitoring::kDaily]);
  if (!today.empty()) FoldClientCounts(time, host, buckets[monitoring::kDaily], buckets[monitoring::kWeekly]);
  LogLine(host, family.start_line);
  RecordDailySpeeds(snapshot, time, host, family.log_speed, buckets);
  FoldWeeklySpeeds(time, host, buckets);
  LogLine(host, family.end_line);
}

}  // namespace vexora_probe::monitor
