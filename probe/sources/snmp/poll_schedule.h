#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace probe::snmp {

/// When which device is polled next.
///
/// Pure arithmetic: the time is handed in. From the second on a device's polls stand on a grid of its interval, so that
/// a slow poll does not shift the later ones; one that takes longer than the interval leaves places of the grid out. A
/// device that does not answer leaves out 1, then 3 of them.
///
/// Threads: one at a time.
class PollSchedule {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  /// The longest time between two polls of a silent device, in intervals.
  static constexpr int kMaxBackoff = 4;

  /// The time over which the first polls of all devices are spread, so that each is soon seen; of a short interval no
  /// more than a fifteenth.
  static constexpr std::chrono::seconds kFirstSpread{2};

  /// The least time between the first two polls of a device, likewise half of that; the later ones are an interval
  /// apart.
  static constexpr std::chrono::seconds kLeastDistance{1};

  /// A device for each interval. The first polls come soon after `start`, the later ones are spread over the intervals.
  PollSchedule(const std::vector<Duration>& intervals, Time start);

  /// When the next device is due; nothing while all are being polled.
  std::optional<Time> NextDue() const;

  /// The device that is due longest, if any is at `now`. It is being polled until `Finish`.
  std::optional<std::size_t> Begin(Time now);

  /// The device's poll has ended, and the next one is due after `now`.
  void Finish(std::size_t device, bool answered, Time now);

 private:
  using Waiting = std::set<std::pair<Time, std::size_t>>;

  struct Device {
    Duration interval;
    Time due;
    Duration shift{};            ///< From the first poll to the place of the grid before the second.
    int backoff = 1;             ///< Intervals to the next poll while the device is silent.
    Waiting::node_type place{};  ///< While it is polled: the end of a poll must not fail for want of memory.
  };

  std::vector<Device> devices_;
  Waiting waiting_;
};

}  // namespace probe::snmp
