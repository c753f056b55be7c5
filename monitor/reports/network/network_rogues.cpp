#include "monitor/reports/network/network_rogues.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

#include "monitor/engine/band_names.h"
#include "monitor/engine/constants.h"
#include "monitor/reports/network/network_keys.h"
#include "platform/logging.h"
#include "platform/utilities/signal.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::NeighboringAP;

/// An access point as one managed one hears it now.
RogueAPs Sighting(const Scan& scan, const NeighboringAP& heard) {
  RogueAPs rogue;
  rogue.mac = heard.mac;
  rogue.ssid = heard.ssid;
  rogue.channel = heard.channel;
  rogue.signal_strength = heard.signal;
  rogue.radio_type = monitoring::BandName(heard.band, "");
  rogue.seen_by[scan.mac] = scan.hostname;
  return rogue;
}

/// An access point that is trusted now was no rogue to this device.
void ForgetTrusted(const Scan& scan, const std::string& key, const std::string& day, RogueBuckets& daily) {
  const auto today = daily.find(day);
  if (today == daily.end()) return;
  const auto known = today->second.find(key);
  if (known == today->second.end()) return;
  known->second.seen_by.erase(scan.mac);
  if (!known->second.seen_by.empty()) return;
  today->second.erase(known);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectNeighboringAPs] The AP: %s is changed to trusted",
                key.c_str());
}

/// An access point of the day is heard again.
void Extend(const Scan& scan, long now, RogueAPs& known) {
  known.seen_by[scan.mac] = scan.hostname;
  known.total_time += static_cast<std::int32_t>(now - static_cast<long>(known.last_seen));
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectNeighboringAPs] Mac: %s,now: %llu, last seen: %llu, first seen: %llu",
                known.mac.c_str(), static_cast<unsigned long long>(now),
                static_cast<unsigned long long>(known.last_seen), static_cast<unsigned long long>(known.first_seen));
  known.last_seen = static_cast<time_t>(now);
}

void RecordSighting(const Scan& scan, const std::string& key, const RogueAPs& sighting, long now,
                    const ReportTime& time, NetworkReport& report) {
  RogueSamples& samples = report.rogue_samples[time.day][key];
  samples[MinuteKey(now)] = sighting;
  const auto [known, is_new] = report.rogue_report[monitoring::kDaily][time.day].try_emplace(key, sighting);
  RogueAPs& day = known->second;
  if (!is_new) Extend(scan, now, day);
  day.average_strength = GetAverageSignalStrength(samples, true);
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectNeighboringAPs] Mac: %s, average signal strength: %f", day.mac.c_str(),
                day.average_strength);
}

/// Takes the entries of a scan into samples and day; gives the keys that it names.
std::set<std::string> RecordDay(const Scan& scan, long now, const ReportTime& time, NetworkReport& report) {
  std::set<std::string> keys;
  for (const NeighboringAP& heard : scan.heard) {
    const RogueAPs sighting = Sighting(scan, heard);
    const std::string key = sighting.GetKey();
    keys.insert(key);
    if (heard.trusted != 0) {
      ForgetTrusted(scan, key, time.day, report.rogue_report[monitoring::kDaily]);
    } else {
      RecordSighting(scan, key, sighting, now, time, report);
    }
  }
  return keys;
}

void LogAdded(const std::string& key, const std::string& day) {
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectNeighboringAPs] Add key: %s, day: %s",
                key.c_str(), day.c_str());
}

/// Takes the mean of signal levels over their power. Logs each.
class PowerMean {
 public:
  explicit PowerMean(bool is_daily) : is_daily_(is_daily) {}

  void Add(const RogueAPs& sighting) {
    const double dbm = is_daily_ ? sighting.signal_strength : sighting.average_strength;
    if (is_daily_) {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::GetAverageSignalStrength] Calculate daily signal strength: %f", dbm);
    } else {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::GetAverageSignalStrength] Calculate weekly signal strength: %f", dbm);
    }
    milliwatts_ += kro_utilities::signal::ConvertdBmTomilliwatts(dbm);
    ++count_;
  }

  /// In dBm; of at least one level.
  double Value() const {
    return kro_utilities::signal::ConvertmilliwattsTodBm(milliwatts_ / static_cast<double>(count_));
  }

 private:
  const bool is_daily_;
  double milliwatts_ = 0;
  std::size_t count_ = 0;
};

/// The records of one key in the days of a week, oldest first.
using DaysOfKey = std::vector<const RogueAPs*>;

/// What a week sums up from its days, of which there is at least one.
void SumUp(const DaysOfKey& days, RogueAPs& week) {
  PowerMean strength(false);
  week.total_time = 0;
  for (const RogueAPs* day : days) {
    week.total_time += day->total_time;
    strength.Add(*day);
  }
  week.last_seen = days.back()->last_seen;
  week.average_strength = strength.Value();
}

/// Builds the week of every key.
void BuildWeek(const ReportTime& time, RogueReport& report) {
  std::map<std::string, DaysOfKey> days_by_key;
  for (const auto& [day, records] : report[monitoring::kDaily]) {
    if (!time.IsInWeek(day)) {
      pel_log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectNeighboringAPs] day: %s is not in this week: %s", day.c_str(),
                    time.week.c_str());
      continue;
    }
    for (const auto& [key, record] : records) {
      LogAdded(key, day);
      days_by_key[key].push_back(&record);
    }
  }
  for (const auto& [key, days] : days_by_key) {
    RogueAPs& week = report[monitoring::kWeekly][time.week][key];
    week = *days.front();
    SumUp(days, week);
  }
}

/// The records of a key in the days of the current week.
DaysOfKey DaysOf(const std::string& key, const ReportTime& time, const RogueBuckets& daily) {
  DaysOfKey days;
  for (auto bucket = daily.lower_bound(time.week_start); bucket != daily.end() && time.IsInWeek(bucket->first);
       ++bucket) {
    const auto record = bucket->second.find(key);
    if (record == bucket->second.end()) continue;
    LogAdded(key, bucket->first);
    days.push_back(&record->second);
  }
  return days;
}

/// Makes a week's record like that of its first day, which a scan by `hearer` may have changed. Who else hears it is
/// the same in both, unless the day's record was dropped and made anew meanwhile: copying that for every hearer would
/// take time with the square of their number.
void FollowFirstDay(const RogueAPs& day, const std::string& hearer, RogueAPs& week) {
  const auto heard = day.seen_by.find(hearer);
  if (heard != day.seen_by.end()) {
    week.seen_by[hearer] = heard->second;
  } else {
    week.seen_by.erase(hearer);
  }
  if (week.seen_by.size() != day.seen_by.size()) week.seen_by = day.seen_by;
  week.mac = day.mac;  // a day's record made anew may be of another pair of names with the same key
  week.ssid = day.ssid;
  week.first_seen = day.first_seen;
  week.signal_strength = day.signal_strength;
}

/// Renews the week of these keys. One that is in no day of the week any more is left as it was.
void RenewWeek(const std::set<std::string>& keys, const std::string& hearer, const ReportTime& time,
               RogueReport& report) {
  for (const std::string& key : keys) {
    const DaysOfKey days = DaysOf(key, time, report[monitoring::kDaily]);
    if (days.empty()) continue;
    const auto [week, is_new] = report[monitoring::kWeekly][time.week].try_emplace(key, *days.front());
    if (!is_new) FollowFirstDay(*days.front(), hearer, week->second);
    SumUp(days, week->second);
  }
}

}  // namespace

void RecordScan(const Scan& scan, long now, const ReportTime& time, NetworkReport& report) {
  const std::set<std::string> keys = RecordDay(scan, now, time, report);
  if (report.current_rogue_week == time.week) {
    RenewWeek(keys, scan.mac, time, report.rogue_report);
    return;
  }
  BuildWeek(time, report.rogue_report);
  report.current_rogue_week = time.week;
}

double GetAverageSignalStrength(const RogueSamples& sightings, bool daily) {
  if (sightings.empty()) {
    pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetAverageSignalStrength] times_raps is empty");
    return 0;
  }
  PowerMean strength(daily);
  for (const auto& [key, sighting] : sightings) strength.Add(sighting);
  return strength.Value();
}

}  // namespace vexora_probe::monitor
