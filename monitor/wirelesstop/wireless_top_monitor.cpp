#include "monitor/wirelesstop/wireless_top_monitor.h"

#include <utility>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/push.h"
#include "monitor/wirelesstop/selection.h"
#include "monitor/wirelesstop/wireless_top_collect.h"
#include "monitor/wirelesstop/wireless_top_show.h"
#include "platform/device_centre.h"
#include "platform/logging.h"
#include "platform/sending.h"

namespace wirelesstop = monitoring::wirelesstop;
namespace records = vexora_probe::models::controller;
using monitoring::JsonTree;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;
using wirelesstop::AddClients;
using wirelesstop::AddOctets;
using wirelesstop::NetStream;
using wirelesstop::StreamOf;

namespace {

constexpr const char* kNoMessage = "{}";

/// Adds the counters of an SSID interface, if it has any.
void AddStatistics(NetStream& stream, const records::SSIDIfState& network) {
  if (network.traffic != nullptr) AddOctets(stream, network.traffic->in_bytes, network.traffic->out_bytes);
}

}  // namespace

std::string WirelessTopMonitor::GetMonitorName() {
  return monitoring::kWirelessTopMonitor;
}

subscribes::ParsedRequest WirelessTopMonitor::FilterParser(json_object* request) {
  if (request == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessTopMonitor::FilterParser] Parameter is NULL");
    return {};
  }
  subscribes::ParsedRequest filters;
  monitoring::WithinBoundary([&] { filters = ParseFilters(request, &NewWirelessTopFilter); });
  return filters;
}

void WirelessTopMonitor::DataMerge() {
  const lock_guard_write held(cache_lock_);
  ClearAllCache();
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) Collectdata(mac);
  SortCache();
}

void WirelessTopMonitor::ClearAllCache() {
  device_streams_.clear();
  device_client_counts_.clear();
  ssid_streams_.clear();
  ssid_client_counts_.clear();
  client_streams_.clear();
  device_rankings_.clear();
  ssid_rankings_.clear();
  client_rankings_.clear();
  device_count_ranking_.clear();
  ssid_count_ranking_.clear();
}

void WirelessTopMonitor::Collectdata(const std::string& mac) {
  const auto device = monitoring::WirelessDevice(mac);
  if (device == nullptr) return;
  for (const records::SSIDIfState& network : wirelesstop::ReadNetworks(mac, *device)) {
    AddClients(device_client_counts_, mac, network.client_count);
    AddClients(ssid_client_counts_, network.ssid, network.client_count);
    AddStatistics(StreamOf(ssid_streams_, network.ssid), network);
    for (const records::AssocClientState& client : network.clients) {
      AddOctets(StreamOf(client_streams_, client.mac, client.hostname), client.in_bytes, client.out_bytes);
    }
    AddStatistics(StreamOf(device_streams_, mac), network);
  }
}

void WirelessTopMonitor::SortCache() {
  wirelesstop::RankStreams(device_streams_, device_rankings_);
  wirelesstop::RankStreams(ssid_streams_, ssid_rankings_);
  wirelesstop::RankStreams(client_streams_, client_rankings_);
  device_count_ranking_ = wirelesstop::RankCounts(device_client_counts_);
  ssid_count_ranking_ = wirelesstop::RankCounts(ssid_client_counts_);
}

void WirelessTopMonitor::MergeDataForInterval() {}

void WirelessTopMonitor::MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/,
                                                int /*count*/, int /*minutes*/) {}

void WirelessTopMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void WirelessTopMonitor::PushDataBySID(const subscribes::SubscriptionList& subscriptions) {
  monitoring::WithinBoundary([&] {
    monitoring::MergedList merged;
    monitoring::MergeByFilter(subscriptions, merged, &AreEqualWirelessTopFilters);
    for (const auto& [filter, connections] : merged) {
      const auto* wanted = dynamic_cast<const WirelessTopFilter*>(filter);
      if (wanted == nullptr) continue;  // nothing that this monitor's parser made
      for (const auto& [connection, sids] : connections) {
        monitoring::Send(connection, GenerateJsonMsg(GetMonitorName(), wanted, sids));
      }
    }
  });
}

std::string WirelessTopMonitor::GenerateJsonMsg(const std::string& topic, const WirelessTopFilter* filter,
                                                const std::vector<std::string>& sids) {
  if (filter == nullptr) return kNoMessage;
  wirelesstop::MessageParts parts;
  if (!wirelesstop::AreAllocated(parts)) {
    pel_log_error(log_module::kMonitor, "[WirelessTopMonitor::GenerateJsonMsg] Allocate JSON failed");
    return kNoMessage;
  }
  monitoring::Add(parts.root, monitoring::json_key::kSid, monitoring::NewSidArray(sids));

  const lock_guard_read held(cache_lock_);
  const auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo("", false);
  AppendAccessPoints(parts.access_point_traffic, TopStreams(device_rankings_, filter->access_point.traffic), infos);
  AppendAccessPoints(parts.access_point_clients, TopCounts(device_count_ranking_, filter->access_point.clients), infos);
  AppendNetworks(parts.network_traffic, TopStreams(ssid_rankings_, filter->wireless_networks.traffic));
  AppendNetworks(parts.network_clients, TopCounts(ssid_count_ranking_, filter->wireless_networks.clients));
  AppendClients(parts.client_traffic, TopStreams(client_rankings_, filter->wireless_clients));
  const JsonTree root = Assembled(std::move(parts));
  return kro_utilities::jsonobject::compose_communication_struct(topic.c_str(), root.get());
}

void WirelessTopMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_info(log_module::kMonitor, "[WirelessTopMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_info(log_module::kMonitor, "[WirelessTopMonitor::Cleanup] Cleanup for mac: %s", mac.c_str());
}
