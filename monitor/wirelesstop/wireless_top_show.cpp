#include "monitor/wirelesstop/wireless_top_show.h"

#include <cstdint>
#include <utility>

#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"

namespace monitoring::wirelesstop {
namespace {

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

/// Two parts of a message in an object of their own.
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

void AppendAccessPoints(const JsonTree& list, const TopStreamList& top, const DeviceInfos& infos) {
  for (const NetStream* stream : top) {
    Append(list, WithTraffic(NamedObject(stream->name, HostName(infos, stream->name)), *stream));
  }
}

void AppendAccessPoints(const JsonTree& list, const TopCountList& top, const DeviceInfos& infos) {
  for (const ClientCount* count : top) {
    Append(list, WithClients(NamedObject(count->name, HostName(infos, count->name)), *count));
  }
}

void AppendNetworks(const JsonTree& list, const TopStreamList& top) {
  for (const NetStream* stream : top) Append(list, WithTraffic(NamedObject(stream->name), *stream));
}

void AppendNetworks(const JsonTree& list, const TopCountList& top) {
  for (const ClientCount* count : top) Append(list, WithClients(NamedObject(count->name), *count));
}

void AppendClients(const JsonTree& list, const TopStreamList& top) {
  for (const NetStream* stream : top) {
    const std::string name = stream->desc.empty() ? DeviceName(stream->name) : stream->desc;
    Append(list, WithTraffic(NamedObject(stream->name, name), *stream));
  }
}

JsonTree Assembled(MessageParts parts) {
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
