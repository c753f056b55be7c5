#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <string>
#include <vector>

#include "probe/host/device_snapshot.h"

namespace soak {

/// A network of twelve access points, six switches and two routers, which loses an access point, a switch and a
/// twentieth of its wireless clients, and gets as many new ones, once a week.
///
/// Its size never changes: what grows with the weeks is what somebody keeps. Threads: one.
class Network {
 public:
  /// Empties the probe's device centre, which it fills from then on.
  Network();

  /// Has every device report for the pass at `now`.
  void Report(time_t now);

  /// Takes the oldest ones away, cleaned up as somebody does who removes a device, and adds new ones. Every week is
  /// alike, for the reports hold what was removed in the last weeks, too.
  void Churn();

  /// The devices that are there.
  std::vector<std::uint64_t> Devices() const;

  /// How many were there and are no more.
  std::size_t removed() const { return removed_; }

  static std::string MacOf(std::uint64_t device);

 private:
  probe::DeviceSnapshot Snapshot(std::uint64_t device, time_t now) const;
  void AddWireless(std::uint64_t device, time_t now, probe::DeviceSnapshot& snapshot) const;

  std::deque<std::uint64_t> access_points_;  // numbers, each of which is given once
  std::deque<std::uint64_t> switches_;       // likewise
  std::size_t removed_ = 0;
  std::uint64_t first_client_ = 0;  // the number of the client that has been there the longest
};

}  // namespace soak
