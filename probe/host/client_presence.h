#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "probe/host/device_snapshot.h"

namespace probe {

/// Since when a client has been at a device.
struct Presence {
  time_t since = 0;         ///< When a reading first listed it there, by the probe's clock.
  bool is_earlier = false;  ///< It may have been there before: that was the device's first list of clients.
  /// The latest time that is known by which it was there: when it came, or the reading before the one in which its
  /// octets changed. 0: neither is known.
  time_t last_sign = 0;
  /// Of several interfaces of the device that list it, the one with the latest such time; empty: one only does, or no
  /// time tells.
  std::string interface {};

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
  /// The most clients of one device that it knows. When a device lists more, those stay that it knew, and of the others
  /// the first by their MACs are added.
  static constexpr std::size_t kMaxClients = 10'000;

  /// Takes over who is at a device in this reading. A device that is offline has nobody, and of one that does not list
  /// its clients nothing is known.
  void Note(const std::string& mac, const DeviceSnapshot& snapshot, time_t now);

  /// The device is known no longer.
  void Forget(const std::string& mac) { devices_.erase(mac); }
  void Clear() { devices_.clear(); }

  /// The clients of a device that listed them in its last reading.
  Presences Of(const std::string& mac) const;

 private:
  /// An SSID interface that lists a client.
  struct Place {
    std::string interface;
    std::uint64_t octets = 0;  // both ways
    time_t last_sign = 0;
  };

  struct Stay {
    Presence presence;
    std::vector<Place> places;
  };

  struct Device {
    time_t read_at = 0;
    bool leaves_some_out = false;  // for the cap
    std::map<std::string, Stay> stays;
  };

  static std::map<std::string, std::vector<Place>> ListedIn(const DeviceSnapshot& snapshot);
  static std::uint64_t OctetsAt(const std::vector<Place>& places);
  static std::string LastAt(const std::vector<Place>& places);
  static void GoOn(Stay& stay, std::vector<Place> places, time_t read_at, time_t now);

  std::map<std::string, Device> devices_;  // those that listed their clients in their last reading
};

}  // namespace probe
