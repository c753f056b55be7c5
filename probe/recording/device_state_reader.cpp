#include "probe/recording/device_state_reader.h"

#include <memory>
#include <string>
#include <utility>

#include "platform/device_records.h"
#include "probe/recording/json_object_reader.h"

namespace probe::recording {
namespace {

namespace records = vexora_probe::models::controller;
using Json = nlohmann::ordered_json;  // members reach the plug-in in the order of the recording

std::string OctetsOf(const std::string& hex, const std::string& path) {
  if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
    throw MalformedRecording(path + " must be pairs of hex digits");
  }
  std::string octets;
  for (std::size_t index = 0; index < hex.size(); index += 2) {
    octets += static_cast<char>(std::stoi(hex.substr(index, 2), nullptr, 16));
  }
  return octets;
}

/// An SSID, as text or as its octets in hex.
void ReadSsid(JsonObjectReader& members, std::string& ssid) {
  std::string hex;
  members.Read("ssid", ssid);
  if (members.Find("ssid_hex") == nullptr) return;
  if (members.Find("ssid") != nullptr) throw MalformedRecording(members.Path("ssid") + " stands beside ssid_hex");
  members.Read("ssid_hex", hex);
  ssid = OctetsOf(hex, members.Path("ssid_hex"));
}

/// A number that stands for an enumerator, known or not.
template <typename Enumeration>
void ReadNumber(JsonObjectReader& members, const char* name, Enumeration& value) {
  auto number = static_cast<std::int32_t>(value);
  members.Read(name, number);
  value = static_cast<Enumeration>(number);
}

/// Fills a map from the object under `name`: a record for each member, which `read` fills from its members.
template <typename Record, typename Read>
void ReadRecords(JsonObjectReader& members, const char* name, std::map<std::string, Record>& filled, Read read) {
  const Json* object = members.Object(name);
  if (object == nullptr) return;
  for (const auto& [key, value] : object->items()) {
    JsonObjectReader record(value, members, name, key);
    read(record, filled[key]);
    record.RejectUnknown();
  }
}

std::shared_ptr<const records::TrafficStats> ReadTraffic(JsonObjectReader& members) {
  const Json* object = members.Object("traffic");
  if (object == nullptr) return nullptr;
  JsonObjectReader traffic(*object, members, "traffic");
  auto statistics = std::make_shared<records::TrafficStats>();
  traffic.Read("if_index", statistics->if_index);
  traffic.Read("in_bytes", statistics->in_bytes);
  traffic.Read("out_bytes", statistics->out_bytes);
  traffic.RejectUnknown();
  return statistics;
}

void ReadInterfaces(JsonObjectReader& members, records::InterfaceStates& interfaces) {
  const Json* object = members.Object("interfaces");
  if (object == nullptr) return;
  for (const auto& [name, value] : object->items()) {
    // The device tells no more of this interface than its name.
    if (value.is_null()) {
      interfaces[name] = nullptr;
      continue;
    }
    JsonObjectReader interface(value, members, "interfaces", name);
    auto state = std::make_shared<records::InterfaceState>();
    interface.Read("oper_status", state->oper_status);
    state->traffic = ReadTraffic(interface);
    interface.RejectUnknown();
    interfaces[name] = std::move(state);
  }
}

records::AssocClientState ReadClient(JsonObjectReader members) {
  records::AssocClientState client;
  members.Read("mac", client.mac);
  members.Read("hostname", client.hostname);
  ReadNumber(members, "mode", client.mode);
  members.Read("data_rate", client.data_rate);
  members.Read("in_bytes", client.in_bytes);
  members.Read("out_bytes", client.out_bytes);
  members.RejectUnknown();
  return client;
}

void ReadSsidInterface(JsonObjectReader& members, records::SSIDIfState& interface) {
  ReadSsid(members, interface.ssid);
  members.Read("radio", interface.radio);
  interface.traffic = ReadTraffic(members);
  if (const Json* clients = members.Array("clients")) {
    for (const Json& client : *clients) {
      interface.clients.push_back(ReadClient({client, members, "clients", interface.clients.size()}));
    }
  }
  // Unless it says otherwise, a device counts the clients that it lists.
  interface.client_count = static_cast<std::int32_t>(interface.clients.size());
  members.Read("client_count", interface.client_count);
}

void ReadNeighbours(JsonObjectReader& members, std::list<records::NeighboringAP>& neighbours) {
  const Json* array = members.Array("neighbours");
  if (array == nullptr) return;
  for (const Json& value : *array) {
    JsonObjectReader neighbour(value, members, "neighbours", neighbours.size());
    records::NeighboringAP heard;
    bool is_trusted = false;
    neighbour.Read("mac", heard.mac);
    ReadSsid(neighbour, heard.ssid);
    neighbour.Read("trusted", is_trusted);
    heard.trusted = is_trusted ? 1 : 0;
    ReadNumber(neighbour, "band", heard.band);
    neighbour.Read("channel", heard.channel);
    neighbour.Read("signal", heard.signal);
    neighbour.RejectUnknown();
    neighbours.push_back(std::move(heard));
  }
}

/// Unlike elsewhere, null is not the same as an absent member here: nothing is known of the device then.
void ReadBasicInfo(const Json& state, JsonObjectReader& members, std::optional<records::BasicInfo>& basic_info) {
  const Json* object = members.Object("basic_info");
  if (object == nullptr) {
    if (state.contains("basic_info")) basic_info.reset();
    return;
  }
  // There is a record to fill: a fresh snapshot has one.
  JsonObjectReader info(*object, "basic_info");
  info.Read("hostname", basic_info->hostname);
  info.Read("ip", basic_info->ip);
  ReadNumber(info, "type", basic_info->type);
  info.RejectUnknown();
}

void ReadPlatformInfo(JsonObjectReader& members, std::optional<records::PlatformInfo>& platform_info) {
  const Json* object = members.Object("platform_info");
  if (object == nullptr) return;
  JsonObjectReader info(*object, "platform_info");
  platform_info.emplace();
  info.Read("model", platform_info->model);
  info.Read("version", platform_info->version);
  info.RejectUnknown();
}

void ReadTime(JsonObjectReader& members, const char* name, std::optional<time_t>& time) {
  if (members.Find(name) == nullptr) return;
  time = 0;
  members.Read(name, *time);
}

void ReadWireless(JsonObjectReader& members, DeviceSnapshot& snapshot) {
  ReadRecords(members, "ssid_interfaces", snapshot.ssid_interfaces, ReadSsidInterface);
  ReadRecords(members, "radios", snapshot.radios,
              [](JsonObjectReader& radio, records::RadioIfState& filled) { ReadNumber(radio, "band", filled.band); });
  ReadRecords(members, "portal_users", snapshot.portal_users, [](JsonObjectReader& user, records::PortalUser& filled) {
    user.Read("username", filled.username);
    user.Read("hostname", filled.hostname);
    user.Read("in_bytes", filled.in_bytes);
    user.Read("out_bytes", filled.out_bytes);
  });
  ReadNeighbours(members, snapshot.neighbours);
  ReadRecords(members, "ssid_config", snapshot.ssid_config,
              [](JsonObjectReader& configuration, records::SSIDCfg& filled) {
                ReadNumber(configuration, "security_mode", filled.security_mode);
                configuration.Read("guest", filled.guest);
              });
  // the SSID of a configuration is the part of its key in front of the last "@"
  for (auto& [key, configuration] : snapshot.ssid_config) configuration.name = key.substr(0, key.rfind('@'));
}

void ReadHealth(JsonObjectReader& members, DeviceSnapshot& snapshot) {
  members.Read("cpu", snapshot.cpu);
  members.Read("uptime", snapshot.uptime);
  members.Read("health", snapshot.health_level);
  if (const Json* object = members.Object("notifications")) {
    JsonObjectReader notifications(*object, "notifications");
    notifications.Read("info", snapshot.notifications.info);
    notifications.Read("warning", snapshot.notifications.warning);
    notifications.Read("alert", snapshot.notifications.alert);
    notifications.RejectUnknown();
  }
  if (const Json* credential = members.Object("credential")) snapshot.credential_json = credential->dump();
}

}  // namespace

DeviceSnapshot SnapshotOf(const Json& state) {
  JsonObjectReader members(state, "");
  DeviceSnapshot snapshot;
  members.Read("online", snapshot.online);
  members.Read("known", snapshot.known);
  members.Read("driver", snapshot.driver);
  members.Read("wireless", snapshot.is_wireless);
  ReadBasicInfo(state, members, snapshot.basic_info);
  ReadPlatformInfo(members, snapshot.platform_info);
  ReadTime(members, "sample_time", snapshot.sample_time);
  ReadTime(members, "polling_time", snapshot.polling_time);
  ReadInterfaces(members, snapshot.interfaces);
  ReadWireless(members, snapshot);
  ReadHealth(members, snapshot);
  members.RejectUnknown();
  return snapshot;
}

}  // namespace probe::recording
