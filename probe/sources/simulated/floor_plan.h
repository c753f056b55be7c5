#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/device_records.h"
#include "probe/sources/simulated/dice.h"

namespace probe::simulated {

/// One interface of a device.
struct Port {
  std::string name;
  bool is_up = true;                  ///< A cable is plugged in.
  bool has_statistics = true;         ///< The device counts its octets.
  std::uint64_t bits_per_second = 0;  ///< Speed of the link when a cable is plugged in; 0 when it has none.
};

/// The part of one device that never changes.
struct DevicePlan {
  vexora_probe::models::controller::DeviceType type = vexora_probe::models::controller::DeviceType::kUnknown;
  std::string mac;
  std::string name;
  std::string ip;
  std::string model;
  std::string version;
  std::vector<Port> ports;     ///< In the order of the constants below.
  bool refuses_login = false;  ///< Its password was changed: it gives its counters, but nothing that needs a login.
};

/// One floor: a switch and the access points on it.
struct Floor {
  std::size_t first_access_point = 0;
  std::size_t access_points = 0;
};

// Ports of an access point: the cable first, then its SSID interfaces.
inline constexpr std::size_t kCable = 0;
inline constexpr std::size_t kFirstSsidPort = 1;

// Ports of a switch: the cable to the router, the access points of its floor, computers on cables, then empty ones.
inline constexpr std::size_t kUplink = 0;
inline constexpr std::size_t kFirstAccessPointPort = 1;
inline constexpr std::size_t kWiredHosts = 3;
inline constexpr std::size_t kSwitchPorts = 24;
inline constexpr std::size_t kMaxAccessPointsOnSwitch = kSwitchPorts - 1 - kWiredHosts;

// Ports of a router: the way out, then one for each switch, or a single one when there is no switch.
inline constexpr std::size_t kWan = 0;
inline constexpr std::size_t kFirstLan = 1;

/// Which devices the company has and how they are connected: a router, switches, access points, in this order.
struct FloorPlan {
  std::vector<DevicePlan> devices;
  std::size_t routers = 0;    ///< 0 or 1.
  std::size_t switches = 0;   ///< As many as floors; 0 in a network of one or two devices.
  std::vector<Floor> floors;  ///< At least one.
  std::vector<std::size_t> floor_of_access_point;

  std::size_t access_points() const { return floor_of_access_point.size(); }
  std::size_t SwitchDevice(std::size_t number) const { return routers + number; }
  std::size_t AccessPointDevice(std::size_t access_point) const { return routers + switches + access_point; }
  const Floor& FloorOf(std::size_t access_point) const { return floors[floor_of_access_point[access_point]]; }
};

/// The company with so many devices, at least 1. Nine are a router, two switches and six access points.
///
/// One device is an access point, two are a router and an access point; a switch comes with three, a second one, and
/// with it a second floor, with five. From then on a switch takes up to `kMaxAccessPointsOnSwitch`.
FloorPlan DrawFloorPlan(const Dice& dice, std::size_t devices);

}  // namespace probe::simulated
