#include "monitor/engine/monitor.h"

#include "monitor/engine/boundary.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/time_keys.h"
#include "platform/logging.h"

Monitor::Monitor() : current_time_(time(nullptr)) {}

subscribes::ParsedRequest Monitor::FilterParser(json_object* request) {
  if (request == nullptr) {
    pel_log_error(log_module::kMonitor, "[Monitor::FilterParser] Parameter is invalid");
    return {};
  }
  subscribes::ParsedRequest filters;
  monitoring::WithinBoundary("Monitor::FilterParser", [&] { filters = ParseFilters(request); });
  return filters;
}

void Monitor::PushDataBySID(const subscribes::SubscriptionList& /*subscriptions*/) {}

std::string Monitor::GenerateJsonMsg(const std::string& /*name*/, const std::string& /*mac*/) {
  return {};
}

void Monitor::queryStatus(json_object const* /*request*/, json_object* /*status*/) {}

std::string Monitor::GetAvailableTypePeriod() {
  return {};
}

std::string Monitor::GetWirelessReport(const std::string& /*report_type*/, const std::string& /*period*/) {
  return {};
}

void Monitor::MonitorEngine() {}

void Monitor::monitor(const std::string& /*argument*/) {}

void Monitor::CollectData() {}

void Monitor::Collectdata(const std::string& /*mac*/) {}

void Monitor::DataMerge() {}

void Monitor::DataUpdate() {
  CollectData();
  DataMerge();
  monitor("");
}

void Monitor::stop_monitor() {}

void Monitor::Cleanup(const std::string& /*mac*/) {}

void Monitor::SidMergedWithFilter(const subscribes::SubscriptionList& subscriptions, monitoring::MergedList& merged) {
  monitoring::MergeByFilter(subscriptions, merged);
}

void Monitor::PushData() {
  PushDataBySID(subscribes::SubscribesManager::GetInstance().GetSubscribeList(GetMonitorName()));
}

std::string Monitor::GetDateStr(long time) {
  return monitoring::time_keys::Day(time);
}

std::string Monitor::GetDateTimeStr(long time) {
  return monitoring::time_keys::DateTime(time);
}

std::string Monitor::GetWeekStr(long time) {
  return monitoring::time_keys::Week(time);
}
