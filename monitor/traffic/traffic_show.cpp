#include "monitor/traffic/traffic_show.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "monitor/engine/credential_members.h"
#include "monitor/engine/debug_lines.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/json_writer.h"
#include "monitor/engine/time_keys.h"
#include "monitor/traffic/speed_history.h"
#include "platform/logging.h"

namespace monitoring::traffic {
namespace {

/// Whether an interface has something to show: a name, and a sample that is not zero.
bool IsShown(const InterfaceRecord& interface, std::size_t view) {
  if (interface.name.empty()) return false;
  const History& history = interface.histories[view];
  for (std::size_t index = 0; index < history.size(); ++index) {
    if (history[index].input != 0 || history[index].output != 0) return true;
  }
  return false;
}

/// Room for one sample as text: members, punctuation and three numbers of 64 bits.
constexpr std::size_t kMaxSampleText = 128;

/// Where the text goes on behind a member of a sample, with the room that it needs.
char* Put(char* place, std::string_view before, std::int64_t value) {
  std::memcpy(place, before.data(), before.size());
  constexpr std::size_t kMaxDigits = 20;
  return std::to_chars(place + before.size(), place + before.size() + kMaxDigits, value).ptr;
}

/// Appends the array of samples in the form that json-c gives a tree.
///
/// A message may hold millions of samples, so each is put together in a buffer and appended at once.
void AppendSamples(std::string& text, const History& history) {
  std::array<char, kMaxSampleText> sample_text{};
  text += '[';
  for (std::size_t index = 0; index < history.size(); ++index) {
    const Traffic& sample = history[index];
    char* end =
        Put(sample_text.data(), index == 0 ? R"( { "time": )" : R"(, { "time": )", time_keys::Minute(sample.time));
    end = Put(end, R"(, "input": )", static_cast<std::int64_t>(sample.input));
    end = Put(end, R"(, "output": )", static_cast<std::int64_t>(sample.output));
    text.append(sample_text.data(), end).append(" }");
  }
  text += " ]";
}

void AppendInterface(std::string& text, const History& history, std::int32_t if_index) {
  text += R"({ "ifIndex": )";
  AppendInteger(text, if_index);
  text += R"(, "traffic": )";
  AppendSamples(text, history);
  text += " }";
}

void LogSamples(const std::string& mac, const DeviceRecord& device, std::size_t view) {
  for (const InterfaceRecord& interface : device.interfaces) {
    if (interface.name.empty()) continue;
    const History& history = interface.histories[view];
    for (std::size_t index = 0; index < history.size(); ++index) {
      pel_log_debug(log_module::kMonitor,
                    "[TrafficMonitor::GenerateJsonMsg] Device: %s, interface: %s, inBps: %llu, outBps: %llu",
                    mac.c_str(), interface.name.c_str(), static_cast<unsigned long long>(history[index].input),
                    static_cast<unsigned long long>(history[index].output));
    }
  }
}

/// Room for the samples of all devices as text, as a guess: a longer text makes its own.
std::size_t UsualLength(const Devices& devices, std::size_t view) {
  constexpr std::size_t kUsualSample = 56;
  std::size_t samples = 0;
  for (const auto& [mac, device] : devices) {
    for (const InterfaceRecord& interface : device.interfaces) samples += interface.histories[view].size() + 1;
  }
  return samples * kUsualSample;
}

void AppendDevice(std::string& text, const DeviceRecord& device, std::size_t view) {
  ObjectWriter interfaces(text);
  for (const InterfaceRecord& interface : device.interfaces) {
    if (!IsShown(interface, view)) continue;
    interfaces.Begin(interface.name);
    AppendInterface(text, interface.histories[view], interface.if_index);
  }
  interfaces.Close();
}

std::string AllDevices(const Devices& devices, std::size_t view) {
  const bool is_logged = AreDebugLinesLogged();
  std::string text;
  text.reserve(UsualLength(devices, view));
  ObjectWriter data(text);
  for (const auto& [mac, device] : devices) {
    if (!device.is_in_view[view]) continue;
    if (is_logged) LogSamples(mac, device, view);
    const bool has_members = std::any_of(device.interfaces.begin(), device.interfaces.end(),
                                         [view](const InterfaceRecord& each) { return IsShown(each, view); });
    if (!has_members) continue;
    data.Begin(mac);
    AppendDevice(text, device, view);
  }
  data.Close();
  return text;
}

/// A tree, for a member of the credential result takes the place of an interface of the same name.
std::string OneDevice(const std::string& mac, const DeviceRecord& device, std::size_t view) {
  if (AreDebugLinesLogged()) LogSamples(mac, device, view);
  JsonTree object = NewObject();
  for (const InterfaceRecord& interface : device.interfaces) {
    if (!IsShown(interface, view)) continue;
    std::string text;
    AppendInterface(text, interface.histories[view], interface.if_index);
    Add(object, interface.name, RawJson(text.c_str()));
  }
  AddCredentialMembers(object, mac, "TrafficMonitor");
  const JsonTree data = NewObject();
  if (HasMembers(object)) Add(data, mac, std::move(object));
  const char* text = json_object_to_json_string(data.get());
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

}  // namespace

std::string TrafficData(const Devices& devices, std::size_t view, const std::string& mac) {
  if (mac.empty()) return AllDevices(devices, view);
  const auto found = devices.find(mac);
  if (found == devices.end() || !found->second.is_in_view[view]) return "{ }";
  return OneDevice(mac, found->second, view);
}

}  // namespace monitoring::traffic
