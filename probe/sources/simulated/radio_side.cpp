#include "probe/sources/simulated/radio_side.h"

#include <algorithm>

#include "platform/utilities/text.h"
#include "probe/sources/simulated/attendance.h"
#include "probe/sources/simulated/client_traffic.h"
#include "probe/sources/simulated/mac.h"
#include "probe/sources/simulated/wireless_networks.h"

namespace probe::simulated {
namespace {

constexpr std::uint32_t kNoSession = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t kNotSignedIn = std::numeric_limits<std::int64_t>::min();

/// What beacons and broadcasts add to each SSID interface. Units: octets per second.
constexpr std::uint64_t kBroadcastRate = 90;

}  // namespace

RadioSide::RadioSide(const Dice& dice, const FloorPlan& plan, std::size_t clients)
    : dice_(dice),
      plan_(plan),
      roster_(DrawRoster(dice, clients)),
      associations_(clients),
      session_of_(clients, kNoSession),
      interfaces_(plan.access_points() * kSsidInterfaces) {
  for (const Client& client : roster_) {
    by_mac_[format_macaddress(MacText(client.mac, MacNotation::kUpperColons))] = client.number;
  }
  for (const Client& visitor : roster_) {
    if (visitor.kind != ClientKind::kVisitor) continue;
    session_of_[visitor.number] = static_cast<std::uint32_t>(sessions_.size());
    PortalSession session;
    session.client = visitor.number;
    sessions_.push_back(session);
  }
}

void RadioSide::ForgetClients() {
  for (Association& association : associations_) association = {};
  for (PortalSession& session : sessions_) {
    session.day = kNotSignedIn;
    session.octets = {};
  }
}

void RadioSide::Restore(std::size_t access_point, const DeviceSnapshot& snapshot, const Moment& moment) {
  const auto number_of = [this](const std::string& mac) -> std::optional<std::uint32_t> {
    const auto found = by_mac_.find(format_macaddress(mac));
    return found == by_mac_.end() ? std::nullopt : std::optional(found->second);
  };
  for (const auto& [name, interface] : snapshot.ssid_interfaces) {
    const auto* const radio = std::find(kRadioNames.begin(), kRadioNames.end(), interface.radio);
    if (radio == kRadioNames.end()) continue;
    const auto radio_number = static_cast<std::size_t>(radio - kRadioNames.begin());
    for (const auto& client : interface.clients) {
      const auto number = number_of(client.mac);
      if (!number) continue;
      associations_[*number] = {.spot = Spot{.access_point = access_point, .radio = radio_number},
                                .octets = {.in = client.in_bytes, .out = client.out_bytes}};
    }
  }
  for (const auto& [mac, user] : snapshot.portal_users) {
    const auto number = number_of(mac);
    if (!number || session_of_[*number] == kNoSession) continue;
    PortalSession& session = sessions_[session_of_[*number]];
    session.day = moment.day;
    session.octets = {.in = user.in_bytes, .out = user.out_bytes};
  }
}

const std::vector<std::uint32_t>& RadioSide::ClientsOn(std::size_t access_point, std::size_t radio,
                                                       std::size_t network) const {
  return interfaces_[access_point * kSsidInterfaces + SsidInterface(radio, network)];
}

const PortalSession* RadioSide::SessionOf(std::uint32_t number) const {
  if (session_of_[number] == kNoSession) return nullptr;
  const PortalSession& session = sessions_[session_of_[number]];
  return session.day == kNotSignedIn ? nullptr : &session;
}

void RadioSide::Associate(std::uint32_t number, const std::optional<Spot>& spot,
                          const std::vector<DeviceState>& devices) {
  Association& association = associations_[number];
  const bool is_new = spot != association.spot;
  // A restarted access point has forgotten the counters of clients that came back to it.
  const bool was_dropped = spot && devices[plan_.AccessPointDevice(spot->access_point)].has_restarted;
  if (is_new || was_dropped) association.octets = {};
  association.spot = spot;
}

void RadioSide::CountSession(std::uint32_t number, const Octets& moved, const Moment& moment) {
  if (session_of_[number] == kNoSession) return;
  PortalSession& session = sessions_[session_of_[number]];
  if (!HasSignedIn(dice_, roster_[number], moment)) {
    session.day = kNotSignedIn;
    session.octets = {};
    return;
  }
  // A visitor who was not read at all between two visits begins a new session on the new day.
  if (session.day != moment.day) session.octets = {};
  session.day = moment.day;
  session.octets += moved;
}

void RadioSide::CountBroadcasts(std::uint64_t elapsed, const std::vector<DeviceState>& devices,
                                PortOctets& flows) const {
  for (std::size_t access_point = 0; access_point < plan_.access_points(); ++access_point) {
    const std::size_t device = plan_.AccessPointDevice(access_point);
    if (!devices[device].is_online) continue;
    for (std::size_t port = 0; port < kSsidInterfaces; ++port) {
      flows[device][kFirstSsidPort + port] += Octets{.in = 0, .out = kBroadcastRate * elapsed};
    }
  }
}

void RadioSide::Advance(const Moment& moment, std::uint64_t elapsed, const std::vector<DeviceState>& devices,
                        PortOctets& flows) {
  for (std::vector<std::uint32_t>& clients : interfaces_) clients.clear();
  const IsOnTheAir is_on_the_air = [&](std::size_t access_point) {
    return devices[plan_.AccessPointDevice(access_point)].is_online;
  };
  for (const Client& client : roster_) {
    const std::optional<Spot> spot = SpotOf(dice_, plan_, client, moment, is_on_the_air);
    Associate(client.number, spot, devices);
    const Octets moved = spot ? ClientRate(dice_, client, moment) * elapsed : Octets{};
    // Also without a spot: so the session of a visitor who has left comes to its end.
    CountSession(client.number, moved, moment);
    if (!spot) continue;
    associations_[client.number].octets += moved;
    const std::size_t port = SsidInterface(spot->radio, NetworkOf(client.kind));
    interfaces_[spot->access_point * kSsidInterfaces + port].push_back(client.number);
    flows[plan_.AccessPointDevice(spot->access_point)][kFirstSsidPort + port] += moved;
  }
  CountBroadcasts(elapsed, devices, flows);
}

}  // namespace probe::simulated
