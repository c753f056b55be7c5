#include "tests/plain/monitors.h"

#include "platform/logging.h"
#include "platform/utilities/json.h"
#include "tests/plain/client_count_monitor.h"
#include "tests/plain/client_report.h"
#include "tests/plain/health_monitor.h"
#include "tests/plain/json.h"
#include "tests/plain/network_report.h"
#include "tests/plain/traffic_monitor.h"
#include "tests/plain/wireless_top_monitor.h"

namespace plain {
namespace {

std::unique_ptr<Monitor> NewMonitor(const std::string& name) {
  if (name == "ClientCountMonitor") return std::make_unique<ClientCountMonitor>();
  if (name == "HealthMonitor") return std::make_unique<HealthMonitor>();
  if (name == "TrafficMonitor") return std::make_unique<TrafficMonitor>();
  if (name == "wireless_top_monitor") return std::make_unique<WirelessTopMonitor>();
  if (name == "wireless_client_report") return std::make_unique<ClientReport>();
  if (name == "wireless_network_report") return std::make_unique<NetworkReport>();
  return nullptr;
}

}  // namespace

void Monitors::Add(const std::string& name) {
  if (auto monitor = NewMonitor(name)) monitors_[name] = std::move(monitor);
}

void Monitors::Pass(time_t now) {
  for (const auto& [name, monitor] : monitors_) monitor->Pass(now);
}

void Monitors::Cleanup(const std::string& mac) {
  for (const auto& [name, monitor] : monitors_) monitor->Cleanup(mac);
}

subscribes::ParsedRequest Monitors::ParseRequest(const std::string& name, json_object* request) const {
  return monitors_.at(name)->ParseRequest(request);
}

void Monitors::Push(const std::string& name, const subscribes::SubscriptionList& subscriptions) {
  monitors_.at(name)->Push(subscriptions);
}

std::string Monitors::AvailablePeriods(const std::string& name) const {
  return monitors_.contains(name) ? monitors_.at(name)->AvailablePeriods() : "{}";
}

std::string Monitors::Report(const std::string& name, const char* request) const {
  if (!monitors_.contains(name)) return "{}";
  // A request that is no JSON object asks for neither type nor period.
  const Json asked(json_tokener_parse(request == nullptr ? "" : request));
  return monitors_.at(name)->Report(get_value_by_key_ex(asked.get(), "report_type"),
                                    get_value_by_key_ex(asked.get(), "period"));
}

void Monitors::InterfaceTraffic(const std::string& mac, const std::string& interface,
                                std::map<std::string, unsigned long long>& out) const {
  const auto found = monitors_.find("TrafficMonitor");
  if (found != monitors_.end()) static_cast<const TrafficMonitor&>(*found->second).NewestSpeed(mac, interface, out);
}

void Monitors::Stop() {
  pel_log_debug(log_module::kManager, "[MonitoringManager::stopMonitorEngine] The merge task is finished");
  monitors_.clear();
}

}  // namespace plain
