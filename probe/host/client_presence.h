#pragma once

#include <ctime>
#include <map>
#include <string>

#include "probe/host/device_snapshot.h"

namespace probe {

/// Since when a client has been at a device.
struct Presence {
  time_t since = 0;         ///< When a reading first listed it there, by the probe's clock.
  bool is_earlier = false;  ///< That was the first reading of the device: the client may have been there before.

  bool operator==(const Presence&) const = default;
};

/// Client MAC, as the device writes it -> since when it has been there.
using Presences = std::map<std::string, Presence>;

/// Since when clients have been at their devices. The contract's records tell who is there, and no more.
///
/// It holds no more clients than the snapshots do. A client that changes radio or network at one device stays.
/// Threads: none of its own, no lock.
class ClientPresence {
 public:
  /// Takes over who is at a device in this reading; a device that is offline has nobody.
  void Note(const std::string& mac, const DeviceSnapshot& snapshot, time_t now);

  /// The device is known no longer.
  void Forget(const std::string& mac) { devices_.erase(mac); }
  void Clear() { devices_.clear(); }

  /// The clients of a device that was online in its last reading.
  Presences Of(const std::string& mac) const;

 private:
  std::map<std::string, Presences> devices_;  // those that were online in their last reading
};

}  // namespace probe
