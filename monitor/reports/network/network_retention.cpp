#include "monitor/reports/network/network_retention.h"

#include <algorithm>
#include <map>

#include "monitor/engine/constants.h"
#include "monitor/engine/report_limits.h"
#include "monitor/reports/network/network_keys.h"
#include "monitor/reports/network/network_periods.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// Called with the latest minute of an ID and the current one.
using LatestLog = void (*)(const HostFunctions& host, const char* latest, const char* now);

/// Whether an ID has a sample of the current minute or later. Minutes are compared as texts.
///
/// Looks from the last ID to the first and stops at the first hit: the log shows which IDs were looked at.
template <typename Sample>
bool HasCurrentSample(const std::map<std::string, std::map<std::string, Sample>>& ids, const std::string& now,
                      const HostFunctions& host, LatestLog log) {
  return std::any_of(ids.rbegin(), ids.rend(), [&](const auto& id) {
    if (id.second.empty()) return false;
    const std::string& latest = id.second.rbegin()->first;
    if (log != nullptr) log(host, latest.c_str(), now.c_str());
    return latest >= now;
  });
}

bool HasCurrentSample(const DeviceDaySamples& devices, const std::string& now, const HostFunctions& host) {
  return std::any_of(devices.rbegin(), devices.rend(),
                     [&](const auto& device) { return HasCurrentSample(device.second, now, host, nullptr); });
}

/// Drops the samples of all days but today; with `is_found`, a sample of the future, today's as well.
template <typename Days>
void KeepToday(const std::string& day, bool is_found, const char* clear_line, const HostFunctions& host, Days& days) {
  std::erase_if(days, [&](const auto& entry) { return entry.first != day; });
  if (!is_found) return;
  host.log_debug(log_module::kMonitor, "%s", clear_line);
  days[day].clear();
}

/// The samples of a day, which is not made when there are none.
template <typename Days>
const typename Days::mapped_type& Today(const std::string& day, const Days& days) {
  static const typename Days::mapped_type nothing;
  const auto today = days.find(day);
  return today == days.end() ? nothing : today->second;
}

void LogRogues(const HostFunctions& host, const char* latest, const char* now) {
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] rogue APs mins_iter: %s, now: %s",
                 latest, now);
}

void LogAccessPoints(const HostFunctions& host, const char* latest, const char* now) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::ClearOtherSnapShot] Access points mins_iter: %s, now: %s", latest, now);
}

void LogSSIDs(const HostFunctions& host, const char* latest, const char* now) {
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] SSID report mins_iter: %s, now: %s",
                 latest, now);
}

void LogSpectrums(const HostFunctions& host, const char* latest, const char* now) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::ClearOtherSnapShot] Spectrum report mins_iter: %s, now: %s", latest, now);
}

/// Drops a bucket of every device, and the devices that have no other bucket of the period.
void DropBucket(const std::string& period, const std::string& key, DeviceReport& report) {
  auto& devices = report[period];
  for (auto& [mac, buckets] : devices) buckets.erase(key);
  std::erase_if(devices, [](const auto& device) { return device.second.empty(); });
}

/// Drops the samples of a day, which is not made when there are none: days that nobody fills would stay for ever.
template <typename Samples>
void DropDay(const std::string& day, Samples& samples) {
  const auto found = samples.find(day);
  if (found != samples.end()) found->second.clear();
}

/// Drops the samples and the bucket of today and the bucket of this week of one family.
template <typename Samples, typename Periods>
void DropCurrent(const std::string& day, const std::string& week, Samples& samples, Periods& report) {
  DropDay(day, samples);
  report[monitoring::kDaily].erase(day);
  report[monitoring::kWeekly].erase(week);
}

void DropCurrent(const std::string& day, const std::string& week, const HostFunctions& host, NetworkReport& report) {
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CleaRedundantSampleData] clear current day and week data");
  DropBucket(monitoring::kDaily, day, report.device_ssid_report);
  DropBucket(monitoring::kWeekly, week, report.device_ssid_report);
  DropDay(day, report.device_ssid_samples);
  DropCurrent(day, week, report.rogue_samples, report.rogue_report);
  DropCurrent(day, week, report.access_point_snapshot, report.access_point_report);
  DropCurrent(day, week, report.ssid_snapshot, report.ssid_report);
  DropCurrent(day, week, report.spectrum_snapshot, report.spectrum_report);
}

/// Drops the days after `day`, and the oldest one of too many.
template <typename Buckets>
void KeepDays(const std::string& day, Buckets& daily) {
  daily.erase(daily.upper_bound(day), daily.end());
  if (daily.size() > monitoring::kMaxReportDays) daily.erase(daily.begin());
}

/// Drops `week` and those after it, and the oldest one of too many.
template <typename Buckets>
void KeepWeeks(const std::string& week, Buckets& weekly) {
  weekly.erase(weekly.lower_bound(week), weekly.end());
  if (weekly.size() > monitoring::kMaxReportWeeks) weekly.erase(weekly.begin());
}

template <typename Periods>
void KeepPeriods(const std::string& day, const std::string& week, Periods& report) {
  KeepDays(day, report[monitoring::kDaily]);
  KeepWeeks(week, report[monitoring::kWeekly]);
}

}  // namespace

bool ClearOtherSnapShot(const std::string& day, long now, const HostFunctions& host, NetworkReport& report) {
  const std::string minute = MinuteKey(now);
  // Every family is searched, also after a hit: the lines of the search are part of the log.
  bool is_found = HasCurrentSample(Today(day, report.rogue_samples), minute, host, &LogRogues);
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear raps_report snapshot", host,
            report.rogue_samples);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] Access points size: %d",
                 static_cast<int>(report.access_point_snapshot.size()));
  is_found = HasCurrentSample(Today(day, report.access_point_snapshot), minute, host, &LogAccessPoints) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear access_points_report snapshot", host,
            report.access_point_snapshot);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] SSID report size: %d",
                 static_cast<int>(report.ssid_snapshot.size()));
  is_found = HasCurrentSample(Today(day, report.ssid_snapshot), minute, host, &LogSSIDs) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear ssids report snapshot", host,
            report.ssid_snapshot);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] Spectrum report size: %d",
                 static_cast<int>(report.spectrum_snapshot.size()));
  is_found = HasCurrentSample(Today(day, report.spectrum_snapshot), minute, host, &LogSpectrums) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear spectrum report snapshot", host,
            report.spectrum_snapshot);
  is_found = HasCurrentSample(Today(day, report.device_ssid_samples), minute, host) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear DeviceSSIDsReport snapshot", host,
            report.device_ssid_samples);
  return is_found;
}

void CleaRedundantSampleData(const std::string& day, const std::string& week, bool clear_current,
                             const HostFunctions& host, NetworkReport& report) {
  if (clear_current) DropCurrent(day, week, host, report);
  for (auto& [mac, daily] : report.device_ssid_report[monitoring::kDaily]) KeepDays(day, daily);
  for (auto& [mac, weekly] : report.device_ssid_report[monitoring::kWeekly]) KeepWeeks(week, weekly);
  KeepPeriods(day, week, report.rogue_report);
  KeepPeriods(day, week, report.access_point_report);
  KeepPeriods(day, week, report.ssid_report);
  KeepPeriods(day, week, report.spectrum_report);
  report.current_rogue_week.clear();
}

void KeepDeviceDays(const std::string& day, bool clear_current, SampleStore& store) {
  for (auto& [mac, device] : store.devices) {
    std::erase_if(device.days,
                  [&](const DeviceDay& kept) { return kept.day > day || (clear_current && kept.day == day); });
    if (device.days.size() > monitoring::kMaxReportDays) device.days.erase(device.days.begin());
  }
}

}  // namespace vexora_probe::monitor
