#include "monitor/clientcount/client_count_collect.h"

namespace monitoring::clientcount {

std::vector<InterfaceClients> ReadClients(const Device& device) {
  const auto states = device.shared_ssid_interfaces_state();
  std::vector<InterfaceClients> interfaces;
  interfaces.reserve(states->size());
  for (const auto& [interface, state] : *states) {
    // The list counts, not `client_count`, the number that the device tells: the two may differ.
    interfaces.push_back({.interface = interface, .ssid = state.ssid, .clients = state.clients.size()});
  }
  return interfaces;
}

}  // namespace monitoring::clientcount
