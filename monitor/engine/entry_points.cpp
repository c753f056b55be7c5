#include "monitor/engine/entry_points.h"

#include <memory>
#include <string>

#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/health/health_monitor.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/traffic/traffic_monitor.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "platform/tasks.h"
#include "platform/utilities/json.h"
#include "platform/utilities/text.h"

namespace json_key = monitoring::json_key;
using monitoring::WithinBoundary;

namespace {

constexpr const char* kNoReport = "{}";

void ForgetDevice(const std::string& mac) {
  WithinBoundary("Cleanup", [&] { MonitoringManager::GetInstance().Cleanup(mac); });
}

/// What `ask` gets from the report monitor of this name, as a text of the caller's; "{}" when there is no such monitor.
template <typename Question>
char* AskReportMonitor(const char* name, Question ask) {
  char* answer = nullptr;
  WithinBoundary(name, [&] {
    const std::shared_ptr<Monitor> monitor = MonitoringManager::GetInstance().GetMonitor(name);
    if (monitor == nullptr) return;
    const monitoring::TreeShortage shortage;
    const std::string text = ask(*monitor);
    if (!shortage.HasStruck()) answer = Strdup(text.c_str());  // else a part is missing
  });
  // Null also when the heap was exhausted on the way: a host that parses what it gets must get a text in any case.
  return answer != nullptr ? answer : Strdup(kNoReport);
}

char* AvailablePeriods(const char* name) {
  return AskReportMonitor(name, [](Monitor& monitor) { return monitor.GetAvailableTypePeriod(); });
}

/// What a report request asks for.
struct Asked {
  std::string type;
  std::string period;
};

Asked ParseOnce(char const* request) {
  // json-c takes no null pointer; an empty text is no JSON, and gives a null tree as well.
  const monitoring::JsonTree asked(json_tokener_parse(request == nullptr ? "" : request));
  if (asked == nullptr) return {};
  return {.type = get_value_by_key_ex(asked.get(), json_key::kReportType),
          .period = get_value_by_key_ex(asked.get(), json_key::kPeriod)};
}

/// Both texts are empty for a request that does not parse.
Asked Parse(char const* request) {
  Asked asked = ParseOnce(request);
  // json-c does not tell a text that is no JSON from one for which it found no memory: what is missing is looked for
  // again, and a lasting shortage ends the report itself.
  if (asked.type.empty() || asked.period.empty()) asked = ParseOnce(request);
  return asked;
}

char* Report(const char* name, char const* request) {
  return AskReportMonitor(name, [request](Monitor& monitor) {
    const Asked asked = Parse(request);
    return monitor.GetWirelessReport(asked.type, asked.period);
  });
}

}  // namespace

int RegisterMonitors() {
  int result = 0;
  WithinBoundary("RegisterMonitors", [&result] {
    MonitoringManager& manager = MonitoringManager::GetInstance();
    // In any order: a pass goes by the names of the monitors.
    manager.RegisterMonitor(std::make_shared<HealthMonitor>());
    manager.RegisterMonitor(std::make_shared<ClientCountMonitor>());
    manager.RegisterMonitor(std::make_shared<TrafficMonitor>());
    manager.RegisterMonitor(std::make_shared<WirelessTopMonitor>());
    manager.RegisterMonitor(std::make_shared<vexora_probe::monitor::WirelessNetworkReport>());
    manager.RegisterMonitor(std::make_shared<WirelessClientReport>());
    manager.startMonitorEngine();
    result = 1;
    // Last, so that a clean-up that the host makes at once finds all monitors.
    RegisterMonitorMemoryCleanup(&ForgetDevice);
  });
  return result;
}

void stop_monitor() {
  WithinBoundary("stop_monitor", [] { MonitoringManager::GetInstance().stopMonitorEngine(); });
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
  WithinBoundary("GetInterfaceTraffic", [&] {
    const auto monitor = std::dynamic_pointer_cast<TrafficMonitor>(
        MonitoringManager::GetInstance().GetMonitor(monitoring::kTrafficMonitor));
    if (monitor != nullptr) monitor->GetInterfaceTrafficData(mac, interface, out);
  });
}
