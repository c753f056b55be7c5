#include "monitor/reports/network/network_running.h"

#include <algorithm>
#include <utility>

#include "monitor/engine/constants.h"
#include "monitor/engine/report_limits.h"
#include "monitor/reports/network/network_traffic.h"

namespace vexora_probe::monitor {
namespace {

void AddToMinute(std::uint32_t clients, double speed, RunningSum& sum) noexcept {
  sum.has_minute = true;
  sum.minute_clients += clients;
  sum.minute_speed += speed;
}

/// Adds the minute in progress to the day.
void CloseMinute(RunningSum& sum) noexcept {
  if (!sum.has_minute) return;
  ++sum.samples;
  sum.client_total += sum.minute_clients;
  sum.client_peak = std::max(sum.client_peak, sum.minute_clients);
  sum.speed_total += sum.minute_speed;
  if (!(sum.speed_peak > sum.minute_speed)) sum.speed_peak = sum.minute_speed;
  sum.has_minute = false;
  sum.minute_clients = 0;
  sum.minute_speed = 0;
}

void CloseMinutes(FamilySums& family) noexcept {
  for (auto& [id, sum] : family.ids) CloseMinute(sum);
}

/// Makes the staged sample of a network its latest one.
void TakeSample(NetworkToday& network, NetworkDay& day) noexcept {
  network.before = std::exchange(network.latest, network.staged);
  network.has_speed = !network.samples.empty() && network.latest.polled_at > network.before.polled_at;
  network.speed = network.has_speed ? SpeedBetween(network.before, network.latest) : 0;
  network.staged_pass = 0;
  day.client_total += network.staged_clients;
  day.client_peak = std::max(day.client_peak, network.staged_clients);
}

void FoldDevice(std::size_t pass, DeviceRecord& device) noexcept {
  if (device.today.empty()) return;
  if (device.days.size() > monitoring::kMaxReportDays) device.days.erase(device.days.begin());
  for (NetworkToday& network : device.today) {
    NetworkDay& day = device.days.back().networks[network.key];
    const bool is_new = network.staged_pass == pass;
    if (is_new) TakeSample(network, day);
    // A network without a new sample adds the speed of its latest one again.
    if (network.has_speed) {
      day.speed_total += network.speed;
      if (!(day.speed_peak > network.speed)) day.speed_peak = network.speed;
    }
    if (!is_new) continue;
    network.samples.emplace_back(pass - 1, network.staged_clients, network.speed);  // room was made for it
    AddToMinute(network.staged_clients, network.speed, *network.ssid);
    AddToMinute(network.staged_clients, network.speed, *device.access_point);
    AddToMinute(network.staged_clients, network.speed, *network.spectrum);
  }
}

void WriteDay(const ReportTime& time, const RunningSum& sum) noexcept {
  AccessPoints& day = sum.day->measured;
  // There may be more samples than slots: just after midnight, and in an hour that a clock change repeats.
  const std::int32_t slots = std::max(static_cast<std::int32_t>(sum.samples), time.slots);
  day.client = {.current = 0,
                .item = {.peak = sum.client_peak,
                         .total = sum.client_total,
                         .average = slots == 0 ? 0 : Quotient(sum.client_total, slots)}};
  day.traffic.average = Quotient(sum.speed_total, time.slots);
  day.traffic.peak = sum.speed_peak;
}

/// Adds a day to a week whose means are still sums.
void AddDay(const AccessPoints& day, AccessPoints& week) noexcept {
  week.client.item.peak = std::max(week.client.item.peak, day.client.item.peak);
  week.client.item.average += day.client.item.average;
  if (!(day.traffic.peak < week.traffic.peak)) week.traffic.peak = day.traffic.peak;
  week.traffic.average += day.traffic.average;
}

void DivideByDays(const ReportTime& time, AccessPoints& week) noexcept {
  week.client.item.average = Quotient(week.client.item.average, time.WeekdaysBegun());
  week.traffic.average = Quotient(week.traffic.average, time.WeekdaysBegun());
}

void WriteWeek(const ReportTime& time, const RunningSum& sum) noexcept {
  AccessPoints& week = sum.week->measured;
  week.client.item.peak = sum.week_client_peak;
  week.client.item.average = sum.week_client_sum;
  week.traffic.peak = sum.week_speed_peak;
  week.traffic.average = sum.week_speed_sum;
  AddDay(sum.day->measured, week);
  DivideByDays(time, week);
}

void FinishDays(const std::string& today, Buckets& daily) {
  for (auto day = daily.begin(); day != daily.end() && day->first < today; ++day) {
    for (auto& [id, record] : day->second) {
      ClientCount& count = record.measured.client.item;
      count.average = Quotient(count.total, kSlotsPerDay);
    }
  }
}

/// The sums over the days of the week, without the IDs that today's samples go on adding to.
Records SumDays(const ReportTime& time, const FamilySums& family, const Buckets& daily) {
  Records week;
  for (const auto& [day, records] : daily) {
    if (!time.IsInWeek(day)) continue;
    auto at = week.begin();
    for (const auto& [id, record] : records) {
      if (day == time.day && family.ids.contains(id)) continue;
      at = week.try_emplace(at, id);
      AddDay(record.measured, at->second.measured);
    }
  }
  return week;
}

/// Builds the bucket of the week.
void BuildWeek(const ReportTime& time, FamilySums& family, Report& report) {
  Records week = SumDays(time, family, report[monitoring::kDaily]);
  for (auto& [id, sum] : family.ids) {
    sum.week = &week[id];
    const AccessPoints& past = sum.week->measured;
    sum.week_client_peak = past.client.item.peak;
    sum.week_client_sum = past.client.item.average;
    sum.week_speed_peak = past.traffic.peak;
    sum.week_speed_sum = past.traffic.average;
  }
  for (auto& [id, record] : week) {
    if (family.ids.contains(id)) continue;
    DivideByDays(time, record.measured);
    if (family.ids.empty()) record.measured.client = {};  // clients are counted while anything has samples
  }
  Buckets& weekly = report[monitoring::kWeekly];
  if (week.empty()) {
    weekly.erase(time.week);
  } else {
    weekly[time.week] = std::move(week);  // the records stay where they are
  }
}

}  // namespace

void FoldStagedSamples(std::int64_t minute, SampleStore& store) noexcept {
  // A minute is open here when memory ran out before it was written.
  for (FamilySums* family : {&store.ssids, &store.access_points, &store.spectrums}) CloseMinutes(*family);
  const bool has_samples = !store.minutes.empty() && store.minutes.back() == minute;
  constexpr std::size_t kNoPass = ~std::size_t{0};
  const std::size_t pass = has_samples ? store.minutes.size() : kNoPass;
  // The networks of the device after the next one and the samples of the next one come from memory meanwhile.
  auto ahead = store.devices.begin();
  const auto fetch_ahead = [&] {
    if (ahead == store.devices.end()) return;
    ahead->second.PrefetchSamples();
    if (++ahead != store.devices.end()) ahead->second.PrefetchToday();
  };
  fetch_ahead();
  for (auto& [mac, device] : store.devices) {
    fetch_ahead();
    FoldDevice(pass, device);
  }
}

bool FoldSums(const ReportTime& time, FamilySums& family, Report& report) {
  Buckets& daily = report[monitoring::kDaily];
  if (family.is_week_due) {
    for (auto& [id, sum] : family.ids) sum.day = &daily[time.day][id];
  }
  for (auto& [id, sum] : family.ids) {
    CloseMinute(sum);
    WriteDay(time, sum);
  }
  const bool is_built = family.is_week_due;
  if (is_built) {
    if (!family.ids.empty()) FinishDays(time.day, daily);
    DropOldestDay(daily);
    BuildWeek(time, family, report);
    family.is_week_due = false;
  }
  for (auto& [id, sum] : family.ids) WriteWeek(time, sum);
  return is_built;
}

}  // namespace vexora_probe::monitor
