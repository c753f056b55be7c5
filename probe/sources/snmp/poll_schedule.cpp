#include "probe/sources/snmp/poll_schedule.h"

#include <algorithm>

namespace probe::snmp {

PollSchedule::PollSchedule(const std::vector<Duration>& intervals, Time start) {
  const auto count = static_cast<Duration::rep>(intervals.size());
  for (std::size_t i = 0; i < intervals.size(); ++i) {
    const Time due = start + intervals[i] * static_cast<Duration::rep>(i) / count;
    devices_.push_back({.interval = intervals[i], .due = due});
    waiting_.insert({due, i});
  }
}

std::optional<PollSchedule::Time> PollSchedule::NextDue() const {
  if (waiting_.empty()) return std::nullopt;
  return waiting_.begin()->first;
}

std::optional<std::size_t> PollSchedule::Begin(Time now) {
  if (waiting_.empty() || waiting_.begin()->first > now) return std::nullopt;
  const std::size_t device = waiting_.begin()->second;
  waiting_.erase(waiting_.begin());
  return device;
}

void PollSchedule::Finish(std::size_t device, bool answered, Time now) {
  Device& finished = devices_[device];
  finished.due += finished.interval * (answered ? 1 : finished.backoff);
  finished.backoff = answered ? 1 : std::min(finished.backoff * 2, kMaxBackoff);
  if (finished.due <= now) {
    // The places that have passed are left out, all at once: the machine may have slept for days.
    finished.due += finished.interval * ((now - finished.due) / finished.interval + 1);
  }
  waiting_.insert({finished.due, device});
}

}  // namespace probe::snmp
