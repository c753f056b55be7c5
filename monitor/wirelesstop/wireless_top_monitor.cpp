#include "monitor/wirelesstop/wireless_top_monitor.h"

#include <utility>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/push.h"
#include "monitor/wirelesstop/wireless_top_collect.h"
#include "monitor/wirelesstop/wireless_top_show.h"
#include "platform/device_centre.h"
#include "platform/logging.h"
#include "platform/sending.h"

namespace wirelesstop = monitoring::wirelesstop;
using monitoring::JsonTree;
using utilities::lock::lock_guard;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

constexpr const char* kNoMessage = "{}";

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
  monitoring::WithinBoundary("WirelessTopMonitor::FilterParser",
                             [&] { filters = ParseFilters(request, &NewWirelessTopFilter); });
  return filters;
}

void WirelessTopMonitor::DataMerge() {
  // From emptying until ranking, so that no message sees totals without their rankings.
  const lock_guard_write held(cache_lock_);
  {
    const lock_guard order_held(order_lock_);
    ClearAllCache();
  }
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) Collectdata(mac);
  const lock_guard order_held(order_lock_);
  SortCache();
}

void WirelessTopMonitor::ClearAllCache() {
  rankings_ = {};  // first, because it refers to the totals
  totals_ = {};
}

void WirelessTopMonitor::Collectdata(const std::string& mac) {
  const auto device = monitoring::WirelessDevice(mac);
  if (device == nullptr) return;
  for (const auto& network : wirelesstop::ReadNetworks(mac, *device)) wirelesstop::AddNetwork(mac, network, totals_);
}

void WirelessTopMonitor::SortCache() {
  wirelesstop::Rank(totals_, rankings_);
}

void WirelessTopMonitor::MergeDataForInterval() {}

void WirelessTopMonitor::MergeDifferentInterval(const std::string& /*source*/, const std::string& /*target*/,
                                                int /*count*/, int /*minutes*/) {}

void WirelessTopMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void WirelessTopMonitor::PushDataBySID(const subscribes::SubscriptionList& subscriptions) {
  monitoring::WithinBoundary("WirelessTopMonitor::PushDataBySID", [&] {
    monitoring::MergedList merged;
    // Equal filters of one connection share a message.
    monitoring::MergeByFilter(subscriptions, merged, &AreEqualWirelessTopFilters);
    for (const auto& [filter, connections] : merged) {
      const auto* wanted = dynamic_cast<const WirelessTopFilter*>(filter);
      if (wanted == nullptr) continue;  // another monitor's filter
      for (const auto& [connection, sids] : connections) {
        monitoring::Send(connection, GenerateJsonMsg(GetMonitorName(), wanted, sids));
      }
    }
  });
}

std::string WirelessTopMonitor::GenerateJsonMsg(const std::string& topic, const WirelessTopFilter* filter,
                                                const std::vector<std::string>& sids) {
  if (filter == nullptr) return kNoMessage;
  // All parts before the lock is taken, so that a shortage of memory is answered without it.
  wirelesstop::MessageParts parts;
  if (!wirelesstop::AreAllocated(parts)) {
    pel_log_error(log_module::kMonitor, "[WirelessTopMonitor::GenerateJsonMsg] Allocate JSON failed");
    return kNoMessage;
  }
  monitoring::Add(parts.root, monitoring::json_key::kSid, monitoring::NewSidArray(sids));

  const lock_guard_read held(cache_lock_);
  // All names with one question, in place of one question for each entry.
  const auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo("", false);
  const JsonTree root = wirelesstop::MessageBody(std::move(parts), SelectionOf(*filter), infos);
  return kro_utilities::jsonobject::compose_communication_struct(topic.c_str(), root.get());
}

wirelesstop::Selection WirelessTopMonitor::SelectionOf(const WirelessTopFilter& filter) {
  const lock_guard held(order_lock_);
  return wirelesstop::Select(rankings_, filter);
}

void WirelessTopMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_info(log_module::kMonitor, "[WirelessTopMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_info(log_module::kMonitor, "[WirelessTopMonitor::Cleanup] Cleanup for mac: %s", mac.c_str());
}
