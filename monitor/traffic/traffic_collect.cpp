#include "monitor/traffic/traffic_collect.h"

#include <algorithm>

#include "platform/logging.h"
#include "platform/utilities/text.h"

namespace monitoring::traffic {
namespace records = vexora_probe::models::controller;
namespace {

bool IsMeasured(const std::string& name, const records::InterfaceState* state) {
  return state != nullptr && state->oper_status == records::kOperStatusUp && !name.empty() &&
         !kro_utilities::string_con::IsInteger(name) && state->traffic != nullptr;
}

}  // namespace

MeasuredInterface& Reading::Append() {
  if (size_ == interfaces_.size()) interfaces_.emplace_back();
  return interfaces_[size_++];
}

void Reading::SortByName() {
  // The device's own names are sorted already and differ.
  const auto is_not_less = [](const MeasuredInterface& left, const MeasuredInterface& right) {
    return left.name >= right.name;
  };
  if (std::adjacent_find(begin(), end(), is_not_less) == end()) return;
  std::stable_sort(begin(), end(), [](const MeasuredInterface& left, const MeasuredInterface& right) {
    return left.name < right.name;
  });
  auto kept = begin();
  for (auto next = kept + 1; next != end(); ++next) {
    if (next->name != kept->name) ++kept;
    if (next != kept) std::swap(*next, *kept);
  }
  size_ = static_cast<std::size_t>(kept - begin()) + 1;
}

void ReadInterfaces(const std::string& mac, const Device& device, Reading& reading) {
  reading.Clear();
  const auto states = device.shared_interfaces_state(reading.sampled_at);
  for (const auto& [name, state] : *states) {
    if (!IsMeasured(name, state.get())) continue;
    const records::TrafficStats& statistics = *state->traffic;
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::Collectdata] device id: %s, interface name: %s, ifIndex: %d",
                  mac.c_str(), name.c_str(), statistics.if_index);
    MeasuredInterface& interface = reading.Append();
    interface.own_name = name;
    interface.counters = {.in = statistics.in_bytes, .out = statistics.out_bytes};
    interface.if_index = statistics.if_index;
  }
}

void ReadAttributeInfo(const Device& device, const std::string& interface, AttributeInfo& info) {
  info.interface_name = interface;
  info.ssid.clear();
  info.radio = -1;
  device.get_ssid_radio(interface, info.ssid, info.radio);
  pel_log_debug(log_module::kMonitor,
                "[ConvertDriverStruct] TrafficMonitor ConvertDriverStruct interface name:%s, ssid: %s, radio:%d",
                interface.c_str(), info.ssid.c_str(), info.radio);
}

}  // namespace monitoring::traffic
