#include "monitor/reports/network/network_traffic.h"

#include <cstdint>
#include <iterator>
#include <vector>

#include "monitor/engine/constants.h"
#include "monitor/engine/counters.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// The difference between two readings of a device's counters.
struct CounterDelta {
  std::uint64_t in = 0;       ///< Octets.
  std::uint64_t out = 0;      ///< Octets.
  std::uint64_t seconds = 0;  ///< By the device's clock; more than 0.

  std::uint64_t Octets() const { return in + out; }

  /// Megabits of 1,048,576 bits per second: octets to kibioctets, then eight bits of 1,024 kibibits each.
  ///
  /// Both factors are powers of two, so that the only rounding is that of the division by the seconds.
  double Speed() const {
    constexpr double kOctetsToKibioctets = 0x1p-10;
    constexpr double kKibioctetsToMegabits = 0x1p-7;
    return static_cast<double>(Octets()) * kOctetsToKibioctets / static_cast<double>(seconds) * kKibioctetsToMegabits;
  }
};

CounterDelta DeltaBetween(const std::string& id, const TrafficCount& before, const TrafficCount& now,
                          const HostFunctions& host) {
  if (now.inOctets < before.inOctets) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s current traffic inOcetes is reduced",
                   id.c_str());
  }
  if (now.outOctets < before.outOctets) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s current traffic outOcetes is reduced",
                   id.c_str());
  }
  const std::uint64_t seconds = monitoring::SecondsBetween(before.polling_time, now.polling_time);
  host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateTrafficData] ID: %s, time delta: %d",
                 id.c_str(), static_cast<int>(seconds));
  return {.in = monitoring::CounterIncrease(before.inOctets, now.inOctets),
          .out = monitoring::CounterIncrease(before.outOctets, now.outOctets),
          .seconds = seconds};
}

/// Stores the difference to the sample before in the latest sample.
void StoreDelta(const std::string& id, const CounterDelta& delta, const TrafficCount& before, const HostFunctions& host,
                TrafficCount& now) {
  now.time_delta = monitoring::SaturatedSeconds(delta.seconds);
  now.delta_octets = delta.Octets();
  now.average = delta.Speed();
  now.peak = now.average;
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateTrafficData] ID: %s, last_ele->second.traffic.inOctets: %llu,"
                 "last_ele->second.traffic.outOctets: %llu, prev_ele->second.traffic.inOctets: %llu,"
                 "prev_ele->second.traffic.outOctets: %llu, delta_in: %llu, delta_out: %llu, speed: %f",
                 id.c_str(), static_cast<unsigned long long>(now.inOctets),
                 static_cast<unsigned long long>(now.outOctets), static_cast<unsigned long long>(before.inOctets),
                 static_cast<unsigned long long>(before.outOctets), static_cast<unsigned long long>(delta.in),
                 static_cast<unsigned long long>(delta.out), now.average);
}

/// Adds the speed of a sample to its day.
void AddToDay(const std::string& id, double speed, const ReportTime& time, const HostFunctions& host,
              TrafficCount& day) {
  const double last_peak = day.peak;
  day.average_speed_total += speed;
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateTrafficData] ID: %s, last peek: %f, current average speed: %f",
                 id.c_str(), last_peak, speed);
  day.peak = last_peak > speed ? last_peak : speed;
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateTrafficData] ID: %s, current daily peek: %f, average_speed_total: "
                 "%f",
                 id.c_str(), day.peak, day.average_speed_total);
  if (time.slots != 0) day.average = Quotient(day.average_speed_total, time.slots);
}

/// The traffic of a week, from that of its days.
TrafficCount WeekOf(const std::vector<const Networks*>& days, const ReportTime& time) {
  TrafficCount week;
  double sum = 0;
  for (const Networks* day : days) {
    const TrafficCount& traffic = day->measured.traffic;
    // Not std::max: a peak that is not-a-number replaces the one before it.
    if (!(traffic.peak < week.peak)) week.peak = traffic.peak;
    sum += traffic.average;
  }
  week.average = Quotient(sum, time.WeekdaysBegun());
  return week;
}

}  // namespace

double SpeedBetween(const CounterReading& before, const CounterReading& now) {
  return CounterDelta{.in = monitoring::CounterIncrease(before.in, now.in),
                      .out = monitoring::CounterIncrease(before.out, now.out),
                      .seconds = monitoring::SecondsBetween(before.polled_at, now.polled_at)}
      .Speed();
}

bool RecordSpeed(const std::string& id, Samples& samples, const ReportTime& time, const HostFunctions& host,
                 Buckets& daily) {
  if (samples.empty()) {
    host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateTrafficData] ID: %s, sample data is empty",
                   id.c_str());
    return false;
  }
  if (samples.size() == 1) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s, sample data is not enough", id.c_str());
    return false;
  }
  TrafficCount& last = samples.rbegin()->second.measured.traffic;
  const TrafficCount& before = std::next(samples.rbegin())->second.measured.traffic;
  TrafficCount& day = daily[time.day][id].measured.traffic;  // made here, also when there is no speed to add to it
  host.log_debug(log_module::kMonitor,
                 "[WirelessNetworkReport::CalculateTrafficData] ID: %s, Latest polling time: %d, penul timate polling "
                 "time: %d",
                 id.c_str(), static_cast<int>(last.polling_time), static_cast<int>(before.polling_time));
  if (last.polling_time <= before.polling_time) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s, The polling time is not changedor the "
                   "system time was changed to a early time",
                   id.c_str());
    return false;
  }
  StoreDelta(id, DeltaBetween(id, before, last, host), before, host, last);
  AddToDay(id, last.average, time, host, day);
  return true;
}

void FoldSpeeds(const std::string& id, const ReportTime& time, const HostFunctions& host, Buckets& daily,
                Buckets& weekly) {
  ForEachFinishedRecord(
      time.day, daily, [&](const std::string& day, const std::string& day_id, AccessPoints& measured) {
        TrafficCount& traffic = measured.traffic;
        traffic.average = Quotient(traffic.average_speed_total, kSlotsPerDay);
        host.log_debug(log_module::kMonitor,
                       "[WirelessNetworkReport::CalculateTrafficData] ID: %s, average_speed_total: %f, day: %s, "
                       "average traffic: %f",
                       day_id.c_str(), traffic.average_speed_total, day.c_str(), traffic.average);
      });
  if (DropOldestDay(daily)) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s, the days's sample data exceed 7 days.",
                   id.c_str());
  }
  const WeekOfIds week = RegroupByWeek(daily, time, [&](const std::string& day) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s, day: %s is not in this week: %s", id.c_str(),
                   day.c_str(), time.week.c_str());
  });
  for (const auto& [week_id, days] : week) {
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateTrafficData] ID: %s, Week day: %d in week: %s", week_id.c_str(),
                   static_cast<int>(time.weekday), time.week.c_str());
    weekly[time.week][week_id].measured.traffic = WeekOf(days, time);
  }
}

void RecordDailySpeeds(const Snapshot& snapshot, const ReportTime& time, const HostFunctions& host, SpeedLog log,
                       Report& report) {
  const auto today = snapshot.find(time.day);
  if (today == snapshot.end()) return;
  for (const auto& [id, samples] : today->second) {
    TrafficCount& day = report[monitoring::kDaily][time.day][id].measured.traffic;
    double peak = 0;
    double sum = 0;
    for (const auto& [minute, sample] : samples) {
      const double speed = sample.measured.traffic.average;
      if (!(peak > speed)) peak = speed;  // a speed that is not-a-number becomes the peak
      sum += speed;
      log(host, id, peak, speed, sum);
    }
    day.average = Quotient(sum, time.slots);
    day.peak = peak;
  }
}

void FoldWeeklySpeeds(const ReportTime& time, const HostFunctions& host, Report& report) {
  Buckets& daily = report[monitoring::kDaily];
  if (DropOldestDay(daily)) {
    host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateWeeklyTraffic] Exceed 7 days");
  }
  const WeekOfIds week = RegroupByWeek(daily, time, [](const std::string& /*day*/) {});
  for (const auto& [id, days] : week) {
    const TrafficCount traffic = WeekOf(days, time);
    host.log_debug(log_module::kMonitor,
                   "[WirelessNetworkReport::CalculateWeeklyTraffic] ID: %s, average: %f, peak: %f", id.c_str(),
                   traffic.average, traffic.peak);
    report[monitoring::kWeekly][time.week][id].measured.traffic = traffic;
  }
}

}  // namespace vexora_probe::monitor
