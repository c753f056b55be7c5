#pragma once

#include <map>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/device_records.h"

namespace monitoring::wirelesstop {

using DeviceInfos = std::map<std::string, vexora_probe::models::controller::BasicInfo>;  ///< By device MAC.

/// The body of a message and its five lists, made before any of them is filled.
struct MessageParts {
  JsonTree root = TryNewObject();
  JsonTree access_point_traffic = TryNewArray();
  JsonTree access_point_clients = TryNewArray();
  JsonTree network_traffic = TryNewArray();
  JsonTree network_clients = TryNewArray();
  JsonTree client_traffic = TryNewArray();
};

/// Whether none of the allocations failed.
bool AreAllocated(const MessageParts& parts);

/// The body with the selected entries, which are texts, in its lists: access points by MAC and host name, networks by
/// SSID, clients by MAC and name.
///
/// Asks the device centre for the name of a managed device where a client has none of its own.
JsonTree MessageBody(MessageParts parts, const Selection& selection, const DeviceInfos& infos);

}  // namespace monitoring::wirelesstop
