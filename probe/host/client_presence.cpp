#include "probe/host/client_presence.h"

#include <utility>

namespace probe {
namespace {

/// Client MAC -> its octets, both ways, on all networks of the device.
std::map<std::string, std::uint64_t> ListedIn(const DeviceSnapshot& snapshot) {
  std::map<std::string, std::uint64_t> listed;
  for (const auto& [name, interface] : snapshot.ssid_interfaces) {
    for (const auto& client : interface.clients) listed[client.mac] += client.in_bytes + client.out_bytes;
  }
  return listed;
}

}  // namespace

void ClientPresence::Note(const std::string& mac, const DeviceSnapshot& snapshot, time_t now) {
  if (!snapshot.online || !snapshot.details.lists_clients) {
    devices_.erase(mac);
    return;
  }
  const auto [place, is_first] = devices_.try_emplace(mac);
  Device& device = place->second;
  std::map<std::string, std::uint64_t> listed = ListedIn(snapshot);
  std::erase_if(device.stays, [&](const auto& stay) { return !listed.contains(stay.first); });
  for (auto& [client, stay] : device.stays) {
    const std::uint64_t octets = listed.extract(client).mapped();
    if (octets != std::exchange(stay.octets, octets)) stay.presence.last_sign = device.read_at;
  }
  const bool is_earlier = is_first || device.leaves_some_out;
  device.leaves_some_out = device.stays.size() + listed.size() > kMaxClients;
  // Now without those who were there.
  for (const auto& [client, octets] : listed) {
    if (device.stays.size() == kMaxClients) break;
    const Presence presence{.since = now, .is_earlier = is_earlier, .last_sign = is_earlier ? 0 : now};
    device.stays.emplace(client, Stay{.presence = presence, .octets = octets});
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
