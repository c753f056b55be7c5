#include "tests/plain/health_monitor.h"

#include "platform/event_centre.h"
#include "platform/logging.h"
#include "tests/plain/json.h"

namespace plain {
namespace {

int CpuLevel(double percent) {
  if (percent < 0.0) return 1;
  if (percent <= 20.0) return 2;
  return percent < 80.0 ? 3 : 4;
}

int UptimeLevel(int seconds) {
  if (seconds < 0) return 1;
  if (seconds <= 300) return 4;
  return seconds < 1800 ? 3 : 2;
}

json_object* Graded(json_object* value, int level) {
  json_object* object = json_object_new_object();
  Add(object, "value", value);
  Add(object, "level", Integer(level));
  return object;
}

}  // namespace

void HealthMonitor::Collect() {
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    const auto device = DeviceWithDriver(mac);
    if (device == nullptr) continue;
    const Status status = Read(mac, *device);
    if (!mac.empty()) statuses_[mac] = status;
  }
}

HealthMonitor::Status HealthMonitor::Read(const std::string& mac, const Device& device) {
  Status status;
  status.hostname = device.basic_info().hostname;
  status.deviceclass = DeviceManager::GetDeviceTypeStr(device.basic_info().type);
  if (device.driver()->IsWirelessSupported()) {
    for (const auto& neighbour : device.neighboring_ap_tbl()) {
      pel_log_debug(log_module::kMonitor, "[HealthMonitor::SystemStateDe] Mac: %s, rogue mac: %s, trusted: %s",
                    mac.c_str(), neighbour.mac.c_str(), neighbour.trusted != 0 ? "trusted" : "untrusted");
      if (neighbour.trusted == 0) ++status.rogue_aps;
    }
    std::map<std::string, vexora_probe::models::controller::SSIDIfState> interfaces;
    device.get_ssid_interfaces_state(interfaces);
    for (const auto& [name, state] : interfaces) status.clients += static_cast<int>(state.clients.size());
  }
  status.cpu = device.hw_resources().cpu;
  status.uptime = device.clock().uptime;
  const auto open = vexora_probe::inventory::GetDeviceHealthTargetStateSummary(mac);
  status.info = open.info;
  status.warning = open.warning;
  status.alert = open.alert;
  return status;
}

void HealthMonitor::Push(const subscribes::SubscriptionList& subscriptions) {
  // A connection gets one message: that of its last subscription, by SID.
  std::map<lws*, Filter*> filters;
  for (const auto& [sid, connections] : subscriptions) {
    for (const auto& [connection, filter] : connections) {
      if (filter != nullptr) filters[connection] = filter.get();
    }
  }
  for (const auto& [connection, filter] : filters) Send(connection, Message(filter->mac));
}

std::string HealthMonitor::Message(const std::string& mac) const {
  json_object* devices = json_object_new_array();
  for (const auto& [id, status] : statuses_) {
    if (!mac.empty() && id != mac) continue;
    json_object* device = DeviceObject(id, status);
    // Of a device whose CPU was never read the credentials tell why.
    if (!mac.empty() && status.cpu == -1.0) AddCredentials(device, id, "HealthMonitor");
    Append(devices, device);
  }
  json_object* message = json_object_new_object();
  Add(message, "status", devices);
  Add(message, "name", Text(Name()));
  return Composed(Name(), message);
}

json_object* HealthMonitor::DeviceObject(const std::string& mac, const Status& status) {
  json_object* object = json_object_new_object();
  Add(object, "device", Text(mac));
  Add(object, "hostname", Text(status.hostname));
  Add(object, "actual_cpu", Graded(Real(status.cpu), CpuLevel(status.cpu)));
  Add(object, "uptime", Graded(Integer(status.uptime), UptimeLevel(status.uptime)));
  Add(object, "deviceclass", Text(status.deviceclass));
  json_object* notification = json_object_new_object();
  Add(notification, "alert", Integer(status.alert));
  Add(notification, "warning", Integer(status.warning));
  Add(notification, "info", Integer(status.info));
  Add(object, "notification", notification);
  // What follows is asked for when the message is built, and left out for a device that cannot be asked.
  const auto device = DeviceWithDriver(mac);
  if (device == nullptr) return object;
  if (device->driver()->IsWirelessSupported()) {
    Add(object, "clients", Graded(Integer(status.clients), status.clients > 48 ? 4 : 2));
    Add(object, "rogue_aps", Graded(Integer(status.rogue_aps), status.rogue_aps != 0 ? 4 : 2));
  }
  // The best level of the host's own scale is 1, and ours is 2.
  const int level = device->health_state().level;
  Add(object, "level", Integer(level == 1 ? 2 : level));
  return object;
}

void HealthMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_info(log_module::kMonitor, "[HealthMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_info(log_module::kMonitor, "[HealthMonitor::Cleanup] Cleanup for mac: %s", mac.c_str());
  statuses_.erase(mac);
}

}  // namespace plain
