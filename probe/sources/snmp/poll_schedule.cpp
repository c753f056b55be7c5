#include "probe/sources/snmp/poll_schedule.h"

#include <algorithm>
#include <utility>

namespace probe::snmp {

PollSchedule::PollSchedule(const std::vector<Duration>& intervals, Time start) {
  const auto count = static_cast<Duration::rep>(intervals.size());
  for (std::size_t i = 0; i < intervals.size(); ++i) {
    const Duration interval = intervals[i];
    const auto number = static_cast<Duration::rep>(i);
    const Duration first = std::min<Duration>(kFirstSpread, interval / 15) * number / count;
    // The place of the grid at which the second poll is due. One too near to the first poll is left out, whereby the
    // first reading becomes older than an interval, but by no more than the least distance.
    Duration second = interval * number / count;
    if (second < first + std::min<Duration>(kLeastDistance, interval / 30)) second += interval;
    devices_.push_back({.interval = interval, .due = start + first, .shift = second - first - interval});
    waiting_.insert({start + first, i});
  }
}

std::optional<PollSchedule::Time> PollSchedule::NextDue() const {
  if (waiting_.empty()) return std::nullopt;
  return waiting_.begin()->first;
}

std::optional<std::size_t> PollSchedule::Begin(Time now) {
  if (waiting_.empty() || waiting_.begin()->first > now) return std::nullopt;
  const std::size_t device = waiting_.begin()->second;
  devices_[device].place = waiting_.extract(waiting_.begin());
  return device;
}

void PollSchedule::Finish(std::size_t device, bool answered, Time now) {
  Device& finished = devices_[device];
  finished.due += finished.interval * (answered ? 1 : finished.backoff);
  // A device whose first poll took longer than up to its place of the grid stays where it is: the place after that one
  // would be up to two intervals after the first poll.
  if (const Duration shift = std::exchange(finished.shift, Duration{}); finished.due + shift > now)
    finished.due += shift;
  finished.backoff = answered ? 1 : std::min(finished.backoff * 2, kMaxBackoff);
  if (finished.due <= now) {
    // The places that have passed are left out, all at once: the machine may have slept for days.
    finished.due += finished.interval * ((now - finished.due) / finished.interval + 1);
  }
  finished.place.value() = {finished.due, device};
  waiting_.insert(std::move(finished.place));
}

}  // namespace probe::snmp
