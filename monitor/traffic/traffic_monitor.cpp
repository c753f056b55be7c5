#include "monitor/traffic/traffic_monitor.h"

#include <optional>
#include <utility>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/devices.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/push.h"
#include "monitor/engine/view_chain.h"
#include "monitor/traffic/histories.h"
#include "monitor/traffic/traffic_show.h"
#include "platform/device_centre.h"
#include "platform/logging.h"
#include "platform/sending.h"

namespace json_key = monitoring::json_key;
namespace traffic = monitoring::traffic;
using monitoring::JsonTree;
using monitoring::Traffic;
using traffic::DeviceHistories;
using traffic::DeviceIndexes;
using traffic::History;
using traffic::InterfaceIndexes;
using traffic::InterfaceStatistics;
using utilities::lock::lock_guard;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

time_t TimeOf(const std::map<std::string, time_t>& times, const std::string& mac) {
  const auto found = times.find(mac);
  return found == times.end() ? 0 : found->second;
}

/// Logs which counters restarted between two readings.
void LogRestarts(const traffic::Step& step) {
  if (step.now.in < step.last.in) {
    pel_log_info(log_module::kMonitor,
                 "[CalculateTrafficSpeed] The current input traffic less than last input traffic.Maybe the device's "
                 "traffic was cleared.");
  }
  if (step.now.out < step.last.out) {
    pel_log_info(log_module::kMonitor,
                 "[CalculateTrafficSpeed] The current output traffic less than last output traffic.Maybe the device's "
                 "traffic was cleared.");
  }
}

void LogCounters(const traffic::Step& step, time_t last_polling_time) {
  using LongLong = unsigned long long;
  const traffic::Counters base = traffic::AfterRestart(step.last, step.now);
  pel_log_debug(log_module::kMonitor,
                "[CalculateTrafficSpeed] in: %llu, in_last: %llu, out: %llu, out_last: %llu, current_polling_time_: "
                "%ld, last_polling_time_: %ld",
                LongLong{step.now.in}, LongLong{base.in}, LongLong{step.now.out}, LongLong{base.out},
                static_cast<long>(step.polling_time), static_cast<long>(last_polling_time));
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
    const auto reading = traffic::ReadInterfaces(mac, *device);
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
  for (const auto& [interface, counters] : statistics) {
    AttributeInfo info = traffic::ReadAttributeInfo(*device, interface);
    GenerateNewInterfaceName(info);
    if (info.interface_name != interface) ReplaceInterfaceTraffic(mac, interface, info.interface_name);
    attributes[info.interface_name] = traffic::AttributesOf(*counters);
    indexes[info.interface_name] = counters->if_index;
  }
}

void TrafficMonitor::GenerateNewInterfaceName(AttributeInfo& info) {
  info.interface_name = traffic::DisplayName(info);
}

void TrafficMonitor::ReplaceInterfaceTraffic(const std::string& mac, const std::string& old_name,
                                             const std::string& new_name) {
  if (old_name == new_name || mac.empty()) return;
  const lock_guard_write held(views_lock_);
  for (auto& [view, devices] : views_) {
    const auto device = devices.find(mac);
    if (device != devices.end()) traffic::RenameInterface(device->second, old_name, new_name);
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

void TrafficMonitor::CalculateTrafficSpeed() {
  const lock_guard held(collection_lock_);
  PadMissingInterfaces();
  for (const auto& [mac, latest] : latest_attributes_) CalculateDeviceSpeed(mac, latest);
}

void TrafficMonitor::PadMissingInterfaces() {
  const lock_guard_write held(views_lock_);
  for (auto& [mac, interfaces] : views_[monitoring::kView1m]) {
    for (auto& [interface, history] : interfaces) {
      if (HasLatestAttributes(mac, interface)) continue;
      pel_log_debug(log_module::kMonitor, "[TrafficMonitor::CalculateTrafficSpeed] Padzero for mac: %s, interface: %s",
                    mac.c_str(), interface.c_str());
      traffic::AppendMinute(history, {.time = current_time()});
    }
  }
}

bool TrafficMonitor::HasLatestAttributes(const std::string& mac, const std::string& interface) const {
  const auto device = latest_attributes_.find(mac);
  return device != latest_attributes_.end() && device->second.contains(interface);
}

void TrafficMonitor::CalculateDeviceSpeed(const std::string& mac, const InterfaceAttributes& latest) {
  current_polling_time_[mac] = current_time();
  const InterfaceAttributes& last = last_attributes_[mac];
  for (const auto& [interface, attributes] : latest) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s inbytes:%s outbytes:%s", mac.c_str(),
                  interface.c_str(), traffic::TextOf(attributes, traffic::kInBytes),
                  traffic::TextOf(attributes, traffic::kOutBytes));
    const auto before = last.find(interface);
    if (before == last.end()) {
      AppendFirstSample(mac, interface);
    } else {
      CalculateInterfaceSpeed(mac, interface, attributes, before->second);
    }
  }
  StoreAsLast(mac, latest);
}

void TrafficMonitor::AppendFirstSample(const std::string& mac, const std::string& interface) {
  const lock_guard_write held(views_lock_);
  // Without a look at the cap, unlike every later sample: see kMaxSamples.
  views_[monitoring::kView1m][mac][interface].push_back({.time = current_time()});
  pel_log_debug(log_module::kMonitor,
                "[CalculateTrafficSpeed] Padzero for mac: %s, interface: %s. Can't find the interface in last element",
                mac.c_str(), interface.c_str());
}

void TrafficMonitor::CalculateInterfaceSpeed(const std::string& mac, const std::string& interface,
                                             const Attributes& latest, const Attributes& last) {
  const traffic::Step step{.last = traffic::CountersOf(last),
                           .now = traffic::CountersOf(latest),
                           .last_sample_time = TimeOf(last_sample_time_, mac),
                           .sample_time = TimeOf(sample_time_, mac),
                           .polling_time = TimeOf(current_polling_time_, mac)};
  const time_t last_polling_time = TimeOf(last_polling_time_, mac);
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s lastinbytes:%s lastoutbytes:%s", mac.c_str(),
                interface.c_str(), traffic::TextOf(last, traffic::kInBytes), traffic::TextOf(last, traffic::kOutBytes));
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] this time %lu last time %lu",
                static_cast<unsigned long>(step.polling_time), static_cast<unsigned long>(last_polling_time));
  LogRestarts(step);
  LogCounters(step, last_polling_time);
  AppendSpeed(mac, interface, step);
}

void TrafficMonitor::AppendSpeed(const std::string& mac, const std::string& interface, const traffic::Step& step) {
  const lock_guard_write held(views_lock_);
  auto& interfaces = views_[monitoring::kView1m][mac];
  History& history = interfaces[interface];
  const std::optional<Traffic> sample = traffic::NextSample(history, step);
  if (!sample) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] Wait for the first data change");
    interfaces.erase(interface);  // an empty history would be padded with zeroes, and the wait would be over
    return;
  }
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s current_sample_time_ %d last_sample_time_ %d",
                mac.c_str(), interface.c_str(), static_cast<int>(step.sample_time),
                static_cast<int>(step.last_sample_time));
  const std::size_t length = history.size() + 1;  // the line below tells the length before the cap
  traffic::AppendMinute(history, *sample);
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s push %d speed: %s in %d out %d, time %u",
                mac.c_str(), interface.c_str(), 1, monitoring::kView1m, static_cast<int>(sample->input),
                static_cast<int>(sample->output), static_cast<unsigned>(sample->time));
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s list length %d", mac.c_str(), interface.c_str(),
                static_cast<int>(length));
}

void TrafficMonitor::StoreAsLast(const std::string& mac, const InterfaceAttributes& latest) {
  last_attributes_[mac] = latest;
  const time_t polled = current_polling_time_[mac];
  last_polling_time_[mac] = polled != 0 ? polled : current_time();
  if (sample_time_.contains(mac)) last_sample_time_[mac] = sample_time_[mac];
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
  traffic::AppendAverages(source, count, minutes, current_time(), target);
}

void TrafficMonitor::RemoveBadTimeSample(History& history) const {
  for (auto dropped = traffic::DropFutureSamples(history, current_time()); dropped != 0; --dropped) {
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
      monitoring::Add(body, json_key::kTrafficData, traffic::TrafficData(devices->second, filter.mac, indexes));
    }
  }
  monitoring::Add(body, json_key::kSid, monitoring::NewSidArray(sids));
  monitoring::Add(message, view, std::move(body));
  return kro_utilities::jsonobject::compose_communication_struct(name.c_str(), message.get());
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
