#include "monitor/traffic/traffic_monitor.h"

#include <utility>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/credential_members.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/push.h"
#include "monitor/engine/view_chain.h"
#include "monitor/traffic/histories.h"
#include "monitor/traffic/traffic_show.h"
#include "platform/device_centre.h"
#include "platform/logging.h"
#include "platform/sending.h"

namespace json_key = monitoring::json_key;
using monitoring::JsonTree;
using monitoring::traffic::DeviceHistories;
using monitoring::traffic::DeviceIndexes;
using monitoring::traffic::History;
using monitoring::traffic::InterfaceIndexes;
using monitoring::traffic::InterfaceStatistics;
using utilities::lock::lock_guard;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

const char* BandName(int radio) {
  switch (radio) {
    case 0:
      return "2.4Ghz";
    case 1:
      return "5Ghz";
    default:
      return "";
  }
}

}  // namespace

TrafficMonitor::~TrafficMonitor() {
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::~TrafficMonitor] Start");
  {
    const lock_guard collection(collection_lock_);
    latest_attributes_.clear();
    last_attributes_.clear();
    interface_indexes_.clear();
    const lock_guard_write views(views_lock_);
    views_.clear();
  }
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::~TrafficMonitor] End");
}

std::string TrafficMonitor::GetMonitorName() {
  return monitoring::kTrafficMonitor;
}

void TrafficMonitor::CollectData() {
  for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
    const auto device = monitoring::DeviceWithDriver(mac);
    if (device == nullptr) continue;
    const auto reading = monitoring::traffic::ReadInterfaces(mac, *device);
    InterfaceAttributes attributes;
    InterfaceIndexes indexes;
    ConvertDriverStruct(mac, reading.statistics, attributes, indexes);
    if (attributes.empty()) {
      pel_log_info(log_module::kMonitor, "TrafficMonitor::Collectdata the traffic for mac: %s is empty", mac.c_str());
      continue;
    }
    StoreReading(mac, std::move(attributes), indexes, reading.sampled_at);
  }
}

void TrafficMonitor::StoreReading(const std::string& mac, InterfaceAttributes attributes,
                                  const InterfaceIndexes& indexes, time_t sampled_at) {
  const lock_guard held(collection_lock_);
  latest_attributes_[mac] = std::move(attributes);
  // entry by entry: the index of an interface that disappeared stays, for its history does too
  InterfaceIndexes& known = interface_indexes_[mac];
  for (const auto& [interface, index] : indexes) known[interface] = index;
  sample_time_[mac] = sampled_at;
}

void TrafficMonitor::ConvertDriverStruct(const std::string& mac, const InterfaceStatistics& statistics,
                                         InterfaceAttributes& attributes, InterfaceIndexes& indexes) {
  const auto device = monitoring::DeviceWithDriver(mac);
  if (device == nullptr) return;
  for (const auto& [interface, traffic] : statistics) {
    AttributeInfo info{.interface_name = interface, .ssid = {}, .radio = -1};
    device->get_ssid_radio(interface, info.ssid, info.radio);
    pel_log_debug(log_module::kMonitor,
                  "[ConvertDriverStruct] TrafficMonitor ConvertDriverStruct interface name:%s, ssid: %s, radio:%d",
                  interface.c_str(), info.ssid.c_str(), info.radio);
    GenerateNewInterfaceName(info);
    if (info.interface_name != interface) ReplaceInterfaceTraffic(mac, interface, info.interface_name);
    attributes[info.interface_name] = monitoring::traffic::AttributesOf(*traffic);
    indexes[info.interface_name] = traffic->if_index;
  }
}

void TrafficMonitor::GenerateNewInterfaceName(AttributeInfo& info) {
  if (!info.ssid.empty()) info.interface_name = std::string(BandName(info.radio)) + " - " + info.ssid;
}

void TrafficMonitor::ReplaceInterfaceTraffic(const std::string& mac, const std::string& old_name,
                                             const std::string& new_name) {
  if (old_name == new_name || mac.empty()) return;
  const lock_guard_write held(views_lock_);
  for (auto& [view, devices] : views_) {
    const auto device = devices.find(mac);
    if (device != devices.end()) monitoring::traffic::RenameInterface(device->second, old_name, new_name);
  }
}

void TrafficMonitor::DataMerge() {
  {
    const lock_guard_write held(views_lock_);
    RemoveBadTimeSampleForDifferentView(monitoring::kView1m);
  }
  CalculateTrafficSpeed();
  MergeDataForInterval();
}

void TrafficMonitor::MergeDataForInterval() {
  for (const monitoring::ViewStep& step : monitoring::kViewChain)
    MergeDifferentInterval(step.source, step.target, step.count, step.minutes);
  const lock_guard_write held(views_lock_);
  RemoveBadTimeSampleForDifferentView(monitoring::kView1day);
}

void TrafficMonitor::MergeDifferentInterval(const std::string& source, const std::string& target, int count,
                                            int minutes) {
  const lock_guard_write held(views_lock_);
  RemoveBadTimeSampleForDifferentView(source);
  CalculateAverage(views_[source], count, views_[target], minutes);
}

void TrafficMonitor::CalculateAverage(const DeviceHistories& source, int count, DeviceHistories& target,
                                      int minutes) const {
  monitoring::traffic::AppendAverages(source, count, minutes, current_time(), target);
}

void TrafficMonitor::RemoveBadTimeSample(History& history) const {
  for (auto dropped = monitoring::traffic::DropFutureSamples(history, current_time()); dropped != 0; --dropped) {
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::RemoveBadTimeSample] Remove junk sample");
  }
}

void TrafficMonitor::RemoveBadTimeSampleForDifferentView(const std::string& view) {
  for (auto& [mac, interfaces] : views_[view]) {
    for (auto& [interface, history] : interfaces) RemoveBadTimeSample(history);
  }
}

void TrafficMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void TrafficMonitor::PushDataBySID(const subscribes::SubscriptionList& subscriptions) {
  monitoring::WithinBoundary("TrafficMonitor::PushDataBySID", [&] {
    monitoring::MergedList merged;
    SidMergedWithFilter(subscriptions, merged);
    monitoring::SendToEach(merged, [this](const Filter& filter, const std::vector<std::string>& sids) {
      return GenerateJsonMsg(GetMonitorName(), filter, sids);
    });
  });
}

std::string TrafficMonitor::GenerateJsonMsg(const std::string& name, const Filter& filter,
                                            const std::vector<std::string>& sids) {
  const std::string view = IntervalOf(filter, monitoring::kTrafficDefaultView);
  const DeviceIndexes indexes = IndexesOf(filter.mac);
  const JsonTree message = monitoring::NewObject();
  JsonTree body = monitoring::NewObject();
  {
    const lock_guard_read held(views_lock_);
    const auto devices = views_.find(view);
    if (devices != views_.end()) {
      pel_log_debug(log_module::kMonitor, "[TrafficMonitor::GenerateJsonMsg] current interval is : %s", view.c_str());
      monitoring::Add(body, json_key::kTrafficData, TrafficData(devices->second, filter.mac, indexes));
    }
  }
  monitoring::Add(body, json_key::kSid, monitoring::NewSidArray(sids));
  monitoring::Add(message, view, std::move(body));
  return kro_utilities::jsonobject::compose_communication_struct(name.c_str(), message.get());
}

JsonTree TrafficMonitor::TrafficData(const DeviceHistories& devices, const std::string& mac,
                                     const DeviceIndexes& indexes) const {
  JsonTree data = monitoring::NewObject();
  for (const auto& [id, interfaces] : devices) {
    if (!mac.empty() && id != mac) continue;
    const auto known = indexes.find(id);
    JsonTree device =
        monitoring::traffic::DeviceObject(id, interfaces, known == indexes.end() ? nullptr : &known->second);
    if (!mac.empty()) monitoring::AddCredentialMembers(device, id, "TrafficMonitor");
    if (monitoring::HasMembers(device)) monitoring::Add(data, id, std::move(device));
  }
  return data;
}

DeviceIndexes TrafficMonitor::IndexesOf(const std::string& mac) const {
  const lock_guard held(collection_lock_);
  if (mac.empty()) return interface_indexes_;
  const auto found = interface_indexes_.find(mac);
  return found == interface_indexes_.end() ? DeviceIndexes{} : DeviceIndexes{*found};
}

void TrafficMonitor::GetInterfaceTrafficData(const std::string& mac, const std::string& interface,
                                             std::map<std::string, unsigned long long>& out) const {
  const lock_guard_read held(views_lock_);
  const auto devices = views_.find(monitoring::kView1m);
  if (devices == views_.end()) return;
  const auto device = devices->second.find(mac);
  if (device == devices->second.end()) return;
  const auto history = device->second.find(interface);
  if (history == device->second.end() || history->second.empty()) return;
  out[json_key::kInput] = history->second.back().input;
  out[json_key::kOutput] = history->second.back().output;
}

void TrafficMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_error(log_module::kMonitor, "[TrafficMonitor::Cleanup] mac is empty");
    return;
  }
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::Cleanup] mac : %s", mac.c_str());
  {
    const lock_guard held(collection_lock_);
    last_attributes_.erase(mac);
    last_polling_time_.erase(mac);
    last_sample_time_.erase(mac);
    sample_time_.erase(mac);
    latest_attributes_.erase(mac);
    current_polling_time_.erase(mac);
    interface_indexes_.erase(mac);
  }
  const lock_guard_write held(views_lock_);
  for (auto& [view, devices] : views_) devices.erase(mac);
}
