#include "monitor/traffic/traffic_show.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>

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

/// The array of samples as JSON. A message may hold millions of them, and as a tree a sample is a dozen times larger
/// and takes several times as long to make and to write.
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
