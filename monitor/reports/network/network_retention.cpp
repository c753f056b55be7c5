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
using LatestLog = void (*)(const char* latest, const char* now);

/// Whether an ID, the last ones first, has a sample of the current minute or later. Minutes are compared as texts.
template <typename Sample>
bool HasCurrentSample(const std::map<std::string, std::map<std::string, Sample>>& ids, const std::string& now,
                      LatestLog log) {
  return std::any_of(ids.rbegin(), ids.rend(), [&](const auto& id) {
    if (id.second.empty()) return false;
    const std::string& latest = id.second.rbegin()->first;
    if (log != nullptr) log(latest.c_str(), now.c_str());
    return latest >= now;
  });
}

bool HasCurrentSample(const DeviceDaySamples& devices, const std::string& now) {
  return std::any_of(devices.rbegin(), devices.rend(),
                     [&](const auto& device) { return HasCurrentSample(device.second, now, nullptr); });
}

/// Leaves nothing but today's samples, and those only while none of them lies in the future.
template <typename Days>
void KeepToday(const std::string& day, bool is_found, const char* clear_line, Days& days) {
  std::erase_if(days, [&](const auto& entry) { return entry.first != day; });
  if (!is_found) return;
  pel_log_debug(log_module::kMonitor, "%s", clear_line);
  days[day].clear();
}

template <typename Days>
const typename Days::mapped_type& Today(const std::string& day, const Days& days) {
  static const typename Days::mapped_type nothing;
  const auto today = days.find(day);
  return today == days.end() ? nothing : today->second;
}

void LogRogues(const char* latest, const char* now) {
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] rogue APs mins_iter: %s, now: %s",
                latest, now);
}

void LogAccessPoints(const char* latest, const char* now) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::ClearOtherSnapShot] Access points mins_iter: %s, now: %s", latest, now);
}

void LogSSIDs(const char* latest, const char* now) {
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] SSID report mins_iter: %s, now: %s",
                latest, now);
}

void LogSpectrums(const char* latest, const char* now) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::ClearOtherSnapShot] Spectrum report mins_iter: %s, now: %s", latest, now);
}

/// Drops the bucket of today and of this week, and with them a device or period that has none left.
void DropCurrent(const std::string& period, const std::string& key, DeviceReport& report) {
  auto& devices = report[period];
  for (auto& [mac, buckets] : devices) buckets.erase(key);
  std::erase_if(devices, [](const auto& device) { return device.second.empty(); });
}

template <typename Samples, typename Periods>
void DropCurrent(const std::string& day, const std::string& week, Samples& samples, Periods& report) {
  samples[day].clear();
  report[monitoring::kDaily].erase(day);
  report[monitoring::kWeekly].erase(week);
}

void DropCurrent(const std::string& day, const std::string& week, NetworkReport& report) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CleaRedundantSampleData] clear current day and week data");
  DropCurrent(monitoring::kDaily, day, report.device_ssid_report);
  DropCurrent(monitoring::kWeekly, week, report.device_ssid_report);
  report.device_ssid_samples[day].clear();
  DropCurrent(day, week, report.rogue_samples, report.rogue_report);
  DropCurrent(day, week, report.access_point_snapshot, report.access_point_report);
  DropCurrent(day, week, report.ssid_snapshot, report.ssid_report);
  DropCurrent(day, week, report.spectrum_snapshot, report.spectrum_report);
}

template <typename Buckets>
void KeepDays(const std::string& day, Buckets& daily) {
  daily.erase(daily.upper_bound(day), daily.end());
  if (daily.size() > monitoring::kMaxReportDays) daily.erase(daily.begin());
}

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

bool ClearOtherSnapShot(const std::string& day, long now, NetworkReport& report) {
  const std::string minute = MinuteKey(now);
  bool is_found = HasCurrentSample(Today(day, report.rogue_samples), minute, &LogRogues);
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear raps_report snapshot",
            report.rogue_samples);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] Access points size: %d",
                static_cast<int>(report.access_point_snapshot.size()));
  is_found = HasCurrentSample(Today(day, report.access_point_snapshot), minute, &LogAccessPoints) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear access_points_report snapshot",
            report.access_point_snapshot);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] SSID report size: %d",
                static_cast<int>(report.ssid_snapshot.size()));
  is_found = HasCurrentSample(Today(day, report.ssid_snapshot), minute, &LogSSIDs) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear ssids report snapshot",
            report.ssid_snapshot);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::ClearOtherSnapShot] Spectrum report size: %d",
                static_cast<int>(report.spectrum_snapshot.size()));
  is_found = HasCurrentSample(Today(day, report.spectrum_snapshot), minute, &LogSpectrums) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear spectrum report snapshot",
            report.spectrum_snapshot);
  is_found = HasCurrentSample(Today(day, report.device_ssid_samples), minute) || is_found;
  KeepToday(day, is_found, "[WirelessNetworkReport::ClearOtherSnapShot] Clear DeviceSSIDsReport snapshot",
            report.device_ssid_samples);
  return is_found;
}

void CleaRedundantSampleData(const std::string& day, const std::string& week, bool clear_current,
                             NetworkReport& report) {
  if (clear_current) DropCurrent(day, week, report);
  for (auto& [mac, daily] : report.device_ssid_report[monitoring::kDaily]) KeepDays(day, daily);
  for (auto& [mac, weekly] : report.device_ssid_report[monitoring::kWeekly]) KeepWeeks(week, weekly);
  KeepPeriods(day, week, report.rogue_report);
  KeepPeriods(day, week, report.access_point_report);
  KeepPeriods(day, week, report.ssid_report);
  KeepPeriods(day, week, report.spectrum_report);
  report.current_rogue_week.clear();
}

}  // namespace vexora_probe::monitor
