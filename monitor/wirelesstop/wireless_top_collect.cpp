#include "monitor/wirelesstop/wireless_top_collect.h"

#include <map>
#include <utility>

#include "platform/logging.h"
#include "platform/utilities/text.h"

namespace monitoring::wirelesstop {
namespace records = vexora_probe::models::controller;

std::vector<records::SSIDIfState> ReadNetworks(const std::string& mac, const Device& device) {
  std::map<std::string, records::SSIDIfState> states;
  device.get_ssid_interfaces_state(states);
  std::vector<records::SSIDIfState> networks;
  for (auto& [interface, state] : states) {
    if (state.ssid.empty()) {
      pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid name is empty for device:%s",
                    mac.c_str());
      continue;
    }
    pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid %s for device:%s", state.ssid.c_str(),
                  mac.c_str());
    // Devices write MACs in different notations; a client must be the same one on all of them.
    for (records::AssocClientState& client : state.clients) client.mac = format_macaddress(client.mac);
    networks.push_back(std::move(state));
  }
  return networks;
}

}  // namespace monitoring::wirelesstop
