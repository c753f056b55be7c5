#include "monitor/clientcount/client_count_monitor.h"

#include <array>

#include "monitor/clientcount/client_count_collect.h"
#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/push.h"
#include "monitor/engine/time_keys.h"
#include "platform/device_centre.h"
#include "platform/logging.h"

using utilities::lock::lock_guard_write;

namespace {

constexpr std::array<const char*, 2> kTopics{monitoring::kSsidClientCountMonitor,
                                             monitoring::kDevicesClientCountMonitor};

/// Drops entries that hold nothing.
template <typename Nested>
void DropEmpty(Nested& outer) {
  std::erase_if(outer, [](const auto& entry) { return entry.second.empty(); });
}

}  // namespace

std::string ClientCountMonitor::GetMonitorName() {
  return monitoring::kClientCountMonitor;
}

int ClientCountMonitor::CurrentMinute() const {
  return static_cast<int>(monitoring::time_keys::Minute(current_time()));
}

void ClientCountMonitor::CollectData() {
  const auto macs = DeviceManager::GetInstance().GetOnlineManagedDevices(true);
  for (const std::string& mac : macs) {
    if (monitoring::WirelessDevice(mac) != nullptr) ResetCounts(mac);
  }
  PruneCurrentSsids();
  for (const std::string& mac : macs) {
    const auto device = monitoring::WirelessDevice(mac);
    if (device != nullptr) ConvertDriverStruct(mac, monitoring::clientcount::ReadClients(*device));
  }
}

void ClientCountMonitor::ResetCounts(const std::string& mac) {
  const lock_guard_write held(counts_lock);
  const auto device = device_current_clients.find(mac);
  if (device == device_current_clients.end()) return;
  // both maps hold the same pairs, so only these SSIDs can have counts of the device
  for (const auto& [ssid, count] : device->second) ssid_current_clients[ssid].erase(mac);
  device_current_clients.erase(device);
}

void ClientCountMonitor::PruneCurrentSsids() {
  const lock_guard_write held(counts_lock);
  DropEmpty(ssid_current_clients);
}

void ClientCountMonitor::ConvertDriverStruct(const std::string& mac,
                                             const monitoring::clientcount::InterfaceClients& interfaces) {
  for (const auto& [interface, ssids] : interfaces) {
    pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::ConvertDriverStruct] Interface name:%s",
                  interface.c_str());
    for (const auto& [ssid, clients] : ssids) {
      pel_log_debug(log_module::kMonitor,
                    "[ClientCountMonitor::ConvertDriverStruct] mac: %s, ssid name:%s, client count: %d", mac.c_str(),
                    ssid.c_str(), static_cast<int>(clients.size()));
      const lock_guard_write held(counts_lock);
      for (std::size_t client = 0; client < clients.size(); ++client) AddClient(mac, ssid);
    }
  }
}

void ClientCountMonitor::AddClient(const std::string& mac, const std::string& ssid) {
  ++device_current_clients[mac][ssid].count;
  ++ssid_current_clients[ssid][mac].count;
  mac_ssid_map[mac].try_emplace(ssid);
  ssid_mac_map[ssid].try_emplace(mac);
}

void ClientCountMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void ClientCountMonitor::PushDataBySID(const subscribes::SubscriptionList& /*subscriptions*/) {
  monitoring::WithinBoundary("ClientCountMonitor::PushDataBySID", [&] {
    for (const std::string topic : kTopics) {
      const auto subscriptions = subscribes::SubscribesManager::GetInstance().GetSubscribeList(topic);
      monitoring::MergedList merged;
      SidMergedWithFilter(subscriptions, merged);
      monitoring::SendToEach(merged, [&](const Filter& filter, const std::vector<std::string>& sids) {
        return GenerateJsonMsg(topic, filter, sids);
      });
    }
  });
}

void ClientCountMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_error(log_module::kMonitor, "[ClientCountMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] mac : %s", mac.c_str());
  const lock_guard_write held(counts_lock);
  ForgetCurrentCounts(mac);
  const auto minutes = device_client_counts.find(monitoring::kView1m);
  if (minutes != device_client_counts.end()) minutes->second.erase(mac);
  ForgetMinutesOfSsidsWithout(mac);
  ForgetPairs(mac);
}

void ClientCountMonitor::ForgetCurrentCounts(const std::string& mac) {
  device_current_clients.erase(mac);
  for (auto& [ssid, devices] : ssid_current_clients) devices.erase(mac);
  DropEmpty(ssid_current_clients);
}

void ClientCountMonitor::ForgetMinutesOfSsidsWithout(const std::string& mac) {
  const auto minutes = ssid_client_counts.find(monitoring::kView1m);
  for (const auto& [device, ssids] : mac_ssid_map) {
    for (const auto& [ssid, empty] : ssids) {
      auto& carriers = ssid_mac_map[ssid];
      carriers.erase(mac);
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] ssid_mac_map size: %d",
                    static_cast<int>(carriers.size()));
      if (!carriers.empty()) continue;
      pel_log_debug(log_module::kMonitor, "[ClientCountMonitor::Cleanup] Mac: %s, ssid: %s can be cleaned", mac.c_str(),
                    ssid.c_str());
      if (minutes != ssid_client_counts.end()) minutes->second.erase(ssid);
    }
  }
}

void ClientCountMonitor::ForgetPairs(const std::string& mac) {
  DropEmpty(ssid_mac_map);
  mac_ssid_map.erase(mac);
}
