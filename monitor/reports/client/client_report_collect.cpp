#include "monitor/reports/client/client_report_collect.h"

#include <map>
#include <optional>
#include <utility>

#include "monitor/engine/devices.h"
#include "monitor/engine/ssid_configurations.h"
#include "platform/configuration.h"
#include "platform/device_centre.h"
#include "platform/logging.h"
#include "platform/utilities/text.h"

namespace monitoring::client_report {
namespace records = vexora_probe::models::controller;
namespace {

using PortalUsers = std::map<std::string, records::PortalUser>;
using Radios = std::map<std::string, records::RadioIfState>;

records::WIFIBandType BandOf(const std::string& radio, const Radios& radios) {
  const auto found = radios.find(radio);
  return found == radios.end() ? records::WIFIBandType::kUnknown : found->second.band;
}

Sighting ClientSighting(const records::AssocClientState& client, const std::string& ssid) {
  return {.key = WirelessClientKey::KeyStr(format_macaddress(client.mac), {}, ssid),
          .is_guest = false,
          .counters = {.in_bytes = client.in_bytes, .out_bytes = client.out_bytes},
          .data_rate = client.data_rate,
          .hostname = client.hostname,
          .mode = client.mode};
}

/// A guest with the portal's counters and names. Nothing for a client that the portal does not know, or knows without a
/// name. The portal's table has the MACs as the device writes them, so the lookup comes before the formatting.
std::optional<Sighting> GuestSighting(const records::AssocClientState& client, const std::string& ssid,
                                      const PortalUsers& users) {
  const auto found = users.find(client.mac);
  if (found == users.end() || found->second.username.empty()) return std::nullopt;
  const records::PortalUser& user = found->second;
  return Sighting{.key = WirelessClientKey::KeyStr(format_macaddress(client.mac), user.username, ssid),
                  .is_guest = true,
                  .counters = {.in_bytes = user.in_bytes, .out_bytes = user.out_bytes},
                  .data_rate = client.data_rate,
                  .hostname = user.hostname,
                  .mode = client.mode};
}

/// Appends the clients of one SSID interface.
void ReadNetwork(const records::SSIDIfState& network, bool is_guest_network, records::WIFIBandType band,
                 const PortalUsers& users, std::vector<Sighting>& clients) {
  clients.reserve(clients.size() + network.clients.size());
  for (const records::AssocClientState& client : network.clients) {
    std::optional<Sighting> sighting =
        is_guest_network ? GuestSighting(client, network.ssid, users) : ClientSighting(client, network.ssid);
    if (!sighting) continue;
    sighting->band = band;
    clients.push_back(std::move(*sighting));
  }
}

}  // namespace

std::vector<Sighting> ReadClients(const std::string& mac) {
  const auto device = WirelessDevice(mac);
  if (device == nullptr) return {};
  const records::DeviceType type = device->basic_info().type;
  const PortalUsers users = device->portal_state();
  const auto networks = device->shared_ssid_interfaces_state();
  Radios radios;
  device->get_radio_interfaces_state(radios);
  if (networks->empty() || radios.empty()) return {};
  // Only the configuration tells a guest network from an ordinary one.
  const SharedConfigurations configurations = ConfigurationsOf(mac, type);
  if (configurations->empty()) return {};
  std::vector<Sighting> clients;
  for (const auto& [interface, network] : *networks) {
    const auto* configuration = ConfigurationFor(*configurations, network.ssid, network.radio);
    // Before the clients are looked at: a network without configuration is logged even when nobody is on it.
    if (configuration == nullptr) {
      pel_log_error(log_module::kMonitor, "No ssid %s@%s config found!", network.ssid.c_str(), network.radio.c_str());
      continue;
    }
    ReadNetwork(network, configuration->guest, BandOf(network.radio, radios), users, clients);
  }
  return clients;
}

}  // namespace monitoring::client_report
