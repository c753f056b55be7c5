#include "probe/sources/this_machine/wifi_snapshot.h"

#include <algorithm>
#include <string>

#include "platform/device_records.h"

namespace probe {
namespace {

namespace records = vexora_probe::models::controller;

constexpr auto kUnknownSecurity = static_cast<records::SecModeType>(-1);

records::AssocClientState ClientOf(const WifiStation& station) {
  records::AssocClientState client;
  client.mac = station.mac;
  client.mode = station.mode;
  client.data_rate = station.data_rate;
  client.in_bytes = station.in_bytes;
  client.out_bytes = station.out_bytes;
  return client;
}

records::SSIDIfState StateOf(const WifiInterface& interface, const std::string& radio, const DeviceSnapshot& snapshot) {
  records::SSIDIfState state;
  state.ssid = interface.ssid;
  state.radio = radio;
  // The octets of the interface as a whole come with its link; nl80211 counts those of each station.
  const auto link = snapshot.interfaces.find(interface.name);
  if (link != snapshot.interfaces.end() && link->second != nullptr) state.traffic = link->second->traffic;
  for (const WifiStation& station : interface.stations) state.clients.push_back(ClientOf(station));
  state.client_count = static_cast<std::int32_t>(state.clients.size());
  return state;
}

}  // namespace

void AddWifi(const std::vector<WifiInterface>& interfaces, DeviceSnapshot& snapshot) {
  snapshot.is_wireless = !interfaces.empty();
  // Nothing at all is also what a kernel tells that refuses the question.
  snapshot.details.lists_clients = !interfaces.empty() && std::ranges::all_of(interfaces, [](const auto& interface) {
    return interface.lists_stations;
  });
  for (const WifiInterface& interface : interfaces) {
    const std::string radio = "phy" + std::to_string(interface.phy);
    snapshot.ssid_interfaces[interface.name] = StateOf(interface, radio, snapshot);
    // A radio works on one channel at a time, so an interface without a channel must not overwrite the band of another.
    if (interface.frequency != 0 || !snapshot.radios.contains(radio)) {
      snapshot.radios[radio].band = BandOf(interface.frequency);
    }
    if (const std::int32_t channel = ChannelOf(interface.frequency); channel != 0)
      snapshot.details.channels[radio] = channel;
    for (const WifiStation& station : interface.stations) {
      if (station.signal_dbm != 0) snapshot.details.client_signals[station.mac] = station.signal_dbm;
    }
    if (!interface.is_access_point) continue;
    if (snapshot.basic_info) snapshot.basic_info->type = records::DeviceType::kAccessPoint;
    if (interface.ssid.empty()) continue;
    snapshot.ssid_config[interface.ssid + "@" + radio] =
        records::SSIDCfg{.name = interface.ssid, .security_mode = kUnknownSecurity, .guest = false};
  }
}

}  // namespace probe
