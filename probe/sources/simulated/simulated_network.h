#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "probe/host/device_centre.h"

namespace probe {

/// Which network is simulated.
struct SimulatedNetworkSettings {
  std::uint64_t seed = 1;  ///< Another seed is another company.
  int devices = 0;         ///< Routers, switches and access points together; 0 or less: the small company's nine.
  int clients = 0;         ///< Clients that there are, not all of them in the house; 0 or less: what suits the devices.
};

/// A company whose network lives: a router, two switches, six access points on two floors and 80 clients, or as many of
/// each as are asked for.
///
/// People come in the morning with laptop and phone, roam between access points, idle, have lunch and leave; visitors
/// come through the captive portal; things never leave. Traffic follows the day, with bursts and heavy users, and runs
/// from SSID interfaces over access points, switches and router out of the house, so that their counters fit together.
/// Devices restart, an access point goes offline twice a week, one switch refuses the login, and foreign access points
/// come and go.
///
/// It is a function of the seed and the times at which it is asked, and of nothing else: the same ones give the same
/// snapshots on every machine in the same time zone. It reads no clock. Where everybody is follows from the moment
/// alone; only counters and uptimes remember, and they only grow but for restarts.
///
/// Does not model: packets, shared air, full cables, traffic inside the house, interference, channels that change,
/// moves of furniture; devices that answer late; holidays. Between two readings nothing happens: a client that came and
/// went in between was never there, and traffic of the whole time is that of its last minute.
///
/// Owner:   the application; the device centre has to outlive it.
/// Threads: one at a time.
class SimulatedNetwork {
 public:
  SimulatedNetwork(DeviceCentre& centre, const SimulatedNetworkSettings& settings);
  ~SimulatedNetwork();
  SimulatedNetwork(const SimulatedNetwork&) = delete;
  SimulatedNetwork& operator=(const SimulatedNetwork&) = delete;

  /// Puts the state of every device at `now` into the device centre. All states are ready before the first goes in.
  ///
  /// A device that is offline keeps what it last said. Traffic is counted since the call before, for an hour at most.
  /// When `now` is earlier than at the call before, people and things are where they are at that time, while counters
  /// and uptimes stay as they are.
  ///
  /// Units: seconds since the epoch; days are those of the time zone of the process.
  void Advance(time_t now);

  /// The MACs of all devices: the router, the switches, the access points.
  std::vector<std::string> DeviceMacs() const;

  /// How many clients there are, in the house or not.
  std::size_t clients() const;

 private:
  class Company;

  std::unique_ptr<Company> company_;
};

}  // namespace probe
