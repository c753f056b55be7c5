#include "probe/sources/snmp/counter_table.h"

#include <algorithm>

namespace probe::snmp {

bool CounterTable::Take(const std::vector<CounterRow>& rows, const ReadingMoment& moment) {
  bool has_gap = false;
  for (auto& [name, entry] : entries_) entry.is_measured = false;
  for (const CounterRow& row : rows) {
    if (TakeRow(row, moment, entries_[row.name])) has_gap = true;
  }
  DropAbsent(moment.now_ticks);
  held_back_ = has_gap && held_back_ < kMaxHeldBack ? held_back_ + 1 : 0;
  return held_back_ == 0;
}

bool CounterTable::TakeRow(const CounterRow& row, const ReadingMoment& moment, Entry& entry) {
  const auto take = [&](const std::optional<OctetCounter>& counter, WidenedCounter& widened) {
    if (!counter) return CounterStep::kFirst;
    return widened.Take({.counter = *counter,
                         .read_at = moment.now_ticks,
                         .device_starts = moment.device_starts,
                         .discontinuity_ticks = row.discontinuity_ticks,
                         .bits_per_second = row.bits_per_second,
                         .restarts_alone = row.restarts_alone});
  };
  const CounterStep in = take(row.in, entry.in);
  const CounterStep out = take(row.out, entry.out);
  const bool has_gap = in == CounterStep::kGap || out == CounterStep::kGap;
  entry.seen_at = moment.now_ticks;
  entry.is_measured = row.in && row.out && !has_gap;
  return has_gap;
}

void CounterTable::DropAbsent(std::int64_t now_ticks) {
  const auto absent = std::count_if(entries_.begin(), entries_.end(),
                                    [&](const auto& entry) { return entry.second.seen_at != now_ticks; });
  const bool are_too_many = static_cast<std::size_t>(absent) > kMaxAbsent;
  std::erase_if(entries_, [&](const auto& entry) {
    const std::int64_t age = now_ticks - entry.second.seen_at;
    return age > kMaxAbsentTicks || (age != 0 && are_too_many);
  });
}

void CounterTable::ContinueFrom(const std::map<std::string, RowOctets>& rows, const ReadingMoment& earlier) {
  for (const auto& [name, octets] : rows) {
    const auto [place, is_new] = entries_.try_emplace(name);
    Entry& entry = place->second;
    if (is_new) entry.seen_at = earlier.now_ticks;
    const CounterStep in = entry.in.ContinueFrom(octets.in, earlier.now_ticks, earlier.device_starts);
    const CounterStep out = entry.out.ContinueFrom(octets.out, earlier.now_ticks, earlier.device_starts);
    if (in == CounterStep::kGap || out == CounterStep::kGap) entry.is_measured = false;
  }
}

RowOctets CounterTable::Find(const std::string& name) const {
  const auto found = entries_.find(name);
  if (found == entries_.end()) return {};
  const Entry& entry = found->second;
  return {.in = entry.in.value(), .out = entry.out.value(), .is_measured = entry.is_measured};
}

}  // namespace probe::snmp
