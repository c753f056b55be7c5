#include "tests/monitor/reports/network/literal_report.h"

#include <cmath>
#include <cstdint>
#include <map>

#include "platform/device_centre.h"

namespace test {
namespace {

using vexora_probe::monitor::Buckets;
using vexora_probe::monitor::NetworkReport;
using vexora_probe::monitor::Networks;
using vexora_probe::monitor::Report;
using vexora_probe::monitor::ReportTime;
using vexora_probe::monitor::RogueAPs;
using vexora_probe::monitor::Samples;
using vexora_probe::monitor::Snapshot;
using vexora_probe::monitor::TrafficCount;

// ID -> day -> record, of the days of the week.
std::map<std::string, std::map<std::string, Networks>> Regroup(const Buckets& daily, const ReportTime& time) {
  std::map<std::string, std::map<std::string, Networks>> regrouped;
  for (const auto& [day, records] : daily) {
    if (day < time.week_start || day > time.week_end) continue;
    for (const auto& [id, record] : records) regrouped[id][day] = record;
  }
  return regrouped;
}

void CalculateClientCountData(const std::string& id, const Samples& samples, const ReportTime& time, Buckets& daily,
                              Buckets& weekly) {
  std::uint32_t n = 0;
  std::uint32_t total = 0;
  std::uint32_t peak = 0;
  for (const auto& [minute, sample] : samples) {
    ++n;
    total += sample.measured.client.current;
    if (sample.measured.client.current > peak) peak = sample.measured.client.current;
  }
  const auto slots = static_cast<std::uint32_t>(time.slots);
  const std::uint32_t count = n > slots ? n : slots;
  Networks& record = daily[time.day][id];
  record.measured.client.current = 0;
  record.measured.client.item.peak = peak;
  record.measured.client.item.total = total;
  record.measured.client.item.average = count == 0 ? 0.0 : static_cast<double>(total) / static_cast<double>(count);
  for (auto& [day, records] : daily) {
    if (day >= time.day) continue;
    for (auto& [other, past] : records) {
      past.measured.client.item.average = static_cast<double>(past.measured.client.item.total) / 288.0;
    }
  }
  if (daily.size() > 7) daily.erase(daily.begin());
  for (const auto& [other, days] : Regroup(daily, time)) {
    std::uint32_t weekly_peak = 0;
    double sum = 0;
    for (const auto& [day, past] : days) {
      if (past.measured.client.item.peak > weekly_peak) weekly_peak = past.measured.client.item.peak;
      sum += past.measured.client.item.average;
    }
    auto& client = weekly[time.week][other].measured.client;
    client.current = 0;
    client.item.total = 0;
    client.item.peak = weekly_peak;
    client.item.average = sum / (time.weekday + 1);
  }
}

void WeekOfTraffic(const Buckets& daily, const ReportTime& time, Buckets& weekly) {
  for (const auto& [id, days] : Regroup(daily, time)) {
    TrafficCount traffic;
    double sum = 0;
    for (const auto& [day, past] : days) {
      traffic.peak = past.measured.traffic.peak < traffic.peak ? traffic.peak : past.measured.traffic.peak;
      sum += past.measured.traffic.average;
    }
    traffic.average = sum / (time.weekday + 1);
    weekly[time.week][id].measured.traffic = traffic;
  }
}

void CalculateTrafficData(const std::string& id, Samples& samples, const ReportTime& time, Buckets& daily,
                          Buckets& weekly) {
  if (samples.size() < 2) return;
  auto at = samples.end();
  TrafficCount& last = (--at)->second.measured.traffic;
  const TrafficCount& prev = (--at)->second.measured.traffic;
  const double last_peak = daily[time.day][id].measured.traffic.peak;
  if (!(last.polling_time > prev.polling_time)) return;
  const std::uint64_t in = last.inOctets >= prev.inOctets ? last.inOctets - prev.inOctets : last.inOctets;
  const std::uint64_t out = last.outOctets >= prev.outOctets ? last.outOctets - prev.outOctets : last.outOctets;
  const auto dt = static_cast<std::int32_t>(last.polling_time - prev.polling_time);
  last.time_delta = dt;
  last.delta_octets = in + out;
  const double speed = static_cast<double>(in + out) * std::pow(2, -10) / dt * std::pow(2, -7);
  last.peak = speed;
  last.average = speed;
  TrafficCount& day_traffic = daily[time.day][id].measured.traffic;
  day_traffic.average_speed_total += speed;
  day_traffic.peak = last_peak > speed ? last_peak : speed;
  if (time.slots != 0) day_traffic.average = day_traffic.average_speed_total / time.slots;
  for (auto& [day, records] : daily) {
    if (day >= time.day) continue;
    for (auto& [other, past] : records) {
      past.measured.traffic.average = past.measured.traffic.average_speed_total / 288.0;
    }
  }
  if (daily.size() > 7) daily.erase(daily.begin());
  WeekOfTraffic(daily, time, weekly);
}

void Family(Snapshot& snapshot, Report& report, const ReportTime& time) {
  for (auto& [id, samples] : snapshot[time.day]) {
    CalculateClientCountData(id, samples, time, report["daily"], report["weekly"]);
  }
  for (auto& [id, samples] : snapshot[time.day]) {
    double peak = 0;
    double sum = 0;
    for (const auto& [minute, sample] : samples) {
      peak = peak > sample.measured.traffic.average ? peak : sample.measured.traffic.average;
      sum += sample.measured.traffic.average;
    }
    TrafficCount& traffic = report["daily"][time.day][id].measured.traffic;
    traffic.average = sum / static_cast<double>(time.slots);
    traffic.peak = peak;
  }
  if (report["daily"].size() > 7) report["daily"].erase(report["daily"].begin());
  WeekOfTraffic(report["daily"], time, report["weekly"]);
}

double AverageSignal(const std::map<std::string, RogueAPs>& records, bool daily) {
  double milliwatts = 0;
  for (const auto& [key, record] : records) {
    milliwatts += std::pow(10, (daily ? record.signal_strength : record.average_strength) / 10);
  }
  return 10 * std::log10(milliwatts / static_cast<double>(records.size()));
}

void CollectNeighboringAPs(const DeviceReading& device, long now, const ReportTime& time, NetworkReport& report) {
  if (device.heard.empty()) return;
  auto& daily = report.rogue_report["daily"];
  for (const auto& heard : device.heard) {
    RogueAPs rogue;
    rogue.mac = heard.mac;
    rogue.ssid = heard.ssid;
    rogue.channel = heard.channel;
    rogue.signal_strength = heard.signal;
    if (static_cast<int>(heard.band) == 0) rogue.radio_type = "2.4GHz";
    if (static_cast<int>(heard.band) == 1) rogue.radio_type = "5GHz";
    rogue.seen_by[device.mac] = device.hostname;
    const std::string key = heard.mac + "/" + heard.ssid + "/" + std::to_string(heard.channel) + "/" + rogue.radio_type;
    if (heard.trusted != 0) {
      if (!daily.contains(time.day) || !daily[time.day].contains(key)) continue;
      daily[time.day][key].seen_by.erase(device.mac);
      if (daily[time.day][key].seen_by.empty()) daily[time.day].erase(key);
      continue;
    }
    report.rogue_samples[time.day][key][std::to_string(now / 60)] = rogue;
    if (!daily[time.day].contains(key)) {
      daily[time.day][key] = rogue;
    } else {
      RogueAPs& known = daily[time.day][key];
      known.seen_by[device.mac] = device.hostname;
      known.total_time += static_cast<std::int32_t>(now - known.last_seen);
      known.last_seen = static_cast<time_t>(now);
    }
    daily[time.day][key].average_strength = AverageSignal(report.rogue_samples[time.day][key], true);
  }
  std::map<std::string, std::map<std::string, RogueAPs>> week;
  for (const auto& [day, records] : daily) {
    if (day < time.week_start || day > time.week_end) continue;
    for (const auto& [key, record] : records) week[key][day] = record;
  }
  for (const auto& [key, days] : week) {
    RogueAPs& record = report.rogue_report["weekly"][time.week][key];
    record = days.begin()->second;
    record.last_seen = days.rbegin()->second.last_seen;
    record.total_time = 0;
    for (const auto& [day, past] : days) record.total_time += past.total_time;
    record.average_strength = AverageSignal(days, false);
  }
}

template <typename Sample>
bool ShowsTheFuture(const std::map<std::string, std::map<std::string, Sample>>& ids, const std::string& now) {
  for (const auto& [id, samples] : ids) {
    if (!samples.empty() && samples.rbegin()->first >= now) return true;
  }
  return false;
}

template <typename Days>
void OnlyDay(const std::string& day, bool found, Days& days) {
  for (auto at = days.begin(); at != days.end();) at = at->first == day ? std::next(at) : days.erase(at);
  if (found) days[day].clear();
}

bool ClearOtherSnapShot(const std::string& day, long now, NetworkReport& report) {
  const std::string minute = std::to_string(now / 60);
  bool found = ShowsTheFuture(report.rogue_samples[day], minute);
  OnlyDay(day, found, report.rogue_samples);
  found = found || ShowsTheFuture(report.access_point_snapshot[day], minute);
  OnlyDay(day, found, report.access_point_snapshot);
  found = found || ShowsTheFuture(report.ssid_snapshot[day], minute);
  OnlyDay(day, found, report.ssid_snapshot);
  found = found || ShowsTheFuture(report.spectrum_snapshot[day], minute);
  OnlyDay(day, found, report.spectrum_snapshot);
  for (const auto& [mac, networks] : report.device_ssid_samples[day]) {
    found = found || ShowsTheFuture(networks, minute);
  }
  OnlyDay(day, found, report.device_ssid_samples);
  return found;
}

template <typename Buckets>
void Prune(const std::string& day, const std::string& week, Buckets& daily, Buckets& weekly) {
  while (!daily.empty() && daily.rbegin()->first > day) daily.erase(std::prev(daily.end()));
  if (daily.size() > 7) daily.erase(daily.begin());
  while (!weekly.empty() && weekly.rbegin()->first >= week) weekly.erase(std::prev(weekly.end()));
  if (weekly.size() > 4) weekly.erase(weekly.begin());
}

void CleaRedundantSampleData(const ReportTime& time, bool clear_current, NetworkReport& report) {
  if (clear_current) {
    for (const auto& [period, key] : {std::pair{"daily", time.day}, std::pair{"weekly", time.week}}) {
      auto& devices = report.device_ssid_report[period];
      for (auto at = devices.begin(); at != devices.end();) {
        at->second.erase(key);
        at = at->second.empty() ? devices.erase(at) : std::next(at);
      }
      report.rogue_report[period].erase(key);
      report.access_point_report[period].erase(key);
      report.ssid_report[period].erase(key);
      report.spectrum_report[period].erase(key);
    }
    report.device_ssid_samples[time.day].clear();
    report.rogue_samples[time.day].clear();
    report.access_point_snapshot[time.day].clear();
    report.ssid_snapshot[time.day].clear();
    report.spectrum_snapshot[time.day].clear();
  }
  Buckets none;
  for (auto& [mac, daily] : report.device_ssid_report["daily"]) Prune(time.day, time.week, daily, none);
  for (auto& [mac, weekly] : report.device_ssid_report["weekly"]) Prune(time.day, time.week, none, weekly);
  Prune(time.day, time.week, report.rogue_report["daily"], report.rogue_report["weekly"]);
  for (Report* family : {&report.access_point_report, &report.ssid_report, &report.spectrum_report}) {
    Prune(time.day, time.week, (*family)["daily"], (*family)["weekly"]);
  }
}

/// Adds every sample of the day to the snapshots of the three families.
void BuildSnapshots(const ReportTime& time, NetworkReport& report) {
  report.ssid_snapshot.erase(time.day);
  report.access_point_snapshot.erase(time.day);
  report.spectrum_snapshot.erase(time.day);
  for (const auto& [mac, networks] : report.device_ssid_samples[time.day]) {
    for (const auto& [key, samples] : networks) {
      for (const auto& [minute, sample] : samples) {
        const auto& network = sample.attributes;
        const std::string ssid = network.name + "|" + std::to_string(static_cast<int>(network.security_mode)) + "|" +
                                 std::to_string(network.guest);
        for (Networks* sum :
             {&report.ssid_snapshot[time.day][ssid][minute], &report.access_point_snapshot[time.day][mac][minute],
              &report.spectrum_snapshot[time.day][network.radio_type][minute]}) {
          sum->measured.client.current += sample.measured.client.current;
          sum->measured.traffic.average += sample.measured.traffic.average;
        }
      }
    }
  }
}

}  // namespace

void LiteralPass(const std::vector<DeviceReading>& devices, long now, bool is_clock_back, const ReportTime& time,
                 NetworkReport& report) {
  const bool changed = ClearOtherSnapShot(time.day, now, report) || is_clock_back;
  CleaRedundantSampleData(time, changed, report);
  for (const DeviceReading& device : devices) {
    CollectNeighboringAPs(device, now, time, report);
    for (const auto& reading : device.ssids) {
      const Networks sample = vexora_probe::monitor::SampleOf(device.mac, reading);
      const auto& network = sample.attributes;
      const std::string key = network.name + "|" + std::to_string(static_cast<int>(network.security_mode)) + "|" +
                              std::to_string(network.guest) + "|" + network.radio_type;
      report.device_ssid_samples[time.day][device.mac][key][std::to_string(now / 60)] = sample;
    }
  }
  for (auto& [mac, networks] : report.device_ssid_samples[time.day]) {
    for (auto& [key, samples] : networks) {
      Buckets& daily = report.device_ssid_report["daily"][mac];
      Buckets& weekly = report.device_ssid_report["weekly"][mac];
      CalculateClientCountData(key, samples, time, daily, weekly);
      CalculateTrafficData(key, samples, time, daily, weekly);
    }
  }
  BuildSnapshots(time, report);
  Family(report.ssid_snapshot, report.ssid_report, time);
  Family(report.access_point_snapshot, report.access_point_report, time);
  Family(report.spectrum_snapshot, report.spectrum_report, time);
}

void LiteralNames(NetworkReport& report) {
  auto& host = DeviceManager::GetInstance();
  for (auto& [period, buckets] : report.access_point_report) {
    for (auto& [key, records] : buckets) {
      for (auto& [mac, record] : records) {
        const auto basic = host.GetDevicesBasicInfo(mac, false);
        const auto platform = host.GetDevicePlatformInfo(mac, false);
        if (basic.size() != 1) continue;
        record.attributes.apname = basic.begin()->second.hostname;
        record.attributes.model = platform.size() == 1 ? platform.begin()->second.model : "";
        record.attributes.version = platform.size() == 1 ? platform.begin()->second.version : "";
      }
    }
  }
}

}  // namespace test
