#include "monitor/wirelesstop/wireless_top_collect.h"

#include "platform/logging.h"
#include "platform/utilities/text.h"

namespace monitoring::wirelesstop {
namespace records = vexora_probe::models::controller;

std::vector<records::SSIDIfState> ReadNetworks(const std::string& mac, const Device& device) {
  std::vector<records::SSIDIfState> networks;
  const auto states = device.shared_ssid_interfaces_state();
  for (const auto& [interface, state] : *states) {
    if (state.ssid.empty()) {
      pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid name is empty for device:%s",
                    mac.c_str());
      continue;
    }
    pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid %s for device:%s", state.ssid.c_str(),
                  mac.c_str());
    // Devices write MACs in different notations; a client must be the same one on all of them.
    records::SSIDIfState& network = networks.emplace_back(state);
    for (records::AssocClientState& client : network.clients) client.mac = format_macaddress(client.mac);
  }
  return networks;
}

}  // namespace monitoring::wirelesstop
