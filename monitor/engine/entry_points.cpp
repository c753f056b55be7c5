#include "monitor/engine/entry_points.h"

#include <exception>
#include <memory>

#include "monitor/engine/constants.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/traffic/traffic_monitor.h"
#include "platform/tasks.h"
#include "platform/utilities/json.h"
#include "platform/utilities/text.h"

namespace {

constexpr const char* kNoReport = "{}";

void ForgetDevice(const std::string& mac) {
  MonitoringManager::GetInstance().Cleanup(mac);
}

/// What `ask` gets from the report monitor of this name, as a text of the caller's; "{}" when there is no such monitor.
///
/// Report calls come on the host's threads, where an exhausted heap must not end the process.
template <typename Question>
char* AskReportMonitor(const char* name, Question ask) noexcept {
  try {
    const std::shared_ptr<Monitor> monitor = MonitoringManager::GetInstance().GetMonitor(name);
    return Strdup(monitor == nullptr ? kNoReport : ask(*monitor).c_str());
  } catch (const std::exception&) {
    return Strdup(kNoReport);
  }
}

char* AvailablePeriods(const char* name) {
  return AskReportMonitor(name, [](Monitor& monitor) { return monitor.GetAvailableTypePeriod(); });
}

char* Report(const char* name, char const* request) {
  return AskReportMonitor(name, [request](Monitor& monitor) {
    const monitoring::JsonTree asked(json_tokener_parse(request == nullptr ? "" : request));
    return monitor.GetWirelessReport(get_value_by_key_ex(asked.get(), "report_type"),
                                     get_value_by_key_ex(asked.get(), "period"));
  });
}

}  // namespace

int RegisterMonitors() {
  MonitoringManager& manager = MonitoringManager::GetInstance();
  manager.RegisterMonitor(std::make_shared<TrafficMonitor>());
  manager.startMonitorEngine();
  RegisterMonitorMemoryCleanup(&ForgetDevice);
  return 1;
}

void stop_monitor() {
  MonitoringManager::GetInstance().stopMonitorEngine();
}

char* get_wireless_client_report_avail_list(char const* /*request*/) {
  return AvailablePeriods(monitoring::kWirelessClientReport);
}

char* get_wireless_client_report(char const* request) {
  return Report(monitoring::kWirelessClientReport, request);
}

char* get_wireless_network_report_avail_list(char const* /*request*/) {
  return AvailablePeriods(monitoring::kWirelessNetworkReport);
}

char* get_wireless_network_report(char const* request) {
  return Report(monitoring::kWirelessNetworkReport, request);
}

// By value, because the symbol carries its parameter types and hosts look it up under this name.
void GetInterfaceTraffic(std::string mac, std::string interface,  // NOLINT(performance-unnecessary-value-param)
                         std::map<std::string, unsigned long long>& out) {
  const auto monitor = std::dynamic_pointer_cast<TrafficMonitor>(
      MonitoringManager::GetInstance().GetMonitor(monitoring::kTrafficMonitor));
  if (monitor != nullptr) monitor->GetInterfaceTrafficData(mac, interface, out);
}
