#include "probe/sources/simulated/floor_plan.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "probe/sources/simulated/mac.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

using vexora_probe::models::controller::DeviceType;

constexpr std::uint64_t kGigabit = 1'000'000'000;  // bit/s

std::size_t SwitchesAmong(std::size_t devices) {
  if (devices < 3) return 0;
  if (devices < 5) return 1;
  const std::size_t behind_router = devices - 1;
  // A switch with the access points that it has ports for.
  constexpr std::size_t kFullFloor = kMaxAccessPointsOnSwitch + 1;
  return std::max<std::size_t>(2, (behind_router + kFullFloor - 1) / kFullFloor);
}

DevicePlan NewDevice(const Dice& dice, const FloorPlan& plan, DeviceType type, const std::string& name) {
  const std::size_t number = plan.devices.size();
  DevicePlan device;
  device.type = type;
  device.name = name;
  device.mac =
      MacText(LocalMac(MacOwner::kDevice, dice.Throw(Question::kSeedTag, 0), static_cast<std::uint32_t>(number)),
              MacNotation::kUpperColons);
  // 250 addresses of each block of 256, so that none ends in 0 or 255.
  device.ip = "10.20." + std::to_string(number / 250) + "." + std::to_string(number % 250 + 1);
  return device;
}

void AddRouter(const Dice& dice, FloorPlan& plan) {
  DevicePlan router = NewDevice(dice, plan, DeviceType::kRouter, "gateway");
  router.model = "Quillon R400";
  router.version = "7.2.3";
  router.ports.push_back({.name = "wan0", .bits_per_second = kGigabit});
  for (std::size_t lan = 0; lan < std::max<std::size_t>(1, plan.switches); ++lan) {
    router.ports.push_back({.name = "lan" + std::to_string(lan + 1), .bits_per_second = kGigabit});
  }
  plan.devices.push_back(std::move(router));
}

void AddSwitch(const Dice& dice, FloorPlan& plan, std::size_t number) {
  DevicePlan device = NewDevice(dice, plan, DeviceType::kSwitch, "switch-floor-" + std::to_string(number + 1));
  device.model = "Tessarine S24";
  device.version = number % 2 == 0 ? "2.11.0" : "2.9.4";
  const std::size_t used = kFirstAccessPointPort + plan.floors[number].access_points + kWiredHosts;
  for (std::size_t port = 0; port < kSwitchPorts; ++port) {
    device.ports.push_back(
        {.name = "ge" + std::to_string(port + 1), .is_up = port < used, .bits_per_second = kGigabit});
  }
  // An interface without counters, as real switches have.
  device.ports.push_back({.name = "console0", .has_statistics = false});
  // The second switch is the device with the changed password; the smallest networks have none.
  device.refuses_login = number == 1;
  plan.devices.push_back(std::move(device));
}

/// Names an access point after its place on the floor, as an administrator would.
std::string AccessPointName(std::size_t floor, std::size_t place) {
  constexpr std::array<const char*, 6> kPlaces{"kitchen", "open-space", "meeting", "corner", "store", "studio"};
  const std::size_t round = place / kPlaces.size();
  const std::string again = round == 0 ? std::string() : "-" + std::to_string(round + 1);
  return "ap" + std::to_string(floor + 1) + "-" + kPlaces[place % kPlaces.size()] + again;
}

void AddAccessPoint(const Dice& dice, FloorPlan& plan, std::size_t access_point) {
  const std::size_t floor = plan.floor_of_access_point[access_point];
  const std::size_t place = access_point - plan.floors[floor].first_access_point;
  DevicePlan device = NewDevice(dice, plan, DeviceType::kAccessPoint, AccessPointName(floor, place));
  device.model = access_point % 3 == 2 ? "Ombrel A3" : "Ombrel A2";
  device.version = access_point % 3 == 2 ? "1.0.8" : "5.4.1";
  device.ports.push_back({.name = "eth0", .bits_per_second = kGigabit});
  for (std::size_t radio = 0; radio < kRadioNames.size(); ++radio) {
    for (std::size_t network = 0; network < kWirelessNetworks.size(); ++network) {
      device.ports.push_back({.name = SsidInterfaceName(radio, network)});
    }
  }
  plan.devices.push_back(std::move(device));
}

/// Spreads the access points evenly over the floors.
void DivideFloors(FloorPlan& plan, std::size_t access_points) {
  const std::size_t floors = std::max<std::size_t>(1, plan.switches);
  for (std::size_t floor = 0; floor < floors; ++floor) {
    const std::size_t first = floor * access_points / floors;
    const std::size_t end = (floor + 1) * access_points / floors;
    plan.floors.push_back({.first_access_point = first, .access_points = end - first});
    plan.floor_of_access_point.insert(plan.floor_of_access_point.end(), end - first, floor);
  }
}

}  // namespace

FloorPlan DrawFloorPlan(const Dice& dice, std::size_t devices) {
  devices = std::max<std::size_t>(1, devices);
  FloorPlan plan;
  plan.routers = devices > 1 ? 1 : 0;
  plan.switches = SwitchesAmong(devices);
  DivideFloors(plan, devices - plan.routers - plan.switches);
  plan.devices.reserve(devices);
  if (plan.routers > 0) AddRouter(dice, plan);
  for (std::size_t number = 0; number < plan.switches; ++number) AddSwitch(dice, plan, number);
  for (std::size_t number = 0; number < plan.access_points(); ++number) AddAccessPoint(dice, plan, number);
  return plan;
}

}  // namespace probe::simulated
