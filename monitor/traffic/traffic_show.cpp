#include "monitor/traffic/traffic_show.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>

#include "monitor/engine/credential_members.h"
#include "monitor/engine/debug_lines.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/json_writer.h"
#include "monitor/engine/time_keys.h"
#include "monitor/engine/view_chain.h"
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

/// Appends arrays of samples in the form that json-c gives a tree.
///
/// A message may hold millions of samples. So many of them are put together in a buffer and appended at once, and a
/// time, which most interfaces have at the same place in their histories, is written once.
class SampleWriter {
 public:
  explicit SampleWriter(std::string& text) : text_(text) {}

  void Append(const History& history) {
    text_ += '[';
    char* end = buffer_.data();
    for (std::size_t index = 0; index < history.size(); ++index) {
      if (end > buffer_.data() + (buffer_.size() - kMaxSampleText)) {
        text_.append(buffer_.data(), end);
        end = buffer_.data();
      }
      const Traffic& sample = history[index];
      end = Put(end, index == 0 ? R"( { "time": )" : R"(, { "time": )");
      end = Put(end, TextOf(sample.time, times_[index % times_.size()]));
      end = Put(end, R"(, "input": )", static_cast<std::int64_t>(sample.input));
      end = Put(end, R"(, "output": )", static_cast<std::int64_t>(sample.output));
      end = Put(end, " }");
    }
    text_.append(buffer_.data(), end).append(" ]");
  }

 private:
  /// Room for one sample as text: members, punctuation and three numbers of 64 bits.
  static constexpr std::size_t kMaxSampleText = 128;
  static constexpr std::size_t kMaxDigits = 20;

  struct TimeText {
    time_t time = -1;
    std::size_t length = 0;
    std::array<char, kMaxDigits> digits{};
  };

  /// The minute of a time as text, which is kept.
  static std::string_view TextOf(time_t time, TimeText& text) {
    if (text.length == 0 || text.time != time) {
      const auto [end, error] =
          std::to_chars(text.digits.data(), text.digits.data() + kMaxDigits, std::int64_t{time_keys::Minute(time)});
      text.time = time;
      text.length = static_cast<std::size_t>(end - text.digits.data());
    }
    return {text.digits.data(), text.length};
  }

  static char* Put(char* place, std::string_view text) {
    std::memcpy(place, text.data(), text.size());
    return place + text.size();
  }

  /// Where the text goes on behind a member.
  static char* Put(char* place, std::string_view before, std::int64_t value) {
    char* const digits = Put(place, before);
    return std::to_chars(digits, digits + kMaxDigits, value).ptr;
  }

  std::string& text_;
  std::array<char, 32 * kMaxSampleText> buffer_{};
  std::array<TimeText, kMaxSamples + 1> times_{};
};

void AppendInterface(std::string& text, SampleWriter& samples, const History& history, std::int32_t if_index) {
  text += R"({ "ifIndex": )";
  AppendInteger(text, if_index);
  text += R"(, "traffic": )";
  samples.Append(history);
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

void AppendDevice(std::string& text, SampleWriter& samples, const DeviceRecord& device, std::size_t view) {
  ObjectWriter interfaces(text);
  for (const InterfaceRecord& interface : device.interfaces) {
    if (!IsShown(interface, view)) continue;
    interfaces.Begin(interface.name);
    AppendInterface(text, samples, interface.histories[view], interface.if_index);
  }
  interfaces.Close();
}

std::string AllDevices(const Devices& devices, std::size_t view) {
  const bool is_logged = AreDebugLinesLogged();
  std::string text;
  text.reserve(UsualLength(devices, view));
  SampleWriter samples(text);
  ObjectWriter data(text);
  for (const auto& [mac, device] : devices) {
    if (!device.is_in_view[view]) continue;
    if (is_logged) LogSamples(mac, device, view);
    const bool has_members = std::any_of(device.interfaces.begin(), device.interfaces.end(),
                                         [view](const InterfaceRecord& each) { return IsShown(each, view); });
    if (!has_members) continue;
    data.Begin(mac);
    AppendDevice(text, samples, device, view);
  }
  data.Close();
  return text;
}

/// A tree, for a member of the credential result takes the place of an interface of the same name.
std::string OneDevice(const std::string& mac, const DeviceRecord& device, std::size_t view) {
  if (AreDebugLinesLogged()) LogSamples(mac, device, view);
  JsonTree object = NewObject();
  std::string text;
  SampleWriter samples(text);
  for (const InterfaceRecord& interface : device.interfaces) {
    if (!IsShown(interface, view)) continue;
    text.clear();
    AppendInterface(text, samples, interface.histories[view], interface.if_index);
    Add(object, interface.name, RawJson(text.c_str()));
  }
  AddCredentialMembers(object, mac, "TrafficMonitor");
  const JsonTree data = NewObject();
  if (HasMembers(object)) Add(data, mac, std::move(object));
  return TextOf(data.get());
}

}  // namespace

std::string TrafficData(const Devices& devices, std::size_t view, const std::string& mac) {
  if (mac.empty()) return AllDevices(devices, view);
  const auto found = devices.find(mac);
  if (found == devices.end() || !found->second.is_in_view[view]) return "{ }";
  return OneDevice(mac, found->second, view);
}

}  // namespace monitoring::traffic
