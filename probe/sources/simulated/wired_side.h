#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "probe/sources/simulated/device_state.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/octets.h"

namespace probe::simulated {

/// The wired side of the company: what the access points moved runs through the switches and the router to the
/// Internet, together with the traffic of wired hosts: on each floor a desktop, a camera and a server that saves its
/// data at night.
///
/// Octets are conserved: what one end of a cable sends, the other receives, and an uplink carries the sum of the rest.
///
/// Does not model: traffic that stays in the building, packets, errors, full cables.
/// Threads: any; nothing in it changes.
class WiredSide {
 public:
  /// Both have to outlive the object.
  WiredSide(const Dice& dice, const FloorPlan& plan) : dice_(dice), plan_(plan) {}

  /// Fills the ports of all cables in `flows`, whose SSID interfaces are known, for `elapsed` seconds.
  void Carry(const Moment& moment, std::uint64_t elapsed, const std::vector<DeviceState>& devices,
             PortOctets& flows) const;

  /// What each port carries in one second of an ordinary day, for the counters of devices that have been running for
  /// long before the first reading.
  PortOctets AverageSecond() const;

 private:
  void FillSwitch(std::size_t number, PortOctets& flows) const;
  void FillRouter(PortOctets& flows) const;
  Octets WiredHost(std::size_t number, std::size_t host, const Moment& moment) const;

  const Dice& dice_;
  const FloorPlan& plan_;
};

/// Octets of each port of each device, all 0.
PortOctets NoOctets(const FloorPlan& plan);

}  // namespace probe::simulated
