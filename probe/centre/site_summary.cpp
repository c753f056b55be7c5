#include "probe/centre/site_summary.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <vector>

#include "platform/topics.h"
#include "probe/centre/site_json.h"
#include "probe/server/http/http_head.h"

namespace probe::centre {
namespace {

using nlohmann::json;

// As docs/schemas/health_monitor.json has them.
constexpr int kFairLevel = 3;
constexpr int kBadLevel = 4;

std::string TextIn(const json& object, const char* name) {
  const auto found = object.is_object() ? object.find(name) : object.end();
  if (!object.is_object() || found == object.end() || !found->is_string()) return {};
  return found->get_ref<const std::string&>().substr(0, SiteSummary::kMaxOctets);
}

std::int64_t NumberIn(const json& object, const char* name) {
  const auto found = object.is_object() ? object.find(name) : object.end();
  return object.is_object() && found != object.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

/// The objects of a member that is a list, no more than may be listed.
std::vector<const json*> ObjectsIn(const json& object, const char* name) {
  std::vector<const json*> objects;
  if (!object.is_object() || !object.contains(name) || !object[name].is_array()) return objects;
  for (const json& element : object[name]) {
    if (objects.size() == SiteSummary::kMaxListed) break;
    if (element.is_object()) objects.push_back(&element);
  }
  return objects;
}

}  // namespace

const char* NameOf(SiteLevel level) {
  switch (level) {
    case SiteLevel::kGood:
      return "good";
    case SiteLevel::kFair:
      return "fair";
    case SiteLevel::kBad:
      return "bad";
    case SiteLevel::kAway:
      break;
  }
  return "away";
}

SiteLevel SiteSummary::Level(time_t now) const {
  if (IsAway(now)) return SiteLevel::kAway;
  if (offline > 0 || bad > 0 || alerts > 0) return SiteLevel::kBad;
  return fair > 0 || warnings > 0 ? SiteLevel::kFair : SiteLevel::kGood;
}

void SiteSummary::Take(const std::string& topic, const std::string& text) {
  if (topic != "devices" && topic != "clients" && topic != "status" && topic != monitoring::kHealthMonitor) return;
  const json tree = ReadSiteJson<json>(text);
  if (topic == "devices") TakeDevices(tree);
  if (topic == "clients") TakeClients(tree);
  if (topic == "status") version = TextIn(tree, "version");
  if (topic == monitoring::kHealthMonitor) TakeHealth(tree);
}

void SiteSummary::TakeDevices(const json& tree) {
  std::vector<Findable> listed;
  offline = 0;
  for (const json* const told : ObjectsIn(tree, "devices")) {
    const json& device = *told;
    Findable one{false,
                 TextIn(device, "mac"),
                 TextIn(device, "hostname"),
                 TextIn(device, "ip"),
                 TextIn(device, "model"),
                 {},
                 {},
                 device.value("online", json()) == true};
    if (!one.is_online) ++offline;
    listed.push_back(std::move(one));
  }
  devices = listed.size();
  listed_devices = std::make_shared<const std::vector<Findable>>(std::move(listed));
}

void SiteSummary::TakeClients(const json& tree) {
  std::vector<Findable> listed;
  for (const json* const told : ObjectsIn(tree, "clients")) {
    const json& client = *told;
    listed.push_back({true,
                      TextIn(client, "mac"),
                      TextIn(client, "hostname"),
                      {},
                      TextIn(client, "device_name"),
                      TextIn(client, "ssid"),
                      TextIn(client, "user"),
                      true});
  }
  clients = listed.size();
  listed_clients = std::make_shared<const std::vector<Findable>>(std::move(listed));
}

void SiteSummary::TakeHealth(const json& tree) {
  bad = fair = 0;
  alerts = warnings = 0;
  const json data = tree.value("data", json());
  for (const json* const told : ObjectsIn(data, "status")) {
    const json& device = *told;
    const std::int64_t level = NumberIn(device, "level");
    if (level == kBadLevel) ++bad;
    if (level == kFairLevel) ++fair;
    const json open = device.value("notification", json());
    alerts += static_cast<std::uint64_t>(std::max<std::int64_t>(NumberIn(open, "alert"), 0));
    warnings += static_cast<std::uint64_t>(std::max<std::int64_t>(NumberIn(open, "warning"), 0));
  }
}

bool IsFound(const Findable& one, const std::string& wanted) {
  const std::array<const std::string*, 5> texts{&one.mac, &one.name, &one.address, &one.ssid, &one.user};
  return std::any_of(texts.begin(), texts.end(),
                     [&](const std::string* text) { return LowerCase(*text).find(wanted) != std::string::npos; });
}

}  // namespace probe::centre
