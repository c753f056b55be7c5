#include "monitor/traffic/traffic_show.h"

#include <algorithm>
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

bool IsSilent(const Traffic& sample) {
  return sample.input == 0 && sample.output == 0;
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
  for (const Traffic& sample : history) {
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
  for (const Traffic& sample : history) {
    pel_log_debug(log_module::kMonitor,
                  "[TrafficMonitor::GenerateJsonMsg] Device: %s, interface: %s, inBps: %llu, outBps: %llu", mac.c_str(),
                  interface.c_str(), static_cast<unsigned long long>(sample.input),
                  static_cast<unsigned long long>(sample.output));
  }
}

/// `indexes` are those of the device; null when none are known.
JsonTree DeviceObject(const std::string& mac, const InterfaceHistories& histories, const InterfaceIndexes* indexes) {
  JsonTree object = NewObject();
  for (const auto& [interface, history] : histories) {
    if (interface.empty()) continue;
    LogSamples(mac, interface, history);
    if (std::all_of(history.begin(), history.end(), IsSilent)) continue;
    const bool has_index = indexes != nullptr && indexes->contains(interface);
    Add(object, interface, InterfaceObject(history, has_index ? indexes->at(interface) : 0));
  }
  return object;
}

}  // namespace

JsonTree TrafficData(const DeviceHistories& devices, const std::string& mac, const DeviceIndexes& indexes) {
  JsonTree data = NewObject();
  for (const auto& [id, interfaces] : devices) {
    if (!mac.empty() && id != mac) continue;
    const auto known = indexes.find(id);
    JsonTree device = DeviceObject(id, interfaces, known == indexes.end() ? nullptr : &known->second);
    if (!mac.empty()) AddCredentialMembers(device, id, "TrafficMonitor");
    if (HasMembers(device)) Add(data, id, std::move(device));
  }
  return data;
}

}  // namespace monitoring::traffic
