#pragma once

#include <map>
#include <string>
#include <vector>

#include "monitor/engine/json_tree.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/device_records.h"

namespace monitoring::wirelesstop {

using DeviceInfos = std::map<std::string, vexora_probe::models::controller::BasicInfo>;  ///< By device MAC.
using TopStreamList = std::vector<const NetStream*>;
using TopCountList = std::vector<const ClientCount*>;

/// The body of a message and its five lists, made before any of them is filled.
struct MessageParts {
  JsonTree root = NewObject();
  JsonTree access_point_traffic = NewArray();
  JsonTree access_point_clients = NewArray();
  JsonTree network_traffic = NewArray();
  JsonTree network_clients = NewArray();
  JsonTree client_traffic = NewArray();
};

/// Whether the heap gave all parts.
bool AreAllocated(const MessageParts& parts);

/// Fill a list: access points by MAC and host name, networks by SSID, clients by MAC and name.
void AppendAccessPoints(const JsonTree& list, const TopStreamList& top, const DeviceInfos& infos);
void AppendAccessPoints(const JsonTree& list, const TopCountList& top, const DeviceInfos& infos);
void AppendNetworks(const JsonTree& list, const TopStreamList& top);
void AppendNetworks(const JsonTree& list, const TopCountList& top);
/// Asks the host for the name of a managed device where a client has none of its own.
void AppendClients(const JsonTree& list, const TopStreamList& top);

/// The body with the lists in their places.
JsonTree Assembled(MessageParts parts);

}  // namespace monitoring::wirelesstop
