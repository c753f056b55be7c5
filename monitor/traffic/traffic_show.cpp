#include "monitor/traffic/traffic_show.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "monitor/engine/credential_members.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/time_keys.h"
#include "platform/logging.h"

namespace monitoring::traffic {
namespace {

/// Whether there is nothing to show: no sample that is not zero.
bool IsSilent(const History& history) {
  for (std::size_t index = 0; index < history.size(); ++index) {
    if (history[index].input != 0 || history[index].output != 0) return false;
  }
  return true;
}

void AppendMember(std::string& text, const char* before, const char* key, std::int64_t value) {
  std::array<char, std::numeric_limits<std::int64_t>::digits10 + 2> digits{};  // one more digit, and the sign
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  text.append(before).append("\"").append(key).append("\": ").append(digits.data(), end);
}

/// The array of samples as JSON text, in the form that json-c gives a tree.
///
/// A message may hold millions of samples, and a sample is a dozen times larger as a tree than as text, and takes
/// several times as long to make and to write.
std::string SamplesText(const History& history) {
  constexpr std::size_t kUsualSample = 64;
  std::string text;
  text.reserve(history.size() * kUsualSample);
  const char* separator = "[ { ";
  for (std::size_t index = 0; index < history.size(); ++index) {
    const Traffic& sample = history[index];
    AppendMember(text, separator, json_key::kTime, time_keys::Minute(sample.time));
    AppendMember(text, ", ", json_key::kInput, static_cast<std::int64_t>(sample.input));
    AppendMember(text, ", ", json_key::kOutput, static_cast<std::int64_t>(sample.output));
    separator = " }, { ";
  }
  return text.empty() ? "[ ]" : text + " } ]";
}

JsonTree InterfaceObject(const History& history, int if_index) {
  JsonTree object = NewObject();
  Add(object, json_key::kIfIndex, NewInteger(if_index));
  Add(object, json_key::kTraffic, RawJson(SamplesText(history).c_str()));
  return object;
}

void LogSamples(const std::string& mac, const std::string& interface, const History& history) {
  for (std::size_t index = 0; index < history.size(); ++index) {
    const Traffic& sample = history[index];
    pel_log_debug(log_module::kMonitor,
                  "[TrafficMonitor::GenerateJsonMsg] Device: %s, interface: %s, inBps: %llu, outBps: %llu", mac.c_str(),
                  interface.c_str(), static_cast<unsigned long long>(sample.input),
                  static_cast<unsigned long long>(sample.output));
  }
}

JsonTree DeviceObject(const std::string& mac, const DeviceRecord& device, std::size_t view) {
  JsonTree object = NewObject();
  for (const InterfaceRecord& interface : device.interfaces) {
    if (interface.name.empty()) continue;
    const History& history = interface.histories[view];
    LogSamples(mac, interface.name, history);
    if (IsSilent(history)) continue;
    Add(object, interface.name, InterfaceObject(history, interface.if_index));
  }
  return object;
}

void AddDevice(const JsonTree& data, const std::string& mac, const DeviceRecord& device, std::size_t view,
               bool has_credentials) {
  if (!device.is_in_view[view]) return;
  JsonTree object = DeviceObject(mac, device, view);
  if (has_credentials) AddCredentialMembers(object, mac, "TrafficMonitor");
  if (HasMembers(object)) Add(data, mac, std::move(object));
}

}  // namespace

JsonTree TrafficData(const Devices& devices, std::size_t view, const std::string& mac) {
  JsonTree data = NewObject();
  if (mac.empty()) {
    for (const auto& [id, device] : devices) AddDevice(data, id, device, view, false);
  } else if (const auto found = devices.find(mac); found != devices.end()) {
    AddDevice(data, mac, found->second, view, true);
  }
  return data;
}

}  // namespace monitoring::traffic
