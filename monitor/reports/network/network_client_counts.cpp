#include "monitor/reports/network/network_client_counts.h"

#include <algorithm>
#include <cstdint>

#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// Total and peak over the samples of a day.
ClientCount TotalAndPeak(const std::string& id, const Samples& samples, const HostFunctions& host) {
  ClientCount count;
  for (const auto& [minute, sample] : samples) {
    const std::uint32_t current = sample.measured.client.current;
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateClientCountData] ID: %s, current: %d, mins_peek: %d", id.c_str(),
                   static_cast<int>(current), static_cast<int>(count.peak));
    count.total += current;
    count.peak = std::max(count.peak, current);
  }
  return count;
}

/// The client counts of a week, from those of its days.
Clients WeekOf(const std::string& id, const std::vector<const Networks*>& days, const ReportTime& time,
               const HostFunctions& host) {
  Clients week;
  double sum = 0;
  for (const Networks* day : days) {
    const ClientCount& count = day->measured.client.item;
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateClientCountData] ID: %s, daily_peek: %d, "
                   "d_iter->second.client.item.peak: %d",
                   id.c_str(), static_cast<int>(week.item.peak), static_cast<int>(count.peak));
    week.item.peak = std::max(week.item.peak, count.peak);
    sum += count.average;
  }
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateClientCountData] Week day: %d in week: %s",
                 static_cast<int>(time.weekday), time.week.c_str());
  // Over the weekdays that have begun, also those on which the ID was not seen: it had no clients then.
  week.item.average = Quotient(sum, time.WeekdaysBegun());
  return week;
}

}  // namespace

void RecordClientCounts(const std::string& id, const Samples& samples, const ReportTime& time,
                        const HostFunctions& host, Buckets& daily) {
  ClientCount count = TotalAndPeak(id, samples, host);
  // There may be more samples than slots: just after midnight, and in an hour that a clock change repeats.
  const std::int32_t slots = std::max(static_cast<std::int32_t>(samples.size()), time.slots);
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateClientCountData] ID: %s, total: %d, mins_count: %d, mins_peek: %d, "
                 "SampleCountCurrentTime: %d, count: %d",
                 id.c_str(), static_cast<int>(count.total), static_cast<int>(samples.size()),
                 static_cast<int>(count.peak), static_cast<int>(time.slots), static_cast<int>(slots));
  count.average = slots == 0 ? 0 : Quotient(count.total, slots);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateClientCountData] ID: %s, average_count: %f",
                 id.c_str(), count.average);
  daily[time.day][id].measured.client = {.current = 0, .item = count};
}

void FoldClientCounts(const ReportTime& time, const HostFunctions& host, Buckets& daily, Buckets& weekly) {
  ForEachFinishedRecord(time.day, daily, [&](const std::string& day, const std::string& id, AccessPoints& measured) {
    ClientCount& count = measured.client.item;
    count.average = Quotient(count.total, kSlotsPerDay);
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateClientCountData] ID: %s, total_count: %u, day: %s, "
                   "average count: %f",
                   id.c_str(), static_cast<unsigned>(count.total), day.c_str(), count.average);
  });
  if (DropOldestDay(daily)) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateClientCountData] the days's sample data exceed 7 days.");
  }
  const WeekOfIds week = RegroupByWeek(daily, time, [&](const std::string& day) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateClientCountData] day: %s is not in this week: %s", day.c_str(),
                   time.week.c_str());
  });
  for (const auto& [id, days] : week) weekly[time.week][id].measured.client = WeekOf(id, days, time, host);
}

}  // namespace vexora_probe::monitor
