#include "monitor/wirelesstop/wireless_top_show.h"

#include <cstdint>
#include <utility>

#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"

namespace monitoring::wirelesstop {
namespace {

/// What an entry begins with. An access point or a client has an id and a name, a network its name alone.
JsonTree NamedObject(const std::string& id, const std::string& name) {
  JsonTree object = NewObject();
  Add(object, json_key::kId, NewText(id));
  Add(object, json_key::kName, NewText(name));
  return object;
}

JsonTree NamedObject(const std::string& name) {
  JsonTree object = NewObject();
  Add(object, json_key::kName, NewText(name));
  return object;
}

/// Units: KiB, as in `NetStream`.
JsonTree WithTraffic(JsonTree object, const NetStream& stream) {
  Add(object, json_key::kIn, NewInteger(static_cast<std::int64_t>(stream.in)));
  Add(object, json_key::kOut, NewInteger(static_cast<std::int64_t>(stream.out)));
  Add(object, json_key::kTotal, NewInteger(static_cast<std::int64_t>(stream.in + stream.out)));
  return object;
}

JsonTree WithClients(JsonTree object, const ClientCount& count) {
  Add(object, json_key::kClients, NewInteger(count.count));
  return object;
}

std::string HostName(const DeviceInfos& infos, const std::string& mac) {
  const auto found = infos.find(mac);
  return found == infos.end() ? std::string() : found->second.hostname;
}

void FillLists(const MessageParts& parts, const Selection& selection, const DeviceInfos& infos) {
  for (const NetStream* device : selection.device_traffic) {
    Append(parts.access_point_traffic, WithTraffic(NamedObject(device->name, HostName(infos, device->name)), *device));
  }
  for (const ClientCount* device : selection.device_clients) {
    Append(parts.access_point_clients, WithClients(NamedObject(device->name, HostName(infos, device->name)), *device));
  }
  for (const NetStream* ssid : selection.ssid_traffic) {
    Append(parts.network_traffic, WithTraffic(NamedObject(ssid->name), *ssid));
  }
  for (const ClientCount* ssid : selection.ssid_clients) {
    Append(parts.network_clients, WithClients(NamedObject(ssid->name), *ssid));
  }
  for (const NetStream* client : selection.client_traffic) {
    const std::string name = client->desc.empty() ? DeviceName(client->name) : client->desc;
    Append(parts.client_traffic, WithTraffic(NamedObject(client->name, name), *client));
  }
}

/// Two lists of a message in an object of their own.
JsonTree TrafficAndClients(JsonTree traffic, JsonTree clients) {
  JsonTree object = NewObject();
  Add(object, json_key::kTraffic, std::move(traffic));
  Add(object, json_key::kClient, std::move(clients));
  return object;
}

}  // namespace

bool AreAllocated(const MessageParts& parts) {
  return parts.root != nullptr && parts.access_point_traffic != nullptr && parts.access_point_clients != nullptr &&
         parts.network_traffic != nullptr && parts.network_clients != nullptr && parts.client_traffic != nullptr;
}

JsonTree MessageBody(MessageParts parts, const Selection& selection, const DeviceInfos& infos) {
  FillLists(parts, selection, infos);
  JsonTree clients = NewObject();
  Add(clients, json_key::kTraffic, std::move(parts.client_traffic));
  Add(parts.root, json_key::kAccessPoints,
      TrafficAndClients(std::move(parts.access_point_traffic), std::move(parts.access_point_clients)));
  Add(parts.root, json_key::kWirelessNetworks,
      TrafficAndClients(std::move(parts.network_traffic), std::move(parts.network_clients)));
  Add(parts.root, json_key::kWirelessClients, std::move(clients));
  return std::move(parts.root);
}

}  // namespace monitoring::wirelesstop
