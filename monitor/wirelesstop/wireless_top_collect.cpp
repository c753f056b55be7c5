#include "monitor/wirelesstop/wireless_top_collect.h"

#include "platform/logging.h"
#include "platform/utilities/text.h"

namespace monitoring::wirelesstop {

Networks ReadNetworks(const std::string& mac, const Device& device) {
  Networks networks;
  networks.reading = device.shared_ssid_interfaces_state();
  for (const auto& [interface, state] : *networks.reading) {
    if (state.ssid.empty()) {
      pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid name is empty for device:%s",
                    mac.c_str());
      continue;
    }
    pel_log_debug(log_module::kMonitor, "WirelessTopMonitor::Collectdata ssid %s for device:%s", state.ssid.c_str(),
                  mac.c_str());
    Network& network = networks.named.emplace_back();
    network.state = &state;
    network.client_macs.reserve(state.clients.size());
    // Devices write MACs in different notations; a client must be the same one on all of them.
    for (const auto& client : state.clients) network.client_macs.push_back(format_macaddress(client.mac));
  }
  return networks;
}

}  // namespace monitoring::wirelesstop
