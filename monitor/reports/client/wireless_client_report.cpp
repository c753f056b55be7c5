#include "monitor/reports/client/wireless_client_report.h"

#include <strings.h>

#include <cstddef>
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
#include "platform/logging.h"

namespace client_report = monitoring::client_report;
namespace time_keys = monitoring::time_keys;
using monitoring::ClientReport;
using monitoring::ClientReports;
using monitoring::JsonTree;
using monitoring::client_report::FollowedClient;
using monitoring::client_report::Row;
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

/// Has the processor fetch a row that will be written.
void Prefetch(const monitoring::WirelessClientItem* row) {
  constexpr std::size_t kCacheLine = 64;
  for (std::size_t offset = 0; row != nullptr && offset < sizeof *row; offset += kCacheLine) {
    __builtin_prefetch(reinterpret_cast<const char*>(row) + offset, 1);
  }
}

/// Drops a period that has no rows: when memory ran out before the first of them was made.
class DropWithoutRows {
 public:
  DropWithoutRows(ClientReports& reports, const std::string& period) : reports_(reports), period_(period) {}
  ~DropWithoutRows() {
    const auto made = reports_.find(period_);
    if (made == reports_.end()) return;
    if (made->second.clients.empty() && made->second.guests.empty()) reports_.erase(made);
  }
  DropWithoutRows(const DropWithoutRows&) = delete;
  DropWithoutRows& operator=(const DropWithoutRows&) = delete;

 private:
  ClientReports& reports_;
  const std::string& period_;
};

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
  Pass pass{.now = static_cast<time_t>(now), .day = GetDateStr(now), .week = GetWeekStr(now)};
  // For the whole pass, so that no report shows half of one.
  const lock_guard_write held(lock_);
  if (is_cut_short_) ResumeAfterShortage();
  is_cut_short_ = true;
  if (now < latest_time_) RepairAfterClock(pass);
  latest_time_ = pass.now;
  if (pass.day != day_ || pass.week != week_) {
    ++row_generation_;
    day_ = pass.day;
    week_ = pass.week;
  }
  // The first pass of a day counts the traffic of the minute before it to the new day, but no time online.
  pass.online_seconds = OnlineSeconds(last_pass_time_, pass);
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) Collectdata(mac, pass);
  client_report::DropGone(++completed_passes_, pass.seen, followed_);
  last_pass_time_ = pass.now;
  Trim(pass);
  is_cut_short_ = false;
  LogLeftOut(pass);
}

void WirelessClientReport::LogLeftOut(const Pass& pass) {
  const auto log = [](std::size_t limit, const char* when, const std::string& period, std::size_t left_out) {
    pel_log_error(
        log_module::kMonitor,
        "[WirelessClientReport::DataMerge] More than %zu clients %s %s: new ones are left out, %zu in this pass", limit,
        when, period.c_str(), left_out);
  };
  if (pass.left_out != 0 && full_day_ != pass.day) {
    log(monitoring::kMaxClientRowsADay, "on", pass.day, pass.left_out);
    full_day_ = pass.day;
  }
  if (pass.left_out_of_week != 0 && full_week_ != pass.week) {
    log(monitoring::kMaxClientRowsAWeek, "in", pass.week, pass.left_out_of_week);
    full_week_ = pass.week;
  }
}

std::int32_t WirelessClientReport::OnlineSeconds(time_t seen_at, const Pass& pass) {
  if (pass.day != GetDateStr(static_cast<long>(seen_at))) return 0;
  return monitoring::SaturatedSeconds(monitoring::SecondsBetween(seen_at, pass.now));
}

void WirelessClientReport::ResumeAfterShortage() {
  client_report::CarryOver(++completed_passes_, followed_);
}

void WirelessClientReport::RepairAfterClock(const Pass& pass) {
  client_report::RebuildWeek(daily_, pass.day, pass.week, weekly_);
  ++row_generation_;
  daily_.erase(pass.day);
}

void WirelessClientReport::Collectdata(const std::string& mac, Pass& pass) {
  const std::vector<Sighting> clients = client_report::ReadClients(mac);
  if (clients.empty()) return;  // before the maps are indexed: a period without rows must not exist
  const DropWithoutRows of_day(daily_, pass.day);
  const DropWithoutRows of_week(weekly_, pass.week);
  ClientReport& today = daily_[pass.day];
  ClientReport& this_week = weekly_[pass.week];
  // All clients of a device are looked up before the first is counted: most of a pass is waiting for memory, and the
  // rows are on their way meanwhile.
  std::vector<FollowedClient*> followed;
  followed.reserve(clients.size());
  for (const Sighting& client : clients) {
    const FollowedClient& known = *followed.emplace_back(&followed_[client.key]);
    if (known.generation != row_generation_) continue;  // its rows may be gone
    Prefetch(known.today);
    Prefetch(known.this_week);
  }
  for (std::size_t index = 0; index < clients.size(); ++index) {
    Count(clients[index], pass, *followed[index], today, this_week);
  }
  pass.seen += clients.size();
}

void WirelessClientReport::Count(const Sighting& client, Pass& pass, FollowedClient& followed, ClientReport& today,
                                 ClientReport& this_week) {
  // Two keys with the separator in a name can be one text, and then one may be a guest's.
  const bool is_known = followed.generation == row_generation_ && followed.is_guest == client.is_guest;
  // A known client that has no row has none until day or week become others, or one of them goes.
  const client_report::Rows rows = is_known ? client_report::Rows{.day = {followed.today}, .week = {followed.this_week}}
                                            : client_report::RowsOf(client, today, this_week);
  if (is_known) {
    client_report::MakeRoom(client, rows.day);
    client_report::MakeRoom(client, rows.week);
  }
  // From here on nothing allocates: a client is counted in all of its rows or in none. The counters of one that is left
  // out are followed all the same: tomorrow there is room, and its traffic goes on from there.
  pass.left_out += rows.day.item == nullptr ? 1 : 0;
  pass.left_out_of_week += rows.day.item != nullptr && rows.week.item == nullptr ? 1 : 0;
  followed.today = rows.day.item;
  followed.this_week = rows.week.item;
  followed.is_guest = client.is_guest;
  followed.generation = row_generation_;
  if (followed.pass != completed_passes_ + 1) followed.seen_before_at = std::exchange(followed.seen_at, pass.now);
  const auto* before = client_report::Follow(client.counters, completed_passes_ + 1, followed);
  if (before == nullptr) {
    for (const Row& row : {rows.day, rows.week}) client_report::CountArriving(client, pass.now, row);
    return;
  }
  // Another time only for a client that a pass counted which then ran out of memory.
  const bool is_of_last_pass = followed.seen_before_at == last_pass_time_;
  const auto online_seconds = is_of_last_pass ? pass.online_seconds : OnlineSeconds(followed.seen_before_at, pass);
  for (const Row& row : {rows.day, rows.week}) {
    client_report::CountContinuing(client, *before, pass.now, online_seconds, row);
  }
}

void WirelessClientReport::Trim(const Pass& pass) {
  const std::size_t periods = daily_.size() + weekly_.size();
  client_report::Trim(daily_, pass.day, monitoring::kMaxReportDays);
  client_report::Trim(weekly_, pass.week, monitoring::kMaxReportWeeks);
  if (daily_.size() + weekly_.size() != periods) ++row_generation_;
}

std::string WirelessClientReport::GetAvailableTypePeriod() {
  const lock_guard_read held(lock_);
  return JsonText(client_report::PeriodsObject(daily_, weekly_));
}

std::string WirelessClientReport::GetWirelessReport(const std::string& report_type, const std::string& period) {
  const lock_guard_read held(lock_);
  const auto now = static_cast<long>(time(nullptr));
  if (IsType(report_type, monitoring::kDaily)) {
    return client_report::ReportText(daily_, period, DaySeconds(period, now));
  }
  if (IsType(report_type, monitoring::kWeekly)) {
    return client_report::ReportText(weekly_, period, WeekSeconds(period, now));
  }
  return client_report::EmptyReportText();
}
