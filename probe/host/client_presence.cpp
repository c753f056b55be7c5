#include "probe/host/client_presence.h"

#include <utility>

namespace probe {

void ClientPresence::Note(const std::string& mac, const DeviceSnapshot& snapshot, time_t now) {
  if (!snapshot.online) {
    devices_.erase(mac);
    return;
  }
  const auto [device, is_first] = devices_.try_emplace(mac);
  Presences present;
  for (const auto& [name, interface] : snapshot.ssid_interfaces) {
    for (const auto& client : interface.clients) {
      const auto known = device->second.find(client.mac);
      present.try_emplace(client.mac, known != device->second.end() ? known->second : Presence{now, is_first});
    }
  }
  device->second = std::move(present);
}

Presences ClientPresence::Of(const std::string& mac) const {
  const auto found = devices_.find(mac);
  return found == devices_.end() ? Presences() : found->second;
}

}  // namespace probe
