#include "monitor/reports/client/wireless_client_report.h"

#include <strings.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "monitor/engine/constants.h"
#include "monitor/engine/counters.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/report_limits.h"
#include "monitor/engine/time_keys.h"
#include "monitor/reports/client/client_report_collect.h"
#include "monitor/reports/client/client_report_fold.h"
#include "monitor/reports/client/client_report_show.h"
#include "platform/device_centre.h"

namespace client_report = monitoring::client_report;
namespace time_keys = monitoring::time_keys;
using monitoring::ClientReport;
using monitoring::ClientReports;
using monitoring::ClientSamples;
using monitoring::JsonTree;
using monitoring::client_report::Sighting;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

constexpr const char* kNothing = "{}";
constexpr std::int32_t kWeekSeconds = 7 * time_keys::kDaySeconds;

/// How long a day or week has lasted: the current one, until the present time of the local clock.
std::int32_t DaySeconds(const std::string& day, long now) {
  return day == time_keys::Day(now) ? time_keys::SecondsIntoDay(now) : time_keys::kDaySeconds;
}
std::int32_t WeekSeconds(const std::string& week, long now) {
  return week == time_keys::Week(now) ? time_keys::SecondsIntoWeek(now) : kWeekSeconds;
}

bool IsType(const std::string& report_type, const char* type) {
  return strcasecmp(report_type.c_str(), type) == 0;
}

std::string JsonText(const JsonTree& tree) {
  std::string text = monitoring::TextOf(tree.get());
  return text.empty() ? kNothing : text;
}

}  // namespace

std::string WirelessClientReport::GetMonitorName() {
  return monitoring::kWirelessClientReport;
}

void WirelessClientReport::DataMerge() {
  const auto now = static_cast<long>(time(nullptr));
  const std::string day = GetDateStr(now);
  const std::string week = GetWeekStr(now);
  const lock_guard_write held(lock_);
  if (now < last_pass_time_) {  // the clock was set back
    daily_.erase(day);
    client_report::RebuildWeek(daily_, day, week, weekly_);
  }
  ClientSamples sample;
  sample.reserve(previous_sample_.size());
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    Collectdata(mac, sample, now, day, week);
  }
  // Replaced as a whole, so that a client that was not in this pass counts as arriving when it comes back.
  previous_sample_ = std::move(sample);
  last_pass_time_ = static_cast<time_t>(now);
  client_report::Trim(daily_, day, monitoring::kMaxReportDays);
  client_report::Trim(weekly_, week, monitoring::kMaxReportWeeks);
}

void WirelessClientReport::Collectdata(const std::string& mac, ClientSamples& sample, long now, const std::string& day,
                                       const std::string& week) {
  std::vector<Sighting> clients = client_report::ReadClients(mac);
  if (clients.empty()) return;  // before the maps are indexed: a period without rows must not exist
  const auto moment = static_cast<time_t>(now);
  const bool is_same_day = day == GetDateStr(static_cast<long>(last_pass_time_));
  const std::int32_t online_seconds =
      is_same_day ? monitoring::SaturatedSeconds(monitoring::SecondsBetween(last_pass_time_, moment)) : 0;
  ClientReport& today = daily_[day];
  ClientReport& this_week = weekly_[week];
  for (Sighting& client : clients) {
    const auto before = previous_sample_.find(client.key);
    for (ClientReport* report : {&today, &this_week}) {
      if (before == previous_sample_.end()) {
        client_report::CountArriving(client, moment, *report);
      } else {
        client_report::CountContinuing(client, before->second, moment, online_seconds, *report);
      }
    }
    sample.insert_or_assign(std::move(client.key), client.counters);
  }
}

std::string WirelessClientReport::GetAvailableTypePeriod() {
  const lock_guard_read held(lock_);
  return JsonText(client_report::PeriodsObject(daily_, weekly_));
}

std::string WirelessClientReport::GetWirelessReport(const std::string& report_type, const std::string& period) {
  const lock_guard_read held(lock_);
  const auto now = static_cast<long>(time(nullptr));
  if (IsType(report_type, monitoring::kDaily)) {
    return JsonText(client_report::ReportObject(daily_, period, DaySeconds(period, now)));
  }
  if (IsType(report_type, monitoring::kWeekly)) {
    return JsonText(client_report::ReportObject(weekly_, period, WeekSeconds(period, now)));
  }
  return JsonText(client_report::ReportObject(ClientReport{}, time_keys::kDaySeconds));
}
