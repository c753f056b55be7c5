#include "tests/plain/network_records.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "platform/logging.h"
#include "platform/utilities/signal.h"
#include "tests/plain/monitor.h"

namespace plain {
namespace {

constexpr int kSlotsPerDay = 288;
constexpr std::size_t kKeptDays = 7;

/// ID -> its records of the days of this week, oldest first.
std::map<std::string, std::vector<Record>> Regroup(const Calendar& calendar, const Buckets& days) {
  std::map<std::string, std::vector<Record>> regrouped;
  for (const auto& [day, records] : days) {
    if (!calendar.IsInWeek(day)) continue;
    for (const auto& [id, record] : records) regrouped[id].push_back(record);
  }
  return regrouped;
}

/// Octets between two readings; a counter that fell has restarted and counts from 0.
std::uint64_t Moved(std::uint64_t before, std::uint64_t now) {
  return now < before ? now : now - before;
}

/// The speeds of a week: the highest peak, and the mean over the days that have begun.
void SetWeeklySpeed(const std::vector<Record>& days, const Calendar& calendar, Record& week) {
  week.speed_peak = 0;
  double sum = 0;
  for (const Record& day : days) {
    if (!(day.speed_peak < week.speed_peak)) week.speed_peak = day.speed_peak;
    sum += day.speed_mean;
  }
  week.speed_mean = sum / (calendar.weekday + 1);
}

}  // namespace

std::string MinuteKey(time_t time) {
  return std::to_string(Minute(time));
}

std::string SsidKey(const NetworkSample& network) {
  return network.name + "|" + std::to_string(network.security_mode) + "|" + (network.is_guest ? "1" : "0");
}

// The lines carry another function's name; who searches logs for them knows them so.
bool ParseSsidKey(const std::string& key, NetworkSample& network) {
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid_key: %s", key.c_str());
  const std::size_t guest = key.rfind('|');
  if (guest == std::string::npos || guest == 0) return false;
  const std::size_t mode = key.rfind('|', guest - 1);
  if (mode == std::string::npos) return false;
  network.is_guest = std::atoi(key.substr(guest + 1).c_str()) != 0;
  network.security_mode = std::atoi(key.substr(mode + 1).c_str());
  network.name = key.substr(0, mode);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetSSIDNameFromKey] ssid name: %s, mode: %d, guest: %d",
                network.name.c_str(), network.security_mode, network.is_guest ? 1 : 0);
  return true;
}

std::string WithoutBand(const std::string& key) {
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::RemoveRadioTypeFromSSIDKey] ssid_key: %s", key.c_str());
  NetworkSample network;
  ParseSsidKey(key.substr(0, key.rfind('|')), network);
  std::string without = SsidKey(network);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectSSIDs] new ssid key: %s", without.c_str());
  return without;
}

double MeanDbm(const std::map<std::string, Rogue>& rogues, bool is_daily) {
  double milliwatts = 0;
  for (const auto& [key, rogue] : rogues) {
    const double dbm = is_daily ? rogue.signal_dbm : rogue.mean_dbm;
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::GetAverageSignalStrength] Calculate %s signal strength: %f",
                  is_daily ? "daily" : "weekly", dbm);
    milliwatts += kro_utilities::signal::ConvertdBmTomilliwatts(dbm);
  }
  return kro_utilities::signal::ConvertmilliwattsTodBm(milliwatts / static_cast<double>(rogues.size()));
}

template <typename Samples>
void CountClients(const std::string& id, const Samples& samples, const Calendar& calendar, Buckets& days) {
  std::uint32_t total = 0;
  std::uint32_t peak = 0;
  for (const auto& [minute, sample] : samples) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateClientCountData] ID: %s, current: %d, mins_peek: %d", id.c_str(),
                  static_cast<int>(sample.clients), static_cast<int>(peak));
    total += sample.clients;
    peak = std::max(peak, sample.clients);
  }
  // A slot that has begun and has no sample counts as one without clients.
  const int slots = std::max(static_cast<int>(samples.size()), calendar.slots);
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateClientCountData] ID: %s, total: %d, mins_count: %d, mins_peek: %d, "
                "SampleCountCurrentTime: %d, count: %d",
                id.c_str(), static_cast<int>(total), static_cast<int>(samples.size()), static_cast<int>(peak),
                calendar.slots, slots);
  const double mean = slots == 0 ? 0 : static_cast<double>(total) / slots;
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateClientCountData] ID: %s, average_count: %f",
                id.c_str(), mean);
  Record& record = days[calendar.day][id];
  record.client_peak = peak;
  record.client_total = total;
  record.client_mean = mean;
}

template void CountClients(const std::string&, const std::map<std::string, NetworkSample>&, const Calendar&, Buckets&);
template void CountClients(const std::string&, const std::map<std::string, Sum>&, const Calendar&, Buckets&);

void FoldClients(const Calendar& calendar, Buckets& days, Buckets& weeks) {
  // The mean of a day that is over is one over all its slots.
  for (auto& [day, records] : days) {
    if (day >= calendar.day) continue;
    for (auto& [id, record] : records) {
      record.client_mean = static_cast<double>(record.client_total) / kSlotsPerDay;
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CalculateClientCountData] ID: %s, total_count: %u, day: %s, "
                    "average count: %f",
                    id.c_str(), static_cast<unsigned>(record.client_total), day.c_str(), record.client_mean);
    }
  }
  if (days.size() > kKeptDays) {
    days.erase(days.begin());
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateClientCountData] the days's sample data exceed 7 days.");
  }
  for (const auto& [day, records] : days) {
    if (calendar.IsInWeek(day)) continue;
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateClientCountData] day: %s is not in this week: %s", day.c_str(),
                  calendar.week.c_str());
  }
  for (const auto& [id, of_week] : Regroup(calendar, days)) {
    std::uint32_t peak = 0;
    double sum = 0;
    for (const Record& day : of_week) {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CalculateClientCountData] ID: %s, daily_peek: %d, "
                    "d_iter->second.client.item.peak: %d",
                    id.c_str(), static_cast<int>(peak), static_cast<int>(day.client_peak));
      peak = std::max(peak, day.client_peak);
      sum += day.client_mean;
    }
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateClientCountData] Week day: %d in week: %s",
                  calendar.weekday, calendar.week.c_str());
    // The mean of a week is one over its days that have begun.
    Record& record = weeks[calendar.week][id];
    record.client_peak = peak;
    record.client_mean = sum / (calendar.weekday + 1);
  }
}

bool CountSpeed(const std::string& id, std::map<std::string, NetworkSample>& samples, const Calendar& calendar,
                Buckets& days) {
  using LongLong = unsigned long long;
  if (samples.size() < 2) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, sample data is not enough", id.c_str());
    return false;
  }
  NetworkSample& now = std::prev(samples.end())->second;
  const NetworkSample& before = std::prev(samples.end(), 2)->second;
  Record& record = days[calendar.day][id];
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, Latest polling time: %d, penul timate polling "
                "time: %d",
                id.c_str(), static_cast<int>(now.polled_at), static_cast<int>(before.polled_at));
  // Without a new reading there is no speed.
  if (now.polled_at <= before.polled_at) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, The polling time is not changedor the system "
                  "time was changed to a early time",
                  id.c_str());
    return false;
  }
  if (now.in < before.in) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s current traffic inOcetes is reduced",
                  id.c_str());
  }
  if (now.out < before.out) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s current traffic outOcetes is reduced",
                  id.c_str());
  }
  const auto seconds = static_cast<std::uint64_t>(now.polled_at) - static_cast<std::uint64_t>(before.polled_at);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateTrafficData] ID: %s, time delta: %d",
                id.c_str(), static_cast<int>(seconds));
  now.seconds = static_cast<std::int32_t>(std::min<std::uint64_t>(seconds, std::numeric_limits<std::int32_t>::max()));
  const std::uint64_t in = Moved(before.in, now.in);
  const std::uint64_t out = Moved(before.out, now.out);
  now.speed = static_cast<double>(in + out) / 1024 / static_cast<double>(seconds) / 128;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, last_ele->second.traffic.inOctets: %llu,"
                "last_ele->second.traffic.outOctets: %llu, prev_ele->second.traffic.inOctets: %llu,"
                "prev_ele->second.traffic.outOctets: %llu, delta_in: %llu, delta_out: %llu, speed: %f",
                id.c_str(), LongLong{now.in}, LongLong{now.out}, LongLong{before.in}, LongLong{before.out},
                LongLong{in}, LongLong{out}, now.speed);
  record.speed_total += now.speed;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, last peek: %f, current average speed: %f",
                id.c_str(), record.speed_peak, now.speed);
  record.speed_peak = std::max(record.speed_peak, now.speed);
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CalculateTrafficData] ID: %s, current daily peek: %f, average_speed_total: %f",
                id.c_str(), record.speed_peak, record.speed_total);
  if (calendar.slots != 0) record.speed_mean = record.speed_total / calendar.slots;
  return true;
}

void FoldSpeeds(const std::string& id, const Calendar& calendar, Buckets& days, Buckets& weeks) {
  for (auto& [day, records] : days) {
    if (day >= calendar.day) continue;
    for (auto& [other, record] : records) {
      record.speed_mean = record.speed_total / kSlotsPerDay;
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CalculateTrafficData] ID: %s, average_speed_total: %f, day: %s, "
                    "average traffic: %f",
                    other.c_str(), record.speed_total, day.c_str(), record.speed_mean);
    }
  }
  if (days.size() > kKeptDays) {
    days.erase(days.begin());
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, the days's sample data exceed 7 days.",
                  id.c_str());
  }
  for (const auto& [day, records] : days) {
    if (calendar.IsInWeek(day)) continue;
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, day: %s is not in this week: %s", id.c_str(),
                  day.c_str(), calendar.week.c_str());
  }
  for (const auto& [other, of_week] : Regroup(calendar, days)) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CalculateTrafficData] ID: %s, Week day: %d in week: %s", other.c_str(),
                  calendar.weekday, calendar.week.c_str());
    SetWeeklySpeed(of_week, calendar, weeks[calendar.week][other]);
  }
}

void FoldFamilySpeeds(const Calendar& calendar, Buckets& days, Buckets& weeks) {
  if (days.size() > kKeptDays) {
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateWeeklyTraffic] Exceed 7 days");
    days.erase(days.begin());
  }
  for (const auto& [id, of_week] : Regroup(calendar, days)) {
    Record& week = weeks[calendar.week][id];
    SetWeeklySpeed(of_week, calendar, week);
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CalculateWeeklyTraffic] ID: %s, average: %f, peak: %f",
                  id.c_str(), week.speed_mean, week.speed_peak);
  }
}

}  // namespace plain
