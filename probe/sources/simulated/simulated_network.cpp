#include "probe/sources/simulated/simulated_network.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "platform/device_records.h"
#include "probe/host/device_snapshot.h"
#include "probe/sources/simulated/device_life.h"
#include "probe/sources/simulated/device_load.h"
#include "probe/sources/simulated/device_state.h"
#include "probe/sources/simulated/dice.h"
#include "probe/sources/simulated/floor_plan.h"
#include "probe/sources/simulated/moment.h"
#include "probe/sources/simulated/neighbourhood.h"
#include "probe/sources/simulated/octets.h"
#include "probe/sources/simulated/radio_side.h"
#include "probe/sources/simulated/snapshot_building.h"
#include "probe/sources/simulated/wired_side.h"

namespace probe {
namespace {

using namespace simulated;

constexpr std::size_t kSmallCompany = 9;

/// Traffic is counted for at most so long, so that a gap, as after a suspend of the machine, does not look like a
/// burst.
constexpr std::int64_t kMaxCountedSeconds = 3'600;

std::size_t DevicesOf(const SimulatedNetworkSettings& settings) {
  return settings.devices > 0 ? static_cast<std::size_t>(settings.devices) : kSmallCompany;
}

/// Forty clients for three access points: the small company has 80.
std::size_t ClientsOf(const SimulatedNetworkSettings& settings, std::size_t access_points) {
  return settings.clients > 0 ? static_cast<std::size_t>(settings.clients) : (access_points * 40 + 2) / 3;
}

std::int64_t SecondsSince(std::int64_t calendar_minute, const Moment& moment) {
  return (moment.CalendarMinute() - calendar_minute) * 60 + moment.second;
}

}  // namespace

/// The parts of the simulation, and the order in which a reading asks them.
class SimulatedNetwork::Company {
 public:
  Company(DeviceCentre& centre, const SimulatedNetworkSettings& settings)
      : centre_(centre),
        dice_(settings.seed),
        plan_(DrawFloorPlan(dice_, DevicesOf(settings))),
        clients_(ClientsOf(settings, plan_.access_points())),
        life_(dice_, plan_),
        neighbourhood_(dice_, plan_),
        air_(dice_, plan_, clients_),
        cables_(dice_, plan_),
        states_(plan_.devices.size()),
        was_offline_(plan_.devices.size(), false) {}

  void Advance(time_t now);
  void ContinueFrom(const LastSnapshots& last, time_t now);

  const FloorPlan& plan() const { return plan_; }
  std::size_t clients() const { return clients_; }

 private:
  void Begin(const Moment& moment);
  void RestoreDevice(std::size_t device, const DeviceSnapshot& snapshot, const Moment& moment);
  void UpdateLife(std::size_t device, const Moment& moment, std::int64_t elapsed);
  void MoveTraffic(const Moment& moment, std::uint64_t seconds);
  void Publish(const Moment& moment, std::uint64_t seconds);
  std::optional<DeviceSnapshot> SnapshotOf(std::size_t device, const Moment& moment, std::uint64_t seconds);
  DeviceSnapshot OfflineSnapshot(const DevicePlan& device) const;
  LoadCauses CausesOf(std::size_t device, const DeviceSnapshot& snapshot, std::uint64_t seconds) const;

  DeviceCentre& centre_;
  const Dice dice_;
  const FloorPlan plan_;
  const std::size_t clients_;
  const DeviceLife life_;
  const Neighbourhood neighbourhood_;
  RadioSide air_;
  const WiredSide cables_;

  std::vector<DeviceState> states_;  // by device
  std::vector<bool> was_offline_;    // by device: its snapshot in the device centre is marked offline
  PortOctets flows_;                 // by device: octets since the reading before
  std::optional<time_t> last_;       // time of the reading before; nothing before the first
};

/// Devices have been running for some time at the first reading; their counters hold an average of that time.
void SimulatedNetwork::Company::Begin(const Moment& moment) {
  const PortOctets average = cables_.AverageSecond();
  for (std::size_t device = 0; device < states_.size(); ++device) {
    DeviceState& state = states_[device];
    state.last_start = life_.LastStart(device, moment);
    state.uptime = state.last_start == DeviceLife::kLongAgo
                       ? life_.UptimeOfOldDevice(device)
                       : static_cast<std::int32_t>(SecondsSince(state.last_start, moment));
    for (const Octets& port : average[device]) {
      state.counters.push_back(port * static_cast<std::uint64_t>(state.uptime));
    }
  }
}

void SimulatedNetwork::Company::UpdateLife(std::size_t device, const Moment& moment, std::int64_t elapsed) {
  DeviceState& state = states_[device];
  const std::int64_t start = life_.LastStart(device, moment);
  state.is_online = life_.IsOnline(device, moment);
  // After the clock went back, a start before the last reading may be found again; it is no restart.
  state.has_restarted = start > state.last_start && SecondsSince(start, moment) <= elapsed;
  state.uptime += static_cast<std::int32_t>(elapsed);
  if (!state.has_restarted) return;
  state.uptime = static_cast<std::int32_t>(SecondsSince(start, moment));
  state.last_start = start;
  std::fill(state.counters.begin(), state.counters.end(), Octets{});
}

void SimulatedNetwork::Company::MoveTraffic(const Moment& moment, std::uint64_t seconds) {
  // The air first: what runs over the cables is the sum of what clients moved.
  flows_ = NoOctets(plan_);
  air_.Advance(moment, seconds, states_, flows_);
  cables_.Carry(moment, seconds, states_, flows_);
  for (std::size_t device = 0; device < states_.size(); ++device) {
    if (!states_[device].is_online) continue;
    for (std::size_t port = 0; port < flows_[device].size(); ++port) {
      states_[device].counters[port] += flows_[device][port];
    }
  }
}

LoadCauses SimulatedNetwork::Company::CausesOf(std::size_t device, const DeviceSnapshot& snapshot,
                                               std::uint64_t seconds) const {
  LoadCauses causes;
  causes.type = plan_.devices[device].type;
  causes.device = device;
  causes.uptime = states_[device].uptime;
  causes.refuses_login = plan_.devices[device].refuses_login;
  for (const auto& [name, interface] : snapshot.ssid_interfaces) causes.clients += interface.clients.size();
  for (const auto& neighbour : snapshot.neighbours) causes.rogue_neighbours += neighbour.trusted == 0 ? 1 : 0;
  std::uint64_t octets = 0;
  for (const Octets& port : flows_[device]) octets += port.in + port.out;
  // 0 seconds have passed at the first reading, and when the clock went back.
  causes.octets_per_second = octets / std::max<std::uint64_t>(1, seconds);
  return causes;
}

DeviceSnapshot SimulatedNetwork::Company::OfflineSnapshot(const DevicePlan& device) const {
  DeviceSnapshot snapshot;
  if (const auto last = centre_.Snapshot(device.mac)) {
    snapshot = *last;
  } else {
    snapshot.basic_info = vexora_probe::models::controller::BasicInfo{
        .mac = device.mac, .hostname = device.name, .ip = device.ip, .type = device.type};
  }
  snapshot.online = false;
  return snapshot;
}

std::optional<DeviceSnapshot> SimulatedNetwork::Company::SnapshotOf(std::size_t device, const Moment& moment,
                                                                    std::uint64_t seconds) {
  const DevicePlan& plan = plan_.devices[device];
  const DeviceState& state = states_[device];
  if (!state.is_online) {
    // The device centre has its last snapshot already, marked offline.
    if (was_offline_[device]) return std::nullopt;
    return OfflineSnapshot(plan);
  }
  DeviceSnapshot snapshot = CommonSnapshot(plan, state, moment);
  const std::size_t first_access_point = plan_.AccessPointDevice(0);
  if (device >= first_access_point) {
    const std::size_t access_point = device - first_access_point;
    AddWireless(dice_, access_point, state, air_, moment, snapshot);
    snapshot.neighbours = neighbourhood_.HeardBy(
        access_point, moment, [&](std::size_t other) { return states_[plan_.AccessPointDevice(other)].is_online; });
  }
  AddLoad(plan, LoadOf(dice_, CausesOf(device, snapshot, seconds), moment), snapshot);
  return snapshot;
}

void SimulatedNetwork::Company::Publish(const Moment& moment, std::uint64_t seconds) {
  // All snapshots are built before the first is published: readers of the device centre see devices of two different
  // readings for the time of some pointer swaps only.
  std::vector<std::optional<DeviceSnapshot>> snapshots;
  snapshots.reserve(states_.size());
  for (std::size_t device = 0; device < states_.size(); ++device) {
    snapshots.push_back(SnapshotOf(device, moment, seconds));
    was_offline_[device] = !states_[device].is_online;
  }
  for (std::size_t device = 0; device < states_.size(); ++device) {
    if (snapshots[device]) centre_.Replace(plan_.devices[device].mac, std::move(*snapshots[device]));
  }
}

void SimulatedNetwork::Company::Advance(time_t now) {
  const Moment moment = MomentOf(now);
  if (!last_) Begin(moment);
  const std::int64_t elapsed = std::max<std::int64_t>(0, std::int64_t{now} - last_.value_or(now));
  const auto seconds = static_cast<std::uint64_t>(std::min(elapsed, kMaxCountedSeconds));
  for (std::size_t device = 0; device < states_.size(); ++device) UpdateLife(device, moment, elapsed);
  MoveTraffic(moment, seconds);
  Publish(moment, seconds);
  last_ = now;
}

void SimulatedNetwork::Company::RestoreDevice(std::size_t device, const DeviceSnapshot& snapshot,
                                              const Moment& moment) {
  const DevicePlan& plan = plan_.devices[device];
  DeviceState& state = states_[device];
  for (std::size_t port = 0; port < plan.ports.size(); ++port) {
    const auto found = snapshot.interfaces.find(plan.ports[port].name);
    if (found == snapshot.interfaces.end() || found->second->traffic == nullptr) continue;
    state.counters[port] = {.in = found->second->traffic->in_bytes, .out = found->second->traffic->out_bytes};
  }
  state.last_start = life_.LastStart(device, moment);
  if (snapshot.uptime >= 0) state.uptime = snapshot.uptime;  // a device that refuses the login does not tell it
  const std::size_t first_access_point = plan_.AccessPointDevice(0);
  if (device >= first_access_point && snapshot.online) air_.Restore(device - first_access_point, snapshot, moment);
}

void SimulatedNetwork::Company::ContinueFrom(const LastSnapshots& last, time_t now) {
  std::vector<std::shared_ptr<const DeviceSnapshot>> known(states_.size());  // by device
  std::optional<time_t> newest;
  for (std::size_t device = 0; device < states_.size(); ++device) {
    const auto found = last.find(plan_.devices[device].mac);
    if (found == last.end() || !found->second->sample_time) continue;
    known[device] = found->second;
    newest = std::max(newest, found->second->sample_time);
  }
  if (!newest) return;
  const Moment moment = MomentOf(*newest);
  if (!last_) Begin(moment);
  air_.ForgetClients();
  for (std::size_t device = 0; device < states_.size(); ++device) {
    if (known[device] == nullptr) continue;
    RestoreDevice(device, *known[device], moment);
    if (life_.IsOnline(device, MomentOf(now))) continue;
    // What was last known of it is shown again, marked offline.
    was_offline_[device] = false;
    centre_.ReplaceWith(plan_.devices[device].mac, known[device]);
  }
  last_ = *newest;
  Advance(now);
}

SimulatedNetwork::SimulatedNetwork(DeviceCentre& centre, const SimulatedNetworkSettings& settings)
    : company_(std::make_unique<Company>(centre, settings)) {}

SimulatedNetwork::~SimulatedNetwork() = default;

void SimulatedNetwork::Advance(time_t now) {
  company_->Advance(now);
}

void SimulatedNetwork::ContinueFrom(const LastSnapshots& last, time_t now) {
  company_->ContinueFrom(last, now);
}

std::vector<std::string> SimulatedNetwork::DeviceMacs() const {
  std::vector<std::string> macs;
  for (const DevicePlan& device : company_->plan().devices) macs.push_back(device.mac);
  return macs;
}

std::size_t SimulatedNetwork::clients() const {
  return company_->clients();
}

}  // namespace probe
