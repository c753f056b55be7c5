#include "monitor/reports/network/network_rogues.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

#include "monitor/engine/constants.h"
#include "monitor/reports/network/network_keys.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// Takes the mean of signal levels over their power. Logs each level.
class PowerMean {
 public:
  PowerMean(bool is_daily, const HostFunctions& host) : is_daily_(is_daily), host_(host) {}

  void Add(const RogueAPs& record) {
    const double dbm = is_daily_ ? record.signal_strength : record.average_strength;
    if (is_daily_) {
      host_.log_debug(log_module::kMonitor,
                      "[WirelessNetworkReport::GetAverageSignalStrength] Calculate daily signal strength: %f", dbm);
    } else {
      host_.log_debug(log_module::kMonitor,
                      "[WirelessNetworkReport::GetAverageSignalStrength] Calculate weekly signal strength: %f", dbm);
    }
    milliwatts_ += host_.dbm_to_milliwatts(dbm);
    ++count_;
  }

  /// In dBm. Requires at least one level.
  double Value() const { return host_.milliwatts_to_dbm(milliwatts_ / static_cast<double>(count_)); }

 private:
  const bool is_daily_;
  const HostFunctions& host_;
  double milliwatts_ = 0;
  std::size_t count_ = 0;
};

/// The records of one key in the days of a week, oldest first.
using DaysOfKey = std::vector<const RogueAPs*>;

/// Makes a week's record like that of its first day, to which a scan by `hearer` may have added it or from which it may
/// have removed it.
///
/// Who else hears the access point is the same in both records, unless the day's was dropped and made anew since:
/// copying all hearers for every hearer would take time with the square of their number.
void CopyFirstDay(const RogueAPs& day, const std::string& hearer, RogueAPs& week) {
  const auto heard = day.seen_by.find(hearer);
  if (heard != day.seen_by.end()) {
    week.seen_by[hearer] = heard->second;
  } else {
    week.seen_by.erase(hearer);
  }
  if (week.seen_by.size() != day.seen_by.size()) week.seen_by = day.seen_by;
  week.mac = day.mac;  // the day's record may be of another MAC and SSID which, joined by "/", give the same key
  week.ssid = day.ssid;
  week.first_seen = day.first_seen;
  week.signal_strength = day.signal_strength;
}

/// Adds one scan to a report.
class ScanRecorder {
 public:
  ScanRecorder(const Scan& scan, long now, const ReportTime& time, const HostFunctions& host, NetworkReport& report)
      : scan_(scan), now_(now), time_(time), host_(host), report_(report) {}

  /// Adds the entries of the scan to the samples and the day. Returns the keys that the scan names.
  std::set<std::string> RecordDay() {
    std::set<std::string> keys;
    for (const ScanEntry& entry : scan_.entries) {
      const std::string key = entry.record.GetKey();
      keys.insert(key);
      if (entry.is_trusted) {
        RemoveTrusted(key);
      } else {
        RecordSighting(key, entry.record);
      }
    }
    return keys;
  }

  /// Builds the week of every key from its days.
  void BuildWeek() {
    std::map<std::string, DaysOfKey> days_by_key;
    for (const auto& [day, records] : Daily()) {
      if (!time_.IsInWeek(day)) {
        host_.log_debug(log_module::kMonitor,
                        "[WirelessNetworkReport::CollectNeighboringAPs] day: %s is not in this week: %s", day.c_str(),
                        time_.week.c_str());
        continue;
      }
      for (const auto& [key, record] : records) AddDay(key, day, record, days_by_key[key]);
    }
    for (const auto& [key, days] : days_by_key) {
      RogueAPs& week = report_.rogue_report[monitoring::kWeekly][time_.week][key];
      week = *days.front();
      SumDays(days, week);
    }
  }

  /// Renews the week of these keys. A key that no day of the week has any longer keeps its record.
  void RenewWeek(const std::set<std::string>& keys) {
    const RogueBuckets& daily = Daily();
    for (const std::string& key : keys) {
      DaysOfKey days;
      for (auto day = daily.lower_bound(time_.week_start); day != daily.end() && time_.IsInWeek(day->first); ++day) {
        const auto record = day->second.find(key);
        if (record != day->second.end()) AddDay(key, day->first, record->second, days);
      }
      if (days.empty()) continue;
      const auto [week, is_new] = report_.rogue_report[monitoring::kWeekly][time_.week].try_emplace(key, *days.front());
      if (!is_new) CopyFirstDay(*days.front(), scan_.mac, week->second);
      SumDays(days, week->second);
    }
  }

 private:
  RogueBuckets& Daily() { return report_.rogue_report[monitoring::kDaily]; }

  /// Removes the scanning access point from those that hear a rogue one today.
  void RemoveTrusted(const std::string& key) {
    if (!RemoveHearer(Daily(), time_.day, key, scan_.mac)) return;
    host_.log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectNeighboringAPs] The AP: %s is changed to trusted", key.c_str());
  }

  void RecordSighting(const std::string& key, const RogueAPs& sighting) {
    RogueSamples& samples = report_.rogue_samples[time_.day][key];
    samples[MinuteKey(now_)] = sighting;
    const auto [known, is_new] = Daily()[time_.day].try_emplace(key, sighting);
    RogueAPs& day = known->second;
    if (!is_new) ExtendDay(day);
    day.average_strength = GetAverageSignalStrength(samples, true, host_);
    host_.log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectNeighboringAPs] Mac: %s, average signal strength: %f",
                    day.mac.c_str(), day.average_strength);
  }

  /// Adds the time since the last sighting to a record of the day.
  void ExtendDay(RogueAPs& day) const {
    day.seen_by[scan_.mac] = scan_.hostname;
    day.total_time += static_cast<std::int32_t>(now_ - static_cast<long>(day.last_seen));
    host_.log_debug(log_module::kMonitor,
                    "[WirelessNetworkReport::CollectNeighboringAPs] Mac: %s,now: %llu, last seen: %llu, first seen: "
                    "%llu",
                    day.mac.c_str(), static_cast<unsigned long long>(now_),
                    static_cast<unsigned long long>(day.last_seen), static_cast<unsigned long long>(day.first_seen));
    day.last_seen = static_cast<time_t>(now_);
  }

  void AddDay(const std::string& key, const std::string& day, const RogueAPs& record, DaysOfKey& days) const {
    host_.log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectNeighboringAPs] Add key: %s, day: %s",
                    key.c_str(), day.c_str());
    days.push_back(&record);
  }

  /// Sets the sums and means of a week from its days, of which there is at least one.
  void SumDays(const DaysOfKey& days, RogueAPs& week) const {
    PowerMean strength(false, host_);
    week.total_time = 0;
    for (const RogueAPs* day : days) {
      week.total_time += day->total_time;
      strength.Add(*day);
    }
    week.last_seen = days.back()->last_seen;
    week.average_strength = strength.Value();
  }

  const Scan& scan_;
  const long now_;
  const ReportTime& time_;
  const HostFunctions& host_;
  NetworkReport& report_;
};

}  // namespace

void RecordScan(const Scan& scan, long now, const ReportTime& time, const HostFunctions& host, NetworkReport& report) {
  ScanRecorder fold(scan, now, time, host, report);
  const std::set<std::string> keys = fold.RecordDay();
  if (report.current_rogue_week == time.week) {
    fold.RenewWeek(keys);
    return;
  }
  fold.BuildWeek();
  report.current_rogue_week = time.week;
}

double GetAverageSignalStrength(const RogueSamples& sightings, bool daily, const HostFunctions& host) {
  if (sightings.empty()) {
    host.log_debug(log_module::kMonitor, "[WirelessNetworkReport::GetAverageSignalStrength] times_raps is empty");
    return 0;
  }
  PowerMean strength(daily, host);
  for (const auto& [key, sighting] : sightings) strength.Add(sighting);
  return strength.Value();
}

}  // namespace vexora_probe::monitor
