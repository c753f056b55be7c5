#include "monitor/traffic/traffic_monitor.h"

#include <algorithm>
#include <new>
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
#include "monitor/traffic/speed_history.h"
#include "monitor/traffic/traffic_show.h"
#include "platform/device_centre.h"
#include "platform/logging.h"

namespace json_key = monitoring::json_key;
namespace traffic = monitoring::traffic;
using monitoring::JsonTree;
using monitoring::Traffic;
using traffic::History;
using utilities::lock::lock_guard;
using utilities::lock::lock_guard_read;
using utilities::lock::lock_guard_write;

namespace {

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
  // A log line may be where a thread is cancelled, and a destructor lets nothing through: the cancellation waits.
  const monitoring::CancellationDeferral deferral;
  const auto log = [](const char* what) {
    monitoring::WithinBoundary("TrafficMonitor::~TrafficMonitor", [what] {
      pel_log_debug(log_module::kMonitor, "[TrafficMonitor::~TrafficMonitor] %s", what);
    });
  };
  log("Start");
  {
    const lock_guard collection(collection_lock_);
    const lock_guard_write views(views_lock_);
    devices_.clear();
  }
  log("End");
}

std::string TrafficMonitor::GetMonitorName() {
  return monitoring::kTrafficMonitor;
}

void TrafficMonitor::CollectData() {
  for (const std::string& mac : pass_devices_.Begin(DeviceManager::GetInstance().GetOnlineManagedDevices(true))) {
    const auto device = monitoring::DeviceWithDriver(mac);
    if (device == nullptr) continue;
    traffic::ReadInterfaces(mac, *device, reading_);
    if (reading_.empty()) {
      pel_log_info(log_module::kMonitor, "TrafficMonitor::Collectdata the traffic for mac: %s is empty", mac.c_str());
      continue;
    }
    ConvertDriverStruct(mac, *device, reading_);
    StoreReading(mac, reading_);
  }
  pass_devices_.End();
}

void TrafficMonitor::ConvertDriverStruct(const std::string& mac, const Device& device, traffic::Reading& reading) {
  renames_.clear();
  for (traffic::MeasuredInterface& interface : reading) {
    traffic::ReadAttributeInfo(device, interface.own_name, attribute_info_);
    GenerateNewInterfaceName(attribute_info_);
    interface.name = attribute_info_.interface_name;
    if (interface.name == interface.own_name || mac.empty()) continue;
    // One rename may give the next one its histories.
    if (!renames_.empty() || HasHistory(mac, interface.own_name)) {
      renames_.push_back({.old_name = interface.own_name, .new_name = interface.name});
    }
  }
  reading.SortByName();
}

bool TrafficMonitor::HasHistory(const std::string& mac, const std::string& name) const {
  const lock_guard_read held(views_lock_);
  const auto device = devices_.find(mac);
  return device != devices_.end() && traffic::HasHistory(device->second, name);
}

void TrafficMonitor::GenerateNewInterfaceName(AttributeInfo& info) {
  traffic::SetDisplayName(info);
}

void TrafficMonitor::ReplaceInterfaceTraffic(const std::string& mac, const std::string& old_name,
                                             const std::string& new_name) {
  if (old_name == new_name || mac.empty()) return;
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  const auto device = devices_.find(mac);
  if (device == devices_.end()) return;
  traffic::RenameInterface(device->second, old_name, new_name);
  newest_.ShowDevice(mac, device->second);
}

void TrafficMonitor::StoreReading(const std::string& mac, const traffic::Reading& reading) {
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  if (pass_devices_.IsRemoved(mac)) return;
  DeviceRecord& device = devices_[mac];
  traffic::StoreReading(device, reading);
  device.renames.swap(renames_);
}

void TrafficMonitor::DataMerge() {
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  MakeRenames();
  has_view_[traffic::kMinuteView] = true;
  if (!MayHaveFutureSamples()) {
    FoldAtOnce();
    return;
  }
  for (auto& [mac, device] : devices_) RemoveBadTimeSampleForDifferentView(device, traffic::kMinuteView);
  // Step by step, for samples of the future are dropped in between, and logged.
  FoldSpeeds();
  FoldViews();
  ShowNewest();
}

void TrafficMonitor::ShowNewest() {
  for (const auto& [mac, device] : devices_) newest_.Stage(mac, device);
  newest_.Show(devices_);
}

void TrafficMonitor::MakeRenames() {
  for (auto& [mac, device] : devices_) {
    for (const auto& [old_name, new_name] : device.renames) traffic::RenameInterface(device, old_name, new_name);
    device.renames.clear();
  }
}

void TrafficMonitor::FoldAtOnce() {
  NoteSampleTime();
  PadMissingInterfaces();
  has_view_.fill(true);
  for (auto& [mac, device] : devices_) {
    if (device.reading != 0) CalculateDeviceSpeed(mac, device);
    MergeAllViews(device);
  }
  // Last: where there is no memory for the newest speeds of one device, the histories of all have gone on.
  ShowNewest();
}

void TrafficMonitor::CalculateTrafficSpeed() {
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  FoldSpeeds();
  ShowNewest();
}

void TrafficMonitor::FoldSpeeds() {
  NoteSampleTime();
  PadMissingInterfaces();
  for (auto& [mac, device] : devices_) {
    if (device.reading != 0) CalculateDeviceSpeed(mac, device);
  }
}

void TrafficMonitor::PadMissingInterfaces() {
  for (auto& [mac, device] : devices_) {
    if (device.read_interfaces == device.interfaces.size()) continue;  // none is missing
    for (InterfaceRecord& interface : device.interfaces) {
      History& history = interface.histories[traffic::kMinuteView];
      if (!history.exists() || device.HasLatest(interface)) continue;
      pel_log_debug(log_module::kMonitor, "[TrafficMonitor::CalculateTrafficSpeed] Padzero for mac: %s, interface: %s",
                    mac.c_str(), interface.name.c_str());
      try {
        traffic::AppendMinute(history, {.time = current_time()});
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): it goes without this sample
      }
    }
  }
}

void TrafficMonitor::CalculateDeviceSpeed(const std::string& mac, DeviceRecord& device) const {
  device.is_in_view[traffic::kMinuteView] = true;
  for (InterfaceRecord& interface : device.interfaces) {
    if (!device.HasLatest(interface)) continue;
    using LongLong = unsigned long long;
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s inbytes:%llu outbytes:%llu", mac.c_str(),
                  interface.name.c_str(), LongLong{interface.latest.in}, LongLong{interface.latest.out});
    try {
      if (interface.has_last) {
        CalculateInterfaceSpeed(mac, device, interface);
      } else {
        AppendFirstSample(mac, interface);
      }
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch)
      // It goes without this sample. If the fold ended here, those before it would have the time since their last
      // reading counted again in the next one.
    }
  }
  traffic::StoreAsLast(device, current_time());
}

void TrafficMonitor::AppendFirstSample(const std::string& mac, InterfaceRecord& interface) const {
  traffic::AppendFirst(interface.histories[traffic::kMinuteView], {.time = current_time()});
  pel_log_debug(log_module::kMonitor,
                "[CalculateTrafficSpeed] Padzero for mac: %s, interface: %s. Can't find the interface in last element",
                mac.c_str(), interface.name.c_str());
}

void TrafficMonitor::CalculateInterfaceSpeed(const std::string& mac, const DeviceRecord& device,
                                             InterfaceRecord& interface) const {
  using LongLong = unsigned long long;
  const char* name = interface.name.c_str();
  const traffic::Step step{.last = interface.last,
                           .now = interface.latest,
                           .last_sample_time = device.last_sample_time,
                           .sample_time = device.sample_time,
                           .polling_time = current_time()};
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s lastinbytes:%llu lastoutbytes:%llu", mac.c_str(),
                name, LongLong{step.last.in}, LongLong{step.last.out});
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] this time %lu last time %lu",
                static_cast<unsigned long>(step.polling_time), static_cast<unsigned long>(device.last_polling_time));
  LogRestarts(step);
  LogCounters(step, device.last_polling_time);
  History& history = interface.histories[traffic::kMinuteView];
  const std::optional<Traffic> sample = traffic::NextSample(history, step);
  if (!sample) {
    pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] Wait for the first data change");
    history = History();  // one without samples would be padded with zeroes, and the wait would be over
    return;
  }
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s current_sample_time_ %d last_sample_time_ %d",
                mac.c_str(), name, static_cast<int>(step.sample_time), static_cast<int>(step.last_sample_time));
  const std::size_t length = history.size() + 1;  // the line below tells the length before the cap
  traffic::AppendMinute(history, *sample);
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s push %d speed: %s in %d out %d, time %u",
                mac.c_str(), name, 1, monitoring::kView1m, static_cast<int>(sample->input),
                static_cast<int>(sample->output), static_cast<unsigned>(sample->time));
  pel_log_debug(log_module::kMonitor, "[CalculateTrafficSpeed] %s-%s list length %d", mac.c_str(), name,
                static_cast<int>(length));
}

void TrafficMonitor::MergeDataForInterval() {
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  FoldViews();
  ShowNewest();
}

void TrafficMonitor::FoldViews() {
  NoteSampleTime();
  has_view_.fill(true);
  for (auto& [mac, device] : devices_) MergeAllViews(device);
}

void TrafficMonitor::MergeAllViews(DeviceRecord& device) const {
  for (std::size_t view = 0; view < monitoring::kViewChain.size(); ++view) {
    const monitoring::ViewStep& step = monitoring::kViewChain[view];
    MergeDevice(device, view, view + 1, step.count, step.minutes);
  }
  RemoveBadTimeSampleForDifferentView(device, traffic::kDayView);
}

void TrafficMonitor::MergeDifferentInterval(const std::string& source, const std::string& target, int count,
                                            int minutes) {
  const auto from = traffic::ViewNumber(source);
  const auto to = traffic::ViewNumber(target);
  if (!from || !to) return;
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  NoteSampleTime();
  has_view_[*from] = has_view_[*to] = true;
  for (auto& [mac, device] : devices_) MergeDevice(device, *from, *to, count, minutes);
  ShowNewest();
}

void TrafficMonitor::MergeDevice(DeviceRecord& device, std::size_t source, std::size_t target, int count,
                                 int minutes) const {
  RemoveBadTimeSampleForDifferentView(device, source);
  // At once, also while there are too few samples for an average: its credential state is shown in every view.
  if (device.is_in_view[source]) device.is_in_view[target] = true;
  for (InterfaceRecord& interface : device.interfaces) {
    try {
      CalculateAverage(interface.histories[source], count, interface.histories[target], minutes);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the average is still due in the next pass
    }
  }
}

void TrafficMonitor::CalculateAverage(const History& source, int count, History& target, int minutes) const {
  traffic::AppendAverage(source, count, minutes, current_time(), target);
}

void TrafficMonitor::RemoveBadTimeSample(History& history) const {
  for (auto dropped = traffic::DropFutureSamples(history, current_time()); dropped != 0; --dropped) {
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::RemoveBadTimeSample] Remove junk sample");
  }
}

void TrafficMonitor::RemoveBadTimeSampleForDifferentView(DeviceRecord& device, std::size_t view) const {
  if (!MayHaveFutureSamples()) return;
  for (InterfaceRecord& interface : device.interfaces) RemoveBadTimeSample(interface.histories[view]);
}

void TrafficMonitor::NoteSampleTime() {
  latest_sample_time_ = std::max(latest_sample_time_, current_time());
}

void TrafficMonitor::monitor(const std::string& /*argument*/) {
  PushData();
}

void TrafficMonitor::PushDataBySID(const subscribes::SubscriptionList& subscriptions) {
  monitoring::WithinBoundary("TrafficMonitor::PushDataBySID", [&] {
    monitoring::MergedList merged;
    SidMergedWithFilter(subscriptions, merged);
    monitoring::SendToEach(
        "TrafficMonitor::PushDataBySID", merged, [this](const Filter& filter) { return TrafficData(filter); },
        [this](const Filter& filter, const std::shared_ptr<const std::string>& data,
               const std::vector<std::string>& sids) { return Message(GetMonitorName(), filter, data, sids); });
  });
}

std::string TrafficMonitor::GenerateJsonMsg(const std::string& name, const Filter& filter,
                                            const std::vector<std::string>& sids) {
  return Message(name, filter, TrafficData(filter), sids);
}

std::shared_ptr<const std::string> TrafficMonitor::TrafficData(const Filter& filter) const {
  const std::string view = IntervalOf(filter, monitoring::kTrafficDefaultView);
  const auto number = traffic::ViewNumber(view);
  const lock_guard_read held(views_lock_);
  if (!number || !has_view_[*number]) return nullptr;
  pel_log_debug(log_module::kMonitor, "[TrafficMonitor::GenerateJsonMsg] current interval is : %s", view.c_str());
  return std::make_shared<const std::string>(traffic::TrafficData(devices_, *number, filter.mac));
}

std::string TrafficMonitor::Message(const std::string& name, const Filter& filter,
                                    const std::shared_ptr<const std::string>& data,
                                    const std::vector<std::string>& sids) {
  const JsonTree message = monitoring::NewObject();
  JsonTree body = monitoring::NewObject();
  monitoring::Add(body, json_key::kTrafficData, monitoring::SharedJson(data));  // left out when there is none
  monitoring::Add(body, json_key::kSid, monitoring::NewSidArray(sids));
  monitoring::Add(message, IntervalOf(filter, monitoring::kTrafficDefaultView), std::move(body));
  return monitoring::Composed(name, message);
}

void TrafficMonitor::GetInterfaceTrafficData(const std::string& mac, const std::string& interface,
                                             std::map<std::string, unsigned long long>& out) const {
  const auto newest = newest_.Find(mac, interface);
  if (!newest) return;
  out[json_key::kInput] = newest->input;
  out[json_key::kOutput] = newest->output;
}

void TrafficMonitor::Cleanup(const std::string& mac) {
  if (mac.empty()) {
    pel_log_error(log_module::kMonitor, "[TrafficMonitor::Cleanup] mac is empty");
    return;
  }
  // A line that finds no memory must not keep the device.
  monitoring::WithinBoundary("TrafficMonitor::Cleanup", [&mac] {
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::Cleanup] mac : %s", mac.c_str());
  });
  traffic::Devices::node_type removed;  // freed after the locks are released
  const lock_guard collection(collection_lock_);
  const lock_guard_write views(views_lock_);
  pass_devices_.Remove(mac);
  newest_.Remove(mac);
  removed = devices_.extract(mac);
}
