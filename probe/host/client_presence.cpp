#include "probe/host/client_presence.h"

#include <algorithm>
#include <utility>

namespace probe {
/// Client MAC -> where the device lists it.
std::map<std::string, std::vector<ClientPresence::Place>> ClientPresence::ListedIn(const DeviceSnapshot& snapshot) {
  std::map<std::string, std::vector<Place>> listed;
  for (const auto& [name, interface] : snapshot.ssid_interfaces) {
    for (const auto& client : interface.clients) {
      std::vector<Place>& places = listed[client.mac];
      if (places.empty() || places.back().interface != name) places.push_back({.interface = name});
      places.back().octets += client.in_bytes + client.out_bytes;
    }
  }
  return listed;
}

std::uint64_t ClientPresence::OctetsAt(const std::vector<Place>& places) {
  std::uint64_t octets = 0;
  for (const Place& place : places) octets += place.octets;
  return octets;
}

/// The one of several that the client was at last; empty when two were.
std::string ClientPresence::LastAt(const std::vector<Place>& places) {
  if (places.size() < 2) return {};
  const auto is_earlier = [](const Place& one, const Place& other) { return one.last_sign < other.last_sign; };
  const auto last = std::ranges::max_element(places, is_earlier);
  const auto is_like_it = [&](const Place& place) { return place.last_sign == last->last_sign; };
  return std::ranges::count_if(places, is_like_it) == 1 ? last->interface : std::string();
}

/// Takes over where a client who stays is listed now; `read_at`: when its device was read before.
void ClientPresence::GoOn(Stay& stay, std::vector<Place> places, time_t read_at, time_t now) {
  for (Place& place : places) {
    const auto before = std::ranges::find(stay.places, place.interface, &Place::interface);
    const bool has_come = before == stay.places.end();
    place.last_sign = has_come ? now : before->octets != place.octets ? read_at : before->last_sign;
  }
  if (OctetsAt(stay.places) != OctetsAt(places)) stay.presence.last_sign = read_at;
  stay.presence.interface = LastAt(places);
  stay.places = std::move(places);
}

void ClientPresence::Note(const std::string& mac, const DeviceSnapshot& snapshot, time_t now) {
  if (!snapshot.online || !snapshot.details.lists_clients) {
    devices_.erase(mac);
    return;
  }
  const auto [place, is_first] = devices_.try_emplace(mac);
  Device& device = place->second;
  std::map<std::string, std::vector<Place>> listed = ListedIn(snapshot);
  std::erase_if(device.stays, [&](const auto& stay) { return !listed.contains(stay.first); });
  for (auto& [client, stay] : device.stays) GoOn(stay, listed.extract(client).mapped(), device.read_at, now);
  const bool is_earlier = is_first || device.leaves_some_out;
  device.leaves_some_out = device.stays.size() + listed.size() > kMaxClients;
  // Now without those who were there.
  for (auto& [client, places] : listed) {
    if (device.stays.size() == kMaxClients) break;
    const Presence presence{.since = now, .is_earlier = is_earlier, .last_sign = is_earlier ? 0 : now};
    device.stays.emplace(client, Stay{.presence = presence, .places = std::move(places)});
  }
  device.read_at = now;
}

Presences ClientPresence::Of(const std::string& mac) const {
  Presences presences;
  const auto found = devices_.find(mac);
  if (found == devices_.end()) return presences;
  for (const auto& [client, stay] : found->second.stays) presences.emplace_hint(presences.end(), client, stay.presence);
  return presences;
}

}  // namespace probe
