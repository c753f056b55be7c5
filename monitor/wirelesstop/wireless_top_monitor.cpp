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
  wirelesstop::Totals totals;
  wirelesstop::Rankings rankings;
  {
    const lock_guard order_held(order_lock_);
    rankings = std::move(rankings_);
    totals = std::move(totals_);
    ClearAllCache();
  }
  try {
    for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) Collectdata(mac);
    const lock_guard order_held(order_lock_);
    SortCache();
  } catch (...) {
    // Messages show the pass before. Its rankings refer to the map that is `totals_` again, and to what is in it.
    const lock_guard order_held(order_lock_);
    ClearAllCache();
    totals_ = std::move(totals);
    rankings_ = std::move(rankings);
    throw;
  }
}

void WirelessTopMonitor::ClearAllCache() {
  rankings_ = {};  // first, because it refers to the totals
  totals_ = {};
}

void WirelessTopMonitor::Collectdata(const std::string& mac) {
  const auto device = monitoring::WirelessDevice(mac);
  if (device == nullptr) return;
  wirelesstop::Networks networks = wirelesstop::ReadNetworks(mac, *device);
  for (wirelesstop::Network& network : networks.named) {
    wirelesstop::AddNetwork(mac, *network.state, std::move(network.client_macs), totals_);
  }
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
    monitoring::MergeByFilter(subscriptions, merged, &IsWirelessTopFilterBefore);
    std::erase_if(merged, [](const auto& entry) {
      return dynamic_cast<const WirelessTopFilter*>(entry.first) == nullptr;  // another monitor's filter
    });
    monitoring::SendToEach(
        "WirelessTopMonitor::PushDataBySID", merged,
        [this](const Filter& filter) { return Body(dynamic_cast<const WirelessTopFilter&>(filter)); },
        [this](const Filter& /*filter*/, const JsonTree& body, const std::vector<std::string>& sids) {
          return Message(GetMonitorName(), body, sids);
        });
  });
}

std::string WirelessTopMonitor::GenerateJsonMsg(const std::string& topic, const WirelessTopFilter* filter,
                                                const std::vector<std::string>& sids) {
  return filter == nullptr ? kNoMessage : Message(topic, Body(*filter), sids);
}

JsonTree WirelessTopMonitor::Body(const WirelessTopFilter& filter) {
  // All parts before the lock is taken, so that a shortage of memory is answered without it.
  wirelesstop::MessageParts parts;
  if (!wirelesstop::AreAllocated(parts)) {
    pel_log_error(log_module::kMonitor, "[WirelessTopMonitor::GenerateJsonMsg] Allocate JSON failed");
    return nullptr;
  }
  monitoring::SetSids(parts.root, {});  // the first member of the message, whoever gets it

  const lock_guard_read held(cache_lock_);
  // All names with one question, in place of one question for each entry.
  const auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo("", false);
  return wirelesstop::MessageBody(std::move(parts), SelectionOf(filter), infos);
}

std::string WirelessTopMonitor::Message(const std::string& topic, const JsonTree& body,
                                        const std::vector<std::string>& sids) {
  if (body == nullptr) return kNoMessage;
  monitoring::SetSids(body, sids);
  return monitoring::Composed(topic, body);
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
