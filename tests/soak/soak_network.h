#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "probe/host/device_snapshot.h"

namespace soak {

/// A network of twelve access points, six switches and two routers, which loses a twentieth of its devices and of its
/// wireless clients, and gets as many new ones, once a week.
///
/// Its size never changes: what grows with the weeks is what somebody keeps. Threads: one.
class Network {
 public:
  /// Empties the probe's device centre, which it fills from then on.
  Network();

  /// Has every device report for the pass at `now`.
  void Report(time_t now);

  /// Takes the oldest twentieth away, cleaned up as somebody does who removes a device, and adds new ones.
  void Churn();

  /// The devices that are there.
  const std::vector<std::uint64_t>& devices() const { return devices_; }

  static std::string MacOf(std::uint64_t device);

 private:
  probe::DeviceSnapshot Snapshot(std::uint64_t device, time_t now) const;
  void AddWireless(std::uint64_t device, time_t now, probe::DeviceSnapshot& snapshot) const;

  std::vector<std::uint64_t> devices_;  // numbers, each of which is given once
  std::uint64_t next_device_ = 0;
  std::uint64_t first_client_ = 0;  // the number of the client that has been there the longest
};

}  // namespace soak
