#include "monitor/health/health_monitor.h"

#include <cstddef>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/credential_members.h"
#include "monitor/engine/debug_lines.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/push.h"
#include "monitor/health/health_collect.h"
#include "monitor/health/health_fold.h"
#include "monitor/health/health_show.h"
#include "platform/device_centre.h"
#include "platform/logging.h"

namespace health = monitoring::health;
namespace json_key = monitoring::json_key;
using monitoring::HealthStatus;
using monitoring::JsonTree;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

/// Connection -> the filter that it is served by: that of its last subscription, in SID order, that has one.
std::map<lws*, std::shared_ptr<Filter>> FilterOfEachConnection(const subscribes::SubscriptionList& subscriptions) {
  std::map<lws*, std::shared_ptr<Filter>> filters;
  for (const auto& [sid, connections] : subscriptions) {
    for (const auto& [connection, filter] : connections) {
      if (filter != nullptr) filters[connection] = filter;
    }
  }
  return filters;
}

/// Asked once more after a device was read: nothing is stored of one that was removed meanwhile.
bool IsToBeKept(const std::string& mac) {
  return monitoring::DeviceWithDriver(mac) != nullptr && !mac.empty();
}

/// One device of a message. Asks the host for what is not in the snapshot: whether the device is wireless, and its
/// level.
JsonTree DeviceEntry(const std::string& mac, const HealthStatus& status) {
  const HealthStatus graded = health::Graded(status);
  JsonTree shown = health::DeviceObject(mac, graded);
  const auto device = monitoring::DeviceWithDriver(mac);
  if (device == nullptr) return shown;
  if (monitoring::IsWireless(*device)) health::AddWireless(shown, graded);
  health::AddLevel(shown, health::ShownLevel(device->health_state().level));
  return shown;
}

}  // namespace

std::string HealthMonitor::GetMonitorName() {
  return monitoring::kHealthMonitor;
}

void HealthMonitor::CollectData() {
  const auto& macs = pass_devices_.Begin(DeviceManager::GetInstance().GetOnlineManagedDevices(true));
  std::vector<Collected> collected;
  collected.reserve(macs.size());
  for (const std::string& mac : macs) {
    // A fresh one for each device: what cannot be read now is unknown, and not what it was a minute ago.
    Collected& device = collected.emplace_back(Collected{.mac = &mac, .status = {}});
    SystemStateDe(mac, device.status);
    if (!IsToBeKept(mac)) collected.pop_back();
  }
  Publish(collected);
  pass_devices_.End();
}

void HealthMonitor::SystemStateDe(const std::string& mac, HealthStatus& status) {
  const auto device = monitoring::DeviceWithDriver(mac);
  if (device != nullptr) health::ReadDevice(mac, *device, status);
}

void HealthMonitor::UpdateHealthStatus(const std::string& mac, const HealthStatus& status) {
  if (!IsToBeKept(mac)) return;
  const lock_guard_write held(health_lock);
  health_status_map[mac] = status;
}

void HealthMonitor::Publish(std::vector<Collected>& collected) {
  std::map<std::string, HealthStatus> added;
  const lock_guard_write held(health_lock);
  std::erase_if(collected, [this](const Collected& device) { return pass_devices_.IsRemoved(*device.mac); });
  for (Collected& device : collected) {
    const auto known = health_status_map.find(*device.mac);
    if (known == health_status_map.end()) {
      added[*device.mac] = std::move(device.status);
    } else {
      device.place = &known->second;
    }
  }
  // From here on nothing needs memory: half of a pass must not be shown.
  for (Collected& device : collected) {
    if (device.place != nullptr) std::swap(*device.place, device.status);
  }
  health_status_map.merge(added);
}

void HealthMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void HealthMonitor::PushDataBySID(const subscribes::SubscriptionList& subscriptions) {
  monitoring::WithinBoundary("HealthMonitor::PushDataBySID", [&] {
    std::map<std::string, std::string> texts;  // by the device asked for: one for all connections that ask for it
    for (const auto& each : FilterOfEachConnection(subscriptions)) {
      monitoring::WithinBoundary("HealthMonitor::PushDataBySID", [&] {
        const monitoring::TreeShortage shortage;
        const auto& [connection, filter] = each;
        std::string& text = texts[filter->mac];
        // Empty also when there was no memory for it. Debug lines tell of each message.
        if (text.empty() || monitoring::AreDebugLinesLogged()) text = GenerateJsonMsg(GetMonitorName(), filter->mac);
        if (shortage.HasStruck()) {
          text = {};  // not whole
          return;
        }
        monitoring::Send(connection, text);
      });
    }
  });
}

std::string HealthMonitor::GenerateJsonMsg(const std::string& name, const std::string& mac) {
  JsonTree devices = monitoring::TryNewArray();
  if (devices == nullptr) {
    pel_log_error(log_module::kMonitor, "[HealthMonitor::GenerateJsonMsg] Allocate JSON failed");
    return {};
  }
  // Held while the host is asked for each device and composes the text: no call of these comes back to the plug-in.
  const lock_guard_read held(health_lock);
  for (const auto& [id, status] : health_status_map) {
    if (!mac.empty() && id != mac) continue;
    JsonTree device = DeviceEntry(id, status);
    // Compared exactly: the sentinel is never the result of arithmetic.
    const bool was_never_read = status.cpu == monitoring::kUnknownCpu;
    if (!mac.empty() && was_never_read) monitoring::AddCredentialMembers(device, id, "HealthMonitor");
    monitoring::Append(devices, std::move(device));
  }
  const JsonTree message = monitoring::NewObject();
  monitoring::Add(message, json_key::kStatus, std::move(devices));
  monitoring::Add(message, json_key::kName, monitoring::NewText(name));
  return monitoring::Composed(name, message);
}

void HealthMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_info(log_module::kMonitor, "[HealthMonitor::Cleanup] mac is empty");
    return;
  }
  // A line that finds no memory must not keep the device.
  monitoring::WithinBoundary("HealthMonitor::Cleanup", [&mac] {
    pel_log_info(log_module::kMonitor, "[HealthMonitor::Cleanup] Cleanup for mac: %s", mac.c_str());
  });
  const lock_guard_write held(health_lock);
  pass_devices_.Remove(mac);
  health_status_map.erase(mac);
}
