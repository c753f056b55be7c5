#include "monitor/traffic/show.h"

#include <algorithm>
#include <utility>

#include "monitor/engine/json_keys.h"
#include "monitor/engine/time_keys.h"
#include "platform/logging.h"

namespace monitoring::traffic {
namespace {

bool IsSilent(const Traffic& sample) {
  return sample.input == 0 && sample.output == 0;
}

JsonTree SampleObject(const Traffic& sample) {
  JsonTree object = NewObject();
  Add(object, json_key::kTime, NewInteger(time_keys::Minute(sample.time)));
  Add(object, json_key::kInput, NewInteger(static_cast<std::int64_t>(sample.input)));
  Add(object, json_key::kOutput, NewInteger(static_cast<std::int64_t>(sample.output)));
  return object;
}

JsonTree InterfaceObject(const History& history, int if_index) {
  JsonTree samples = NewArray();
  for (const Traffic& sample : history) Append(samples, SampleObject(sample));
  JsonTree object = NewObject();
  Add(object, json_key::kIfIndex, NewInteger(if_index));
  // a sample is a dozen times larger as a tree than as text, and a message may hold millions of them
  Add(object, json_key::kTraffic, KeptAsText(std::move(samples)));
  return object;
}

void LogSamples(const std::string& mac, const std::string& interface, const History& history) {
  for (const Traffic& sample : history) {
    pel_log_debug(log_module::kMonitor,
                  "[TrafficMonitor::GenerateJsonMsg] Device: %s, interface: %s, inBps: %llu, outBps: %llu", mac.c_str(),
                  interface.c_str(), static_cast<unsigned long long>(sample.input),
                  static_cast<unsigned long long>(sample.output));
  }
}

int IndexOf(const std::string& interface, const InterfaceIndexes* indexes) {
  if (indexes == nullptr) return 0;
  const auto found = indexes->find(interface);
  return found == indexes->end() ? 0 : found->second;
}

}  // namespace

JsonTree DeviceObject(const std::string& mac, const InterfaceHistories& histories, const InterfaceIndexes* indexes) {
  JsonTree object = NewObject();
  for (const auto& [interface, history] : histories) {
    if (interface.empty()) continue;
    LogSamples(mac, interface, history);
    if (std::all_of(history.begin(), history.end(), IsSilent)) continue;
    Add(object, interface, InterfaceObject(history, IndexOf(interface, indexes)));
  }
  return object;
}

}  // namespace monitoring::traffic
