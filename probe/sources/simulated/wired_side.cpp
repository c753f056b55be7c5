#include "probe/sources/simulated/wired_side.h"

#include "probe/sources/simulated/client_traffic.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

constexpr std::size_t kCamera = 1;
constexpr std::size_t kServer = 2;

/// Management traffic between an access point and its switch. Units: octets per second.
constexpr std::uint64_t kManagementRate = 150;

/// What the cable on the other side of the device carries: the sum of the ports from `first` on, with directions
/// swapped.
Octets OtherSide(const std::vector<Octets>& ports, std::size_t first) {
  Octets sum;
  for (std::size_t port = first; port < ports.size(); ++port) sum += Opposite(ports[port]);
  return sum;
}

/// Fills the cable of an access point from its SSID interfaces.
void FillAccessPoint(std::uint64_t elapsed, std::vector<Octets>& ports) {
  const std::uint64_t management = kManagementRate * elapsed;
  ports[kCable] = OtherSide(ports, kFirstSsidPort);
  ports[kCable] += {.in = management, .out = management};
}

}  // namespace

PortOctets NoOctets(const FloorPlan& plan) {
  PortOctets octets;
  octets.reserve(plan.devices.size());
  for (const DevicePlan& device : plan.devices) octets.emplace_back(device.ports.size());
  return octets;
}

Octets WiredSide::WiredHost(std::size_t number, std::size_t host, const Moment& moment) const {
  const std::uint64_t who = number * kWiredHosts + host;
  // Units: octets per second, as the port of the switch counts them: `in` is what the host sends.
  const auto volume = [&](int low, int high) {
    return static_cast<std::uint64_t>(dice_.Between(low, high, Question::kWiredVolume, who, moment.minute));
  };
  if (host == kCamera) return {.in = volume(230'000, 270'000), .out = volume(1'500, 2'500)};
  if (host == kServer) {
    // From one o'clock to half past two.
    const bool is_saving = moment.minute_of_day >= 60 && moment.minute_of_day < 150;
    return is_saving ? Octets{.in = volume(8'000'000, 11'000'000), .out = volume(100'000, 200'000)}
                     : Octets{.in = volume(5'000, 120'000), .out = volume(2'000, 40'000)};
  }
  const auto percent = static_cast<std::uint64_t>(RhythmPercent(moment));
  return {.in = volume(500, 9'000) * percent / 100, .out = volume(2'000, 90'000) * percent / 100};
}

void WiredSide::FillSwitch(std::size_t number, PortOctets& flows) const {
  std::vector<Octets>& ports = flows[plan_.SwitchDevice(number)];
  const Floor& floor = plan_.floors[number];
  for (std::size_t place = 0; place < floor.access_points; ++place) {
    const std::size_t device = plan_.AccessPointDevice(floor.first_access_point + place);
    ports[kFirstAccessPointPort + place] = Opposite(flows[device][kCable]);
  }
  ports[kUplink] = OtherSide(ports, kFirstAccessPointPort);
}

void WiredSide::FillRouter(PortOctets& flows) const {
  std::vector<Octets>& ports = flows[0];
  for (std::size_t number = 0; number < plan_.switches; ++number) {
    ports[kFirstLan + number] = Opposite(flows[plan_.SwitchDevice(number)][kUplink]);
  }
  // In a network of two devices the access point is connected to the router.
  if (plan_.switches == 0) ports[kFirstLan] = Opposite(flows[plan_.AccessPointDevice(0)][kCable]);
  ports[kWan] = OtherSide(ports, kFirstLan);
}

void WiredSide::Carry(const Moment& moment, std::uint64_t elapsed, const std::vector<DeviceState>& devices,
                      PortOctets& flows) const {
  // From the leaves to the root: an uplink is the sum of ports that must be known before it.
  for (std::size_t access_point = 0; access_point < plan_.access_points(); ++access_point) {
    const std::size_t device = plan_.AccessPointDevice(access_point);
    if (devices[device].is_online) FillAccessPoint(elapsed, flows[device]);
  }
  for (std::size_t number = 0; number < plan_.switches; ++number) {
    const std::size_t first_host = kFirstAccessPointPort + plan_.floors[number].access_points;
    for (std::size_t host = 0; host < kWiredHosts; ++host) {
      flows[plan_.SwitchDevice(number)][first_host + host] = WiredHost(number, host, moment) * elapsed;
    }
    FillSwitch(number, flows);
  }
  if (plan_.routers > 0) FillRouter(flows);
}

PortOctets WiredSide::AverageSecond() const {
  PortOctets flows = NoOctets(plan_);
  for (std::size_t access_point = 0; access_point < plan_.access_points(); ++access_point) {
    std::vector<Octets>& ports = flows[plan_.AccessPointDevice(access_point)];
    for (std::size_t port = kFirstSsidPort; port < ports.size(); ++port) ports[port] = {.in = 900, .out = 7'000};
  }
  const std::vector<DeviceState> all_online(plan_.devices.size());
  Moment nine_in_the_morning;
  nine_in_the_morning.minute_of_day = 9 * 60;
  Carry(nine_in_the_morning, 1, all_online, flows);
  return flows;
}

}  // namespace probe::simulated
