#include "monitor/reports/network/network_rogue_sums.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "monitor/engine/band_names.h"
#include "monitor/engine/time_keys.h"
#include "platform/device_records.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::NeighboringAP;

/// As `RogueAPs::GetKey`, into a text whose memory is used again.
void WriteKey(const NeighboringAP& heard, std::string& key) {
  key.assign(heard.mac).append("/").append(heard.ssid).append("/").append(std::to_string(heard.channel)).append("/");
  key.append(monitoring::BandName(heard.band, ""));
}

/// The days of the week in which a rogue access point was heard, summed up.
class WeekSum {
 public:
  void Add(const RogueAPs& day, const HostFunctions& host) {
    if (first_ == nullptr) first_ = &day;
    last_ = &day;
    total_time_ += day.total_time;
    milliwatts_ += host.dbm_to_milliwatts(day.average_strength);
    ++days_;
  }

  bool IsEmpty() const { return days_ == 0; }

  /// Requires at least one day.
  RogueAPs Record(const HostFunctions& host) const {
    RogueAPs week = *first_;
    week.last_seen = last_->last_seen;
    week.total_time = total_time_;
    week.average_strength = host.milliwatts_to_dbm(milliwatts_ / static_cast<double>(days_));
    return week;
  }

 private:
  const RogueAPs* first_ = nullptr;
  const RogueAPs* last_ = nullptr;
  std::int32_t total_time_ = 0;
  double milliwatts_ = 0;
  std::size_t days_ = 0;
};

WeekSum WeekOf(const std::string& key, const ReportTime& time, const RogueBuckets& daily, const HostFunctions& host) {
  WeekSum sum;
  for (const auto& [day, records] : daily) {
    if (!time.IsInWeek(day)) continue;
    const auto record = records.find(key);
    if (record != records.end()) sum.Add(record->second, host);
  }
  return sum;
}

/// Folds one scan.
class ScanFold {
 public:
  ScanFold(const Hearing& hearing, long now, const ReportTime& time, const HostFunctions& host, SampleStore& store,
           RogueBuckets& daily)
      : hearing_(hearing), now_(now), time_(time), host_(host), store_(store), daily_(daily) {}

  /// The week's records of those that the scan may remove from their last day: they stay in the week until the pass is
  /// over, as they were.
  RogueRecords RecordsThatMayGo() {
    RogueRecords records;
    const auto today = daily_.find(time_.day);
    if (today == daily_.end()) return records;
    for (const NeighboringAP& heard : hearing_.heard) {
      if (heard.trusted == 0) continue;
      WriteKey(heard, key_);
      if (!today->second.contains(key_)) continue;
      const WeekSum week = WeekOf(key_, time_, daily_, host_);
      if (!week.IsEmpty()) records.try_emplace(key_, week.Record(host_));
    }
    return records;
  }

  void AddEntries() {
    const std::int64_t minute = monitoring::time_keys::Minute(now_);
    for (const NeighboringAP& heard : hearing_.heard) {
      WriteKey(heard, key_);
      if (heard.trusted != 0) {
        RemoveTrusted();
        continue;
      }
      if (!HasRoom()) {
        ++store_.left_out_rogues;
        continue;
      }
      if (store_.rogue_minutes.empty() || store_.rogue_minutes.back() != minute) store_.rogue_minutes.push_back(minute);
      RogueSum& sum = store_.rogues[key_];
      AddSample(heard.signal, sum);
      AddToDay(heard, sum);
    }
  }

  bool IsInWeek(const std::string& key) const { return !WeekOf(key, time_, daily_, host_).IsEmpty(); }

 private:
  /// Whether the day has a record of this key, or room for one. Its samples are counted by themselves: they stay when
  /// a trusted scan removes the record, and go when the clock is set back.
  bool HasRoom() const {
    if (store_.rogues.size() >= store_.max_rogues_a_day && !store_.rogues.contains(key_)) return false;
    const auto today = daily_.find(time_.day);
    return today == daily_.end() || today->second.size() < store_.max_rogues_a_day || today->second.contains(key_);
  }

  /// A sample that another access point has stored in this pass is replaced.
  void AddSample(std::int32_t dbm, RogueSum& sum) {
    RogueSum::Sighting sighting{.pass = static_cast<std::uint16_t>(store_.rogue_minutes.size() - 1), .dbm = {}};
    static_assert(sizeof sighting.dbm == sizeof dbm);
    std::memcpy(sighting.dbm.data(), &dbm, sizeof dbm);
    if (!sum.sightings.empty() && sum.sightings.back().pass == sighting.pass) {
      sum.sightings.back() = sighting;
    } else {
      sum.sightings.push_back(sighting);
      if (sum.samples != 0) sum.milliwatts_before += sum.latest_milliwatts;
      ++sum.samples;
    }
    sum.latest_milliwatts = host_.dbm_to_milliwatts(dbm);
  }

  void AddToDay(const NeighboringAP& heard, RogueSum& sum) {
    bool is_new = false;
    if (sum.day == nullptr) {
      RogueRecords& today = daily_[time_.day];
      auto known = today.find(key_);
      is_new = known == today.end();
      if (is_new) known = today.emplace(key_, RogueOf(hearing_, heard)).first;
      sum.day = &known->second;
    }
    RogueAPs& day = *sum.day;
    if (!is_new) {
      day.seen_by[hearing_.mac] = hearing_.hostname;
      day.total_time += static_cast<std::int32_t>(now_ - static_cast<long>(day.last_seen));
      day.last_seen = static_cast<time_t>(now_);
    }
    day.average_strength =
        host_.milliwatts_to_dbm((sum.milliwatts_before + sum.latest_milliwatts) / static_cast<double>(sum.samples));
  }

  /// Removes the scanning access point from those that hear a rogue one today.
  void RemoveTrusted() {
    if (!RemoveHearer(daily_, time_.day, key_, hearing_.mac)) return;
    const auto sum = store_.rogues.find(key_);
    if (sum != store_.rogues.end()) sum->second.day = nullptr;
  }

  const Hearing& hearing_;
  const long now_;
  const ReportTime& time_;
  const HostFunctions& host_;
  SampleStore& store_;
  RogueBuckets& daily_;
  std::string key_;
};

}  // namespace

void FoldScan(const Hearing& hearing, long now, const ReportTime& time, const HostFunctions& host, SampleStore& store,
              RogueBuckets& daily, RogueWeek& week) {
  ScanFold fold(hearing, now, time, host, store, daily);
  RogueRecords before;
  if (week.is_scanned) before = fold.RecordsThatMayGo();
  fold.AddEntries();
  for (auto& [key, record] : before) {
    if (!fold.IsInWeek(key)) week.gone[key] = std::move(record);
  }
  week.time = time;
  week.is_scanned = true;
}

RogueRecords RogueWeekRecords(const RogueBuckets& daily, const RogueWeek& week, const HostFunctions& host) {
  std::map<std::string, WeekSum> sums;
  for (const auto& [day, records] : daily) {
    if (!week.time.IsInWeek(day)) continue;
    auto at = sums.begin();
    for (const auto& [key, record] : records) {
      at = sums.try_emplace(at, key);
      at->second.Add(record, host);
    }
  }
  RogueRecords result = week.gone;
  for (const auto& [key, sum] : sums) result.insert_or_assign(key, sum.Record(host));
  return result;
}

}  // namespace vexora_probe::monitor
