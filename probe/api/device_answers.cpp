#include "probe/api/device_answers.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/device_records.h"
#include "platform/utilities/text.h"
#include "probe/api/answers.h"
#include "probe/api/band_tree.h"
#include "probe/api/device_argument.h"
#include "probe/host/client_presence.h"
#include "probe/host/device_details.h"
#include "probe/host/notification_log.h"
#include "probe/text/json_text.h"

namespace probe {
namespace {

namespace records = vexora_probe::models::controller;
using nlohmann::ordered_json;

const char* NameOf(Severity severity) {
  switch (severity) {
    case Severity::kInfo:
      return "info";
    case Severity::kWarning:
      return "warning";
    case Severity::kAlert:
      break;
  }
  return "alert";
}

std::string HostnameOf(const DeviceSnapshot& device) {
  return device.basic_info ? device.basic_info->hostname : std::string();
}

/// A value of a map of details; null when there is none.
template <typename Number>
ordered_json ValueIn(const std::map<std::string, Number>& values, const std::string& key) {
  const auto found = values.find(key);
  return found == values.end() ? ordered_json() : ordered_json(found->second);
}

/// The band of a radio; null also for a radio of which nothing else is known.
ordered_json BandOfRadio(const DeviceSnapshot& device, const std::string& radio) {
  const auto found = device.radios.find(radio);
  return BandTree(found == device.radios.end() ? records::WIFIBandType::kUnknown : found->second.band);
}

/// The devices that an answer is about: the one that the request names, else all.
std::vector<std::string> DevicesIn(DeviceCentre& centre, const DeviceArgument& chosen, bool online_only) {
  if (chosen.mac.empty()) return centre.GetOnlineManagedDevices(online_only);
  if (online_only && !chosen.snapshot->online) return {};
  return {chosen.mac};
}

ordered_json NotificationTree(const std::string& mac, const std::string& hostname, const Notification& notification,
                              std::optional<time_t> until) {
  ordered_json tree{{"mac", mac},
                    {"hostname", hostname},
                    {"severity", NameOf(notification.severity)},
                    {"text", notification.text},
                    {"since", static_cast<std::int64_t>(notification.since)},
                    {"until", nullptr}};
  if (until) tree["until"] = static_cast<std::int64_t>(*until);
  return tree;
}

/// The open notifications of these devices, the newest first.
std::vector<ordered_json> OpenNotifications(const DeviceCentre& centre, const std::vector<std::string>& macs) {
  std::vector<std::pair<time_t, ordered_json>> open;
  for (const std::string& mac : macs) {
    const auto device = centre.Snapshot(mac);
    if (device == nullptr) continue;
    for (const Notification& notification : device->details.notifications)
      open.emplace_back(notification.since, NotificationTree(mac, HostnameOf(*device), notification, std::nullopt));
  }
  std::ranges::stable_sort(open, std::greater(), [](const auto& entry) { return entry.first; });
  std::vector<ordered_json> trees;
  trees.reserve(open.size());
  for (auto& [since, tree] : open) trees.push_back(std::move(tree));
  return trees;
}

/// A client at a device that lists it, and since when.
struct ListedClient {
  std::string mac;  // the device's
  std::shared_ptr<const DeviceSnapshot> device;
  const std::string* interface = nullptr;  // this and the next two are the snapshot's
  const records::SSIDIfState* network = nullptr;
  const records::AssocClientState* client = nullptr;
  Presence presence;
};

ordered_json ClientTree(const ListedClient& listed) {
  const DeviceSnapshot& device = *listed.device;
  const records::SSIDIfState& network = *listed.network;
  const records::AssocClientState& client = *listed.client;
  ordered_json user;
  if (const auto found = device.portal_users.find(client.mac); found != device.portal_users.end())
    user = found->second.username;
  ordered_json rate;
  if (client.data_rate > 0) rate = client.data_rate;
  return {{"mac", format_macaddress(client.mac)},
          {"hostname", client.hostname},
          {"user", std::move(user)},
          {"device", listed.mac},
          {"device_name", HostnameOf(device)},
          {"interface", *listed.interface},
          {"ssid", network.ssid},
          {"band", BandOfRadio(device, network.radio)},
          {"channel", ValueIn(device.details.channels, network.radio)},
          {"since", static_cast<std::int64_t>(listed.presence.since)},
          {"or_earlier", listed.presence.is_earlier},
          {"signal", ValueIn(device.details.client_signals, client.mac)},
          {"rate", std::move(rate)},
          {"received", client.out_bytes},
          {"sent", client.in_bytes}};
}

/// Whether a client who is listed at two devices is at the first: there it was later, as far as is known. When nothing
/// is known, the order in which devices are read must not decide; the lower MAC does.
bool IsAtFirst(const ListedClient& first, const ListedClient& second) {
  const time_t sign = first.presence.last_sign;
  return sign != second.presence.last_sign ? sign > second.presence.last_sign : first.mac < second.mac;
}

/// Adds the clients of a device, by their MACs. Who is listed elsewhere as well is only where it was last.
void AddClients(const std::string& mac, const std::shared_ptr<const DeviceSnapshot>& device, const Presences& presences,
                std::map<std::string, ListedClient>& clients) {
  for (const auto& [interface, network] : device->ssid_interfaces) {
    for (const records::AssocClientState& client : network.clients) {
      const auto known = presences.find(client.mac);
      const Presence presence = known != presences.end()
                                    ? known->second
                                    : Presence{.since = device->polling_time.value_or(0), .is_earlier = true};
      if (!presence.interface.empty() && presence.interface != interface) continue;
      const ListedClient here{.mac = mac,
                              .device = device,
                              .interface = &interface,
                              .network = &network,
                              .client = &client,
                              .presence = presence};
      // A client who has roamed stays listed at its old place for a while.
      const auto [listed, is_new] = clients.try_emplace(format_macaddress(client.mac), here);
      if (!is_new && IsAtFirst(here, listed->second)) listed->second = here;
    }
  }
}

ordered_json SsidTrees(const DeviceSnapshot& device, const std::string& radio) {
  ordered_json ssids = ordered_json::array();
  for (const auto& [interface, network] : device.ssid_interfaces) {
    if (network.radio != radio) continue;
    ssids.push_back({{"interface", interface}, {"ssid", network.ssid}, {"clients", network.client_count}});
  }
  return ssids;
}

/// The state of an interface in words. Source: RFC 2863, ifOperStatus.
const char* StateOf(const records::InterfaceState* interface) {
  static constexpr std::array<const char*, 8> kStates{"unknown", "up",      "down",       "testing",
                                                      "unknown", "dormant", "notPresent", "lowerLayerDown"};
  if (interface == nullptr || interface->oper_status < 0) return kStates.front();
  const auto status = static_cast<std::size_t>(interface->oper_status);
  return status < kStates.size() ? kStates[status] : kStates.front();
}

/// The name under which messages show an interface: band and SSID when it carries a network, its own when not.
std::string DisplayName(const DeviceSnapshot& device, const std::string& name) {
  const auto network = device.ssid_interfaces.find(name);
  if (network == device.ssid_interfaces.end() || network->second.ssid.empty()) return name;
  const ordered_json band = BandOfRadio(device, network->second.radio);
  const std::string prefix = band.is_null() ? "" : band == "5GHz" ? "5Ghz" : "2.4Ghz";
  return prefix + " - " + network->second.ssid;
}

/// One device's interface, before it becomes JSON.
struct Port {
  std::string mac;
  std::string name;
  std::string display_name;
};

ordered_json PortTree(const DeviceSnapshot& device, const Port& port, const PluginCalls& plugin) {
  const records::InterfaceState* state = device.interfaces.at(port.name).get();
  ordered_json tree{{"interface", port.display_name},
                    {"name", port.name},
                    {"ssid", nullptr},
                    {"state", StateOf(state)},
                    {"speed", ValueIn(device.details.port_speeds, port.name)},
                    {"input", nullptr},
                    {"output", nullptr},
                    {"received", nullptr},
                    {"sent", nullptr}};
  const auto network = device.ssid_interfaces.find(port.name);
  if (network != device.ssid_interfaces.end()) tree["ssid"] = network->second.ssid;
  if (state != nullptr && state->traffic != nullptr) {
    tree["received"] = state->traffic->in_bytes;
    tree["sent"] = state->traffic->out_bytes;
  }
  // The engine repeats the newest speed of a device that is offline.
  std::map<std::string, unsigned long long> traffic;
  if (device.online) plugin.interface_traffic(port.mac, port.display_name, traffic);
  if (traffic.contains("input") && traffic.contains("output")) {
    tree["input"] = traffic["input"];
    tree["output"] = traffic["output"];
  }
  return tree;
}

}  // namespace

HttpAnswer NotificationsAnswer(DeviceCentre& centre, const HttpRequest& request) {
  const DeviceArgument chosen = DeviceOf(centre, request);
  if (chosen.error) return *chosen.error;
  ordered_json trees = OpenNotifications(centre, DevicesIn(centre, chosen, false));
  std::vector<PastNotification> past = centre.PastNotifications();
  std::ranges::reverse(past);  // the newest first
  for (const PastNotification& ended : past) {
    if (!chosen.mac.empty() && ended.mac != chosen.mac) continue;
    const auto device = centre.Snapshot(ended.mac);
    if (device == nullptr) continue;
    trees.push_back(NotificationTree(ended.mac, HostnameOf(*device), ended.notification, ended.until));
  }
  return JsonAnswer(Dump(ordered_json{{"notifications", std::move(trees)}}), Caching::kRevalidate);
}

HttpAnswer ClientsAnswer(DeviceCentre& centre, const HttpRequest& request) {
  const DeviceArgument chosen = DeviceOf(centre, request);
  if (chosen.error) return *chosen.error;
  // All devices are looked at also for one: who has roamed away from it is not there any more.
  std::map<std::string, ListedClient> clients;
  for (const std::string& mac : centre.GetOnlineManagedDevices(true)) {
    const auto device = centre.Snapshot(mac);
    if (device != nullptr && device->online) AddClients(mac, device, centre.ClientsOf(mac), clients);
  }
  ordered_json trees = ordered_json::array();
  for (const auto& [mac, listed] : clients) {
    if (chosen.mac.empty() || listed.mac == chosen.mac) trees.push_back(ClientTree(listed));
  }
  return JsonAnswer(Dump(ordered_json{{"clients", std::move(trees)}}), Caching::kRevalidate);
}

HttpAnswer RadiosAnswer(DeviceCentre& centre, const HttpRequest& request) {
  const DeviceArgument chosen = RequiredDeviceOf(centre, request);
  if (chosen.error) return *chosen.error;
  const DeviceSnapshot& device = *chosen.snapshot;
  ordered_json radios = ordered_json::array();
  const auto add = [&](const std::string& name) {
    radios.push_back({{"name", name},
                      {"band", BandOfRadio(device, name)},
                      {"channel", ValueIn(device.details.channels, name)},
                      {"ssids", SsidTrees(device, name)}});
  };
  for (const auto& [name, radio] : device.radios) add(name);
  // A device may name a radio, or none, of which it tells nothing else.
  std::map<std::string, bool> added;
  for (const auto& [interface, network] : device.ssid_interfaces) {
    if (!device.radios.contains(network.radio) && added.emplace(network.radio, true).second) add(network.radio);
  }
  return JsonAnswer(Dump(ordered_json{{"mac", chosen.mac}, {"online", device.online}, {"radios", std::move(radios)}}),
                    Caching::kRevalidate);
}

HttpAnswer PortsAnswer(DeviceCentre& centre, const PluginCalls& plugin, const HttpRequest& request) {
  const DeviceArgument chosen = RequiredDeviceOf(centre, request);
  if (chosen.error) return *chosen.error;
  const auto wanted = Argument(request, "interface");
  ordered_json ports = ordered_json::array();
  for (const auto& [name, state] : chosen.snapshot->interfaces) {
    const Port port{.mac = chosen.mac, .name = name, .display_name = DisplayName(*chosen.snapshot, name)};
    if (wanted && *wanted != name && *wanted != port.display_name) continue;
    ports.push_back(PortTree(*chosen.snapshot, port, plugin));
  }
  if (wanted && ports.empty())
    return ErrorAnswer(404, "unknown_interface",
                       "The device has no such interface; without the argument all are listed.");
  return JsonAnswer(
      Dump(ordered_json{{"mac", chosen.mac}, {"online", chosen.snapshot->online}, {"ports", std::move(ports)}}),
      Caching::kNoStore);
}

}  // namespace probe
