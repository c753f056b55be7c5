#include "monitor/traffic/traffic_collect.h"

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

Reading ReadInterfaces(const std::string& mac, const Device& device) {
  Reading reading;
  for (const auto& [name, state] : device.get_all_interfaces_state(reading.sampled_at)) {
    if (!IsMeasured(name, state.get())) continue;
    pel_log_debug(log_module::kMonitor, "[TrafficMonitor::Collectdata] device id: %s, interface name: %s, ifIndex: %d",
                  mac.c_str(), name.c_str(), state->traffic->if_index);
    reading.statistics.emplace(name, state->traffic);
  }
  return reading;
}

AttributeInfo ReadAttributeInfo(const Device& device, const std::string& interface) {
  AttributeInfo info{.interface_name = interface, .ssid = {}, .radio = -1};
  device.get_ssid_radio(interface, info.ssid, info.radio);
  pel_log_debug(log_module::kMonitor,
                "[ConvertDriverStruct] TrafficMonitor ConvertDriverStruct interface name:%s, ssid: %s, radio:%d",
                interface.c_str(), info.ssid.c_str(), info.radio);
  return info;
}

}  // namespace monitoring::traffic
