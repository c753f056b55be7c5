#include "probe/recording/device_state_writer.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/device_records.h"
#include "probe/text/utf8.h"

namespace probe::recording {
namespace {

namespace records = vexora_probe::models::controller;
using Json = nlohmann::ordered_json;  // members reach the plug-in in the order of the recording

/// A number that stands for an enumerator.
template <typename Enumeration>
std::int32_t NumberOf(Enumeration value) {
  return static_cast<std::int32_t>(value);
}

std::string HexOf(const std::string& octets) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string hex;
  for (const char octet : octets) {
    const auto value = static_cast<unsigned char>(octet);
    hex += kDigits[value / 16];
    hex += kDigits[value % 16];
  }
  return hex;
}

/// An SSID as text, or as its octets in hex when it is not UTF-8.
void AddSsid(Json& object, const std::string& ssid) {
  if (IsUtf8(ssid)) {
    object["ssid"] = ssid;
  } else {
    object["ssid_hex"] = HexOf(ssid);
  }
}

Json TrafficOf(const records::TrafficStats* statistics) {
  if (statistics == nullptr) return nullptr;
  return {{"if_index", statistics->if_index}, {"in_bytes", statistics->in_bytes}, {"out_bytes", statistics->out_bytes}};
}

Json InterfaceOf(const std::shared_ptr<const records::InterfaceState>& state) {
  if (state == nullptr) return nullptr;
  return {{"oper_status", state->oper_status}, {"traffic", TrafficOf(state->traffic.get())}};
}

Json ClientOf(const records::AssocClientState& client) {
  return {{"mac", client.mac},
          {"hostname", client.hostname},
          {"mode", NumberOf(client.mode)},
          {"data_rate", client.data_rate},
          {"in_bytes", client.in_bytes},
          {"out_bytes", client.out_bytes}};
}

Json SsidInterfaceOf(const records::SSIDIfState& interface) {
  Json object{{"radio", interface.radio},
              {"traffic", TrafficOf(interface.traffic.get())},
              {"client_count", interface.client_count},
              {"clients", Json::array()}};
  AddSsid(object, interface.ssid);
  for (const auto& client : interface.clients) object["clients"].push_back(ClientOf(client));
  return object;
}

Json NeighbourOf(const records::NeighboringAP& neighbour) {
  Json object{{"mac", neighbour.mac},
              {"trusted", neighbour.trusted != 0},
              {"band", NumberOf(neighbour.band)},
              {"channel", neighbour.channel},
              {"signal", neighbour.signal}};
  AddSsid(object, neighbour.ssid);
  return object;
}

Json RadioOf(const records::RadioIfState& radio) {
  return {{"band", NumberOf(radio.band)}};
}

Json PortalUserOf(const records::PortalUser& user) {
  return {{"username", user.username},
          {"hostname", user.hostname},
          {"in_bytes", user.in_bytes},
          {"out_bytes", user.out_bytes}};
}

Json ConfigurationOf(const records::SSIDCfg& configuration) {
  return {{"security_mode", NumberOf(configuration.security_mode)}, {"guest", configuration.guest}};
}

/// Adds the records of a map. One whose name is not UTF-8 is left out: no member can have that name, and replacing its
/// octets might make two names equal.
template <typename Records, typename Describe>
void AddRecords(Json& state, const char* member, const Records& records, Describe describe) {
  for (const auto& [name, record] : records) {
    if (IsUtf8(name)) state[member][name] = describe(record);
  }
}

void AddWireless(const DeviceSnapshot& snapshot, Json& state) {
  AddRecords(state, "ssid_interfaces", snapshot.ssid_interfaces, &SsidInterfaceOf);
  AddRecords(state, "radios", snapshot.radios, &RadioOf);
  AddRecords(state, "portal_users", snapshot.portal_users, &PortalUserOf);
  for (const auto& neighbour : snapshot.neighbours) state["neighbours"].push_back(NeighbourOf(neighbour));
  AddRecords(state, "ssid_config", snapshot.ssid_config, &ConfigurationOf);
}

void AddIdentity(const DeviceSnapshot& snapshot, Json& state) {
  // Null and not left out: without the member a reader takes the record for known and empty.
  state["basic_info"] = nullptr;
  if (snapshot.basic_info) {
    // Without the MAC, which is the key of the device in its line.
    state["basic_info"] = {{"hostname", snapshot.basic_info->hostname},
                           {"ip", snapshot.basic_info->ip},
                           {"type", NumberOf(snapshot.basic_info->type)}};
  }
  if (snapshot.platform_info) {
    state["platform_info"] = {{"model", snapshot.platform_info->model}, {"version", snapshot.platform_info->version}};
  }
}

void AddHealth(const DeviceSnapshot& snapshot, Json& state) {
  state["cpu"] = snapshot.cpu;
  state["uptime"] = snapshot.uptime;
  state["health"] = snapshot.health_level;
  state["notifications"] = {{"info", snapshot.notifications.info},
                            {"warning", snapshot.notifications.warning},
                            {"alert", snapshot.notifications.alert}};
  // A recording holds objects only, and the plug-in makes nothing of any other credential.
  const Json credential = Json::parse(snapshot.credential_json, nullptr, false);
  if (credential.is_object()) state["credential"] = credential;
}

}  // namespace

Json StateOf(const DeviceSnapshot& snapshot) {
  Json state{{"online", snapshot.online},
             {"known", snapshot.known},
             {"driver", snapshot.driver},
             {"wireless", snapshot.is_wireless}};
  if (snapshot.sample_time) state["sample_time"] = *snapshot.sample_time;
  if (snapshot.polling_time) state["polling_time"] = *snapshot.polling_time;
  AddRecords(state, "interfaces", snapshot.interfaces, &InterfaceOf);
  AddIdentity(snapshot, state);
  AddWireless(snapshot, state);
  AddHealth(snapshot, state);
  return state;
}

}  // namespace probe::recording
