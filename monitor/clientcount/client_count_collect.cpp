#include "monitor/clientcount/client_count_collect.h"

#include <map>
#include <string>
#include <utility>

namespace monitoring::clientcount {

InterfaceClients ReadClients(const Device& device) {
  std::map<std::string, vexora_probe::models::controller::SSIDIfState> states;
  device.get_ssid_interfaces_state(states);
  InterfaceClients clients;
  for (auto& [interface, state] : states) clients[interface][state.ssid] = std::move(state.clients);
  return clients;
}

}  // namespace monitoring::clientcount
