#include "monitor/wirelesstop/wireless_top_show.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "monitor/engine/devices.h"
#include "monitor/engine/json_keys.h"
#include "monitor/engine/json_writer.h"

namespace monitoring::wirelesstop {
namespace {

// Entries are written as text, for a message may hold all clients. An access point or a client has an id and a name, a
// network its name alone.

void AppendName(ObjectWriter& object, std::string& text, const std::string& name) {
  object.Begin(json_key::kName);
  AppendQuoted(text, name);
}

void AppendIdAndName(ObjectWriter& object, std::string& text, const std::string& id, const std::string& name) {
  object.Begin(json_key::kId);
  AppendQuoted(text, id);
  AppendName(object, text, name);
}

/// Units: KiB, as in `NetStream`.
void AppendTraffic(ObjectWriter& object, std::string& text, const NetStream& stream) {
  object.Begin(json_key::kIn);
  AppendInteger(text, static_cast<std::int64_t>(stream.in));
  object.Begin(json_key::kOut);
  AppendInteger(text, static_cast<std::int64_t>(stream.out));
  object.Begin(json_key::kTotal);
  AppendInteger(text, static_cast<std::int64_t>(stream.in + stream.out));
}

void AppendClients(ObjectWriter& object, std::string& text, const ClientCount& count) {
  object.Begin(json_key::kClients);
  AppendInteger(text, count.count);
}

const std::string& HostName(const DeviceInfos& infos, const std::string& mac) {
  static const std::string unknown;
  const auto found = infos.find(mac);
  return found == infos.end() ? unknown : found->second.hostname;
}

/// Makes a list, which is an empty array, serialise as its entries, each an object that `append` fills.
template <typename Entries, typename AppendEntry>
void Fill(const JsonTree& list, const Entries& entries, AppendEntry append) {
  std::string text;
  ArrayWriter array(text);
  for (const auto* entry : entries) {
    array.Begin();
    ObjectWriter object(text);
    append(object, text, *entry);
    object.Close();
  }
  array.Close();
  SerialiseAs(list, std::make_shared<const std::string>(std::move(text)));
}

void FillLists(const MessageParts& parts, const Selection& selection, const DeviceInfos& infos) {
  Fill(parts.access_point_traffic, selection.device_traffic, [&](auto& object, auto& text, const NetStream& device) {
    AppendIdAndName(object, text, device.name, HostName(infos, device.name));
    AppendTraffic(object, text, device);
  });
  Fill(parts.access_point_clients, selection.device_clients, [&](auto& object, auto& text, const ClientCount& device) {
    AppendIdAndName(object, text, device.name, HostName(infos, device.name));
    AppendClients(object, text, device);
  });
  Fill(parts.network_traffic, selection.ssid_traffic, [](auto& object, auto& text, const NetStream& ssid) {
    AppendName(object, text, ssid.name);
    AppendTraffic(object, text, ssid);
  });
  Fill(parts.network_clients, selection.ssid_clients, [](auto& object, auto& text, const ClientCount& ssid) {
    AppendName(object, text, ssid.name);
    AppendClients(object, text, ssid);
  });
  Fill(parts.client_traffic, selection.client_traffic, [](auto& object, auto& text, const NetStream& client) {
    AppendIdAndName(object, text, client.name, client.desc.empty() ? DeviceName(client.name) : client.desc);
    AppendTraffic(object, text, client);
  });
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
