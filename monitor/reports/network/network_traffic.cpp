#include "monitor/reports/network/network_traffic.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <vector>

#include "monitor/engine/constants.h"
#include "monitor/reports/network/network_periods.h"
#include "monitor/reports/network/quotient.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// What two readings of a device's counters say of the time between them.
struct Movement {
  std::uint64_t in = 0;       ///< Octets.
  std::uint64_t out = 0;      ///< Octets.
  std::uint64_t seconds = 0;  ///< By the device's clock; more than 0.

  std::uint64_t Octets() const { return in + out; }

  /// Megabits of 1,048,576 bits per second: octets to kibioctets, then eight bits of 1,024 kibibits each.
  double Speed() const {
    constexpr double kOctetsToKibioctets = 0x1p-10;
    constexpr double kKibioctetsToMegabits = 0x1p-7;
    return static_cast<double>(Octets()) * kOctetsToKibioctets / static_cast<double>(seconds) * kKibioctetsToMegabits;
  }
};

/// Octets between two readings; a counter that fell restarted, and counts from 0.
std::uint64_t OctetsBetween(std::uint64_t before, std::uint64_t now) {
  return now < before ? now : now - before;
}

Movement MovementBetween(const std::string& id, const TrafficCount& before, const TrafficCount& now) {
  if (now.inOctets < before.inOctets) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s current traffic inOcetes is reduced",
                  id.c_str());
  }
  if (now.outOctets < before.outOctets) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s current traffic outOcetes is reduced",
                  id.c_str());
  }
  // A device's clock may step by any amount. The later reading has the greater time, so this difference fits.
  const std::uint64_t seconds =
      static_cast<std::uint64_t>(now.polling_time) - static_cast<std::uint64_t>(before.polling_time);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateTrafficData] ID: %s, time delta: %d",
                id.c_str(), static_cast<int>(seconds));
  return {.in = OctetsBetween(before.inOctets, now.inOctets),
          .out = OctetsBetween(before.outOctets, now.outOctets),
          .seconds = seconds};
}

std::int32_t Saturated(std::uint64_t seconds) {
  constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
  return seconds > static_cast<std::uint64_t>(kMost) ? kMost : static_cast<std::int32_t>(seconds);
}

/// Writes a movement into the sample at its end.
void StoreMovement(const std::string& id, const Movement& moved, const TrafficCount& before, TrafficCount& now) {
  now.time_delta = Saturated(moved.seconds);
  now.delta_octets = moved.Octets();
  now.average = moved.Speed();
  now.peak = now.average;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, last_ele->second.traffic.inOctets: %llu,"
                "last_ele->second.traffic.outOctets: %llu, prev_ele->second.traffic.inOctets: %llu,"
                "prev_ele->second.traffic.outOctets: %llu, delta_in: %llu, delta_out: %llu, speed: %f",
                id.c_str(), static_cast<unsigned long long>(now.inOctets),
                static_cast<unsigned long long>(now.outOctets), static_cast<unsigned long long>(before.inOctets),
                static_cast<unsigned long long>(before.outOctets), static_cast<unsigned long long>(moved.in),
                static_cast<unsigned long long>(moved.out), now.average);
}

/// Adds the speed of a sample to its day.
void AddToDay(const std::string& id, double speed, double last_peak, std::int32_t slots, TrafficCount& day) {
  day.average_speed_total += speed;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, last peek: %f, current average speed: %f",
                id.c_str(), last_peak, speed);
  day.peak = last_peak > speed ? last_peak : speed;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, current daily peek: %f, average_speed_total: %f",
                id.c_str(), day.peak, day.average_speed_total);
  if (slots != 0) day.average = Quotient(day.average_speed_total, slots);
}

void FinishDays(const std::string& today, Buckets& daily) {
  for (auto bucket = daily.begin(); bucket != daily.end() && bucket->first < today; ++bucket) {
    for (auto& [id, record] : bucket->second) {
      TrafficCount& traffic = record.measured.traffic;
      traffic.average = Quotient(traffic.average_speed_total, kSlotsPerDay);
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CalculateTrafficData] ID: %s, average_speed_total: %f, day: %s, "
                    "average traffic: %f",
                    id.c_str(), traffic.average_speed_total, bucket->first.c_str(), traffic.average);
    }
  }
}

/// The traffic of a week, from that of its days.
TrafficCount WeekOf(const std::vector<const Networks*>& days, const ReportTime& time) {
  TrafficCount week;
  double sum = 0;
  for (const Networks* day : days) {
    const TrafficCount& traffic = day->measured.traffic;
    if (!(traffic.peak < week.peak)) week.peak = traffic.peak;
    sum += traffic.average;
  }
  week.average = Quotient(sum, time.WeekdaysBegun());
  return week;
}

/// Peak and mean of the samples of one ID.
void RecordDailySpeed(const std::string& id, const Samples& samples, std::int32_t slots, SpeedLog log,
                      TrafficCount& day) {
  double peak = 0;
  double sum = 0;
  for (const auto& [minute, sample] : samples) {
    const double speed = sample.measured.traffic.average;
    if (!(peak > speed)) peak = speed;
    sum += speed;
    log(id, peak, speed, sum);
  }
  day.average = Quotient(sum, slots);
  day.peak = peak;
}

}  // namespace

bool RecordSpeed(const std::string& id, Samples& samples, const ReportTime& time, Buckets& daily) {
  if (samples.empty()) {
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateTrafficData] ID: %s, sample data is empty",
                  id.c_str());
    return false;
  }
  if (samples.size() == 1) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, sample data is not enough", id.c_str());
    return false;
  }
  TrafficCount& last = samples.rbegin()->second.measured.traffic;
  const TrafficCount& before = std::next(samples.rbegin())->second.measured.traffic;
  TrafficCount& day = daily[time.day][id].measured.traffic;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, Latest polling time: %d, penul timate polling "
                "time: %d",
                id.c_str(), static_cast<int>(last.polling_time), static_cast<int>(before.polling_time));
  if (last.polling_time <= before.polling_time) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, The polling time is not changedor the system "
                  "time was changed to a early time",
                  id.c_str());
    return false;
  }
  const double last_peak = day.peak;
  StoreMovement(id, MovementBetween(id, before, last), before, last);
  AddToDay(id, last.average, last_peak, time.slots, day);
  return true;
}

void FoldSpeeds(const std::string& id, const ReportTime& time, Buckets& daily, Buckets& weekly) {
  FinishDays(time.day, daily);
  if (DropOldestDay(daily)) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, the days's sample data exceed 7 days.",
                  id.c_str());
  }
  const WeekOfIds week = RegroupByWeek(daily, time, [&](const std::string& day) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, day: %s is not in this week: %s", id.c_str(),
                  day.c_str(), time.week.c_str());
  });
  for (const auto& [week_id, days] : week) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, Week day: %d in week: %s", week_id.c_str(),
                  static_cast<int>(time.weekday), time.week.c_str());
    weekly[time.week][week_id].measured.traffic = WeekOf(days, time);
  }
}

void RecordDailySpeeds(Report& report, const Snapshot& snapshot, const ReportTime& time, SpeedLog log) {
  const auto today = snapshot.find(time.day);
  if (today == snapshot.end()) return;
  for (const auto& [id, samples] : today->second) {
    RecordDailySpeed(id, samples, time.slots, log, report[monitoring::kDaily][time.day][id].measured.traffic);
  }
}

void FoldWeeklySpeeds(Report& report, const ReportTime& time) {
  Buckets& daily = report[monitoring::kDaily];
  if (daily.size() > monitoring::kMaxReportDays) {
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateWeeklyTraffic] Exceed 7 days");
    DropOldestDay(daily);
  }
  const WeekOfIds week = RegroupByWeek(daily, time, [](const std::string& /*day*/) {});
  for (const auto& [id, days] : week) {
    const TrafficCount traffic = WeekOf(days, time);
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateWeeklyTraffic] ID: %s, average: %f, peak: %f",
                  id.c_str(), traffic.average, traffic.peak);
    report[monitoring::kWeekly][time.week][id].measured.traffic = traffic;
  }
}

}  // namespace vexora_probe::monitor
