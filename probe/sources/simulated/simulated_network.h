#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"

namespace probe {

/// Which network is simulated.
struct SimulatedNetworkSettings {
  std::uint64_t seed = 1;  ///< Another seed is another company.
  int devices = 0;         ///< Routers, switches and access points together; 0 or less: the small company's nine.
  int clients = 0;         ///< Clients, in the building or not; 0 or less: forty for three access points.
};

/// A simulated company network: a router, two switches, six access points on two floors and 80 clients, or as many of
/// each as are asked for.
///
/// People come in the morning with laptop and phone, roam between access points, idle, have lunch and leave; visitors
/// sign in at the captive portal; printers and other things never leave. Traffic follows the day, with bursts and heavy
/// users, and runs from SSID interfaces over access points, switches and router to the Internet, so that their counters
/// agree. Devices restart, an access point goes offline twice a week, one switch refuses the login, and rogue access
/// points come and go.
///
/// The snapshots are a function of the seed and of what was given to `Advance` and `ContinueFrom`, and of nothing else:
/// the same ones give the same snapshots on every machine in the same time zone. It reads no clock. Where clients are
/// depends on the moment alone; only counters and uptimes are carried from reading to reading, and they only grow
/// except at a restart.
///
/// Does not model: packets, shared air, full cables, traffic inside the building, interference, channels that change,
/// devices that answer late, holidays. Between two readings nothing happens: a client that came and went in between was
/// never there, and traffic of the whole time is that of its last minute.
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
  /// A device that is offline keeps its last snapshot, marked offline. Traffic is counted since the call before, for an
  /// hour at most. When `now` is earlier than at the call before, clients are where they are at that time, while
  /// counters and uptimes stay as they are.
  ///
  /// Units: seconds since the epoch; days are those of the time zone of the process.
  void Advance(time_t now);

  /// Goes on from the states that devices had in an earlier run of the probe, and advances to `now`: what they say then
  /// is what they would have said without the restart. What was not in these states, as the session of a visitor who
  /// was away from the air, begins anew.
  void ContinueFrom(const LastSnapshots& last, time_t now);

  /// The MACs of all devices: the router, the switches, the access points.
  std::vector<std::string> DeviceMacs() const;

  /// How many clients there are, in the building or not.
  std::size_t clients() const;

 private:
  class Company;

  std::unique_ptr<Company> company_;
};

}  // namespace probe
