#include "monitor/health/health_collect.h"

#include <cstdint>
#include <list>
#include <map>

#include "monitor/engine/devices.h"
#include "platform/event_centre.h"
#include "platform/logging.h"

namespace monitoring::health {
namespace {

namespace records = vexora_probe::models::controller;

/// The neighbouring access points that the administrator does not trust.
std::int32_t CountRogues(const std::string& mac, const std::list<records::NeighboringAP>& neighbours) {
  std::int32_t rogues = 0;
  for (const records::NeighboringAP& neighbour : neighbours) {
    const bool is_trusted = neighbour.trusted != 0;
    pel_log_debug(log_module::kMonitor, "[HealthMonitor::SystemStateDe] Mac: %s, rogue mac: %s, trusted: %s",
                  mac.c_str(), neighbour.mac.c_str(), is_trusted ? "trusted" : "untrusted");
    if (!is_trusted) ++rogues;
  }
  return rogues;
}

/// The clients on all SSID interfaces. `SSIDIfState::client_count`, the number that the device tells, may differ.
std::int32_t CountClients(const Device& device) {
  std::size_t clients = 0;
  const auto interfaces = device.shared_ssid_interfaces_state();
  for (const auto& [name, state] : *interfaces) clients += state.clients.size();
  return static_cast<std::int32_t>(clients);
}

}  // namespace

void ReadDevice(const std::string& mac, const Device& device, HealthStatus& status) {
  const records::BasicInfo info = device.basic_info();
  status.hostname = info.hostname;
  status.ip = info.ip;
  status.deviceclass = DeviceManager::GetDeviceTypeStr(info.type);
  // Any other device keeps the zeroes of a fresh status.
  if (IsWireless(device)) {
    status.rogue_aps = CountRogues(mac, device.neighboring_ap_tbl());
    status.clients = CountClients(device);
  }
  status.cpu = static_cast<double>(device.hw_resources().cpu);
  status.uptime = device.clock().uptime;
  const auto open = vexora_probe::inventory::GetDeviceHealthTargetStateSummary(mac);
  status.info = open.info;
  status.warning = open.warning;
  status.alert = open.alert;
}

}  // namespace monitoring::health
