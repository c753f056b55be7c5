#include "probe/centre/site_figures.h"

#include <simdjson.h>
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "platform/topics.h"
#include "probe/centre/site_json.h"
#include "probe/centre/site_summary.h"
#include "probe/centre/site_text.h"

namespace probe::centre {
namespace {

using nlohmann::json;

/// A member of an object; null when there is none.
const json& Member(const json& tree, const char* name) {
  static const json none;
  if (!tree.is_object()) return none;
  const auto found = tree.find(name);
  return found == tree.end() ? none : *found;
}

std::string TextIn(const json& tree, const char* name) {
  const json& value = Member(tree, name);
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::optional<double> NumberIn(const json& tree, const char* name) {
  const json& value = Member(tree, name);
  return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
}

std::int64_t IntegerIn(const json& tree, const char* name) {
  const json& value = Member(tree, name);
  return value.is_number_integer() ? value.get<std::int64_t>() : 0;
}

/// The newest text of a topic; null when there is none, or an old one.
const SiteText* Find(const Sites::Known& site, const std::string& topic) {
  const auto found = site.texts.find(topic);
  if (found == site.texts.end()) return nullptr;
  const bool is_old = site.summary->heard - found->second->told_at() > SiteSummary::kAwayAfter;
  return is_old ? nullptr : found->second.get();
}

json TreeOf(const Sites::Known& site, const std::string& topic) {
  const SiteText* const text = Find(site, topic);
  return text == nullptr ? json::object() : ReadSiteJson<json>(text->text);
}

/// The body of a message of one view.
const json& ViewIn(const json& message) {
  return Member(Member(message, "data"), monitoring::kView1m);
}

void ReadStatus(const json& status, SiteFigures& figures) {
  figures.version = TextIn(status, "version");
  figures.clock_speed = NumberIn(status, "speed");
  figures.last_pass = NumberIn(Member(status, "passes"), "last");
  const json& state = Member(Member(status, "history"), "state");
  if (state.is_string()) figures.is_history_ready = state == "ready";
}

metrics::DeviceFigures DeviceIn(const json& device) {
  metrics::DeviceFigures figures{.device = TextIn(device, "mac"),
                                 .name = TextIn(device, "hostname"),
                                 .address = TextIn(device, "ip"),
                                 .type = TextIn(device, "type"),
                                 .model = TextIn(device, "model"),
                                 .version = TextIn(device, "version"),
                                 .is_online = Member(device, "online") == true};
  const json& measured = Member(device, "measured");
  if (measured.is_number_integer()) figures.read_at = measured.get<time_t>();
  return figures;
}

/// Adds what the health message says of a device.
void AddHealth(const json& health, metrics::DeviceFigures& figures) {
  constexpr double kPercent = 100;
  const auto cpu = NumberIn(Member(health, "actual_cpu"), "value");
  if (cpu && *cpu >= 0) figures.cpu_ratio = *cpu / kPercent;
  const auto uptime = NumberIn(Member(health, "uptime"), "value");
  if (uptime && *uptime >= 0) figures.uptime = uptime;
  const std::int64_t level = IntegerIn(health, "level");
  constexpr std::int64_t kWorst = 4;
  if (level > 0 && level <= kWorst) figures.health_level = static_cast<int>(level);
  figures.untrusted_neighbours = NumberIn(Member(health, "rogue_aps"), "value");
  const json& open = Member(health, "notification");
  if (!open.is_object()) return;
  figures.notifications = metrics::OpenNotifications{
      .info = IntegerIn(open, "info"), .warning = IntegerIn(open, "warning"), .alert = IntegerIn(open, "alert")};
}

void ReadDevices(const json& listed, const json& health, SiteFigures& figures) {
  std::map<std::string, const json*> health_of;
  for (const json& device : Member(Member(health, "data"), "status")) health_of[TextIn(device, "device")] = &device;
  std::set<std::string> ids;
  for (const json& device : Member(listed, "devices")) {
    metrics::DeviceFigures one = DeviceIn(device);
    // Two of one id would be one series.
    if (one.device.empty() || !ids.insert(one.device).second) continue;
    if (const auto found = health_of.find(one.device); found != health_of.end()) AddHealth(*found->second, one);
    figures.devices.push_back(std::move(one));
  }
}

void ReadListedClients(const json& view, const std::set<std::string>& online, SiteFigures& figures) {
  const json& devices = Member(view, "current_devices_counts");
  if (!devices.is_object()) return;
  for (const auto& [device, ssids] : devices.items()) {
    if (!online.contains(device) || !ssids.is_object()) continue;
    for (const auto& [ssid, counted] : ssids.items())
      figures.ssids.push_back({device, ssid, IntegerIn(counted, "count")});
  }
}

/// The newest sample of an interface.
struct NewestSample {
  std::int64_t minute = 0;
  std::int64_t input = 0;
  std::int64_t output = 0;
};

/// Nothing: it has none.
std::optional<NewestSample> NewestOf(simdjson::dom::element interface) {
  simdjson::dom::array samples;
  if (interface["traffic"].get(samples) != simdjson::SUCCESS) return std::nullopt;
  std::optional<simdjson::dom::element> last;
  for (const simdjson::dom::element sample : samples) last = sample;
  NewestSample newest;
  if (!last || (*last)["time"].get(newest.minute) != simdjson::SUCCESS ||
      (*last)["input"].get(newest.input) != simdjson::SUCCESS ||
      (*last)["output"].get(newest.output) != simdjson::SUCCESS)
    return std::nullopt;
  const bool is_told = newest.minute > 0 && newest.input >= 0 && newest.output >= 0;
  return is_told ? std::optional(newest) : std::nullopt;
}

/// The newest samples of the interfaces of a device, by their names.
std::map<std::string, NewestSample> SamplesOf(simdjson::dom::element device) {
  std::map<std::string, NewestSample> samples;
  simdjson::dom::object interfaces;
  if (device.get(interfaces) != simdjson::SUCCESS) return samples;
  for (const auto [name, interface] : interfaces) {
    if (const auto newest = NewestOf(interface)) samples[std::string(name)] = *newest;
  }
  return samples;
}

/// Reads the message of traffic, which is most of what a site sends, with the quicker of the two libraries.
void ReadSpeeds(const std::string& text, const std::set<std::string>& online, SiteFigures& figures) {
  simdjson::dom::parser parser;
  simdjson::dom::element message;
  simdjson::dom::object devices;
  if (parser.parse(text).get(message) != simdjson::SUCCESS ||
      message["data"][monitoring::kView1m]["traffic_data"].get(devices) != simdjson::SUCCESS)
    return;
  std::map<std::string, std::map<std::string, NewestSample>> samples;
  std::int64_t minute = 0;
  for (const auto [device, interfaces] : devices) {
    auto& of_device = samples[std::string(device)];
    of_device = SamplesOf(interfaces);
    for (const auto& [name, newest] : of_device) minute = std::max(minute, newest.minute);
  }
  constexpr std::int64_t kSeconds = 60;
  constexpr std::int64_t kMaxMinute = 1'700'000'000;  // in the year 5202
  if (minute > kMaxMinute) return;
  if (minute > 0) figures.measured_at = kSeconds * minute;
  for (const auto& [device, interfaces] : samples) {
    if (!online.contains(device)) continue;
    DeviceSpeeds& speeds = figures.speeds.emplace_back();
    speeds.device = device;
    for (const auto& [name, newest] : interfaces) {
      if (newest.minute != minute) continue;  // it has gone
      speeds.interfaces.push_back(
          {name, static_cast<std::uint64_t>(newest.input), static_cast<std::uint64_t>(newest.output)});
    }
  }
}

}  // namespace

std::size_t SiteFigures::MaxSamples() const {
  constexpr std::size_t kOfSite = 10;
  constexpr std::size_t kOfInterface = 2;
  // Of each device also that it was measured.
  std::size_t samples = kOfSite + ssids.size() + (metrics::DeviceFamilies::kMaxSamples + 1) * devices.size();
  for (const DeviceSpeeds& device : speeds) samples += kOfInterface * device.interfaces.size();
  return samples;
}

SiteFigures ReadSiteFigures(const Sites::Known& site) {
  SiteFigures figures;
  ReadStatus(TreeOf(site, "status"), figures);
  ReadDevices(TreeOf(site, "devices"), TreeOf(site, monitoring::kHealthMonitor), figures);
  std::set<std::string> online;
  for (const metrics::DeviceFigures& device : figures.devices) {
    if (device.is_online) online.insert(device.device);
  }
  ReadListedClients(ViewIn(TreeOf(site, monitoring::kDevicesClientCountMonitor)), online, figures);
  if (const SiteText* const traffic = Find(site, monitoring::kTrafficMonitor)) {
    // Of a pass in which nothing has moved for half an hour no sample tells.
    constexpr time_t kMinute = 60;
    figures.measured_at = traffic->told_at() / kMinute * kMinute;
    ReadSpeeds(traffic->text, online, figures);
  }
  return figures;
}

}  // namespace probe::centre
