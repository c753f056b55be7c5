#pragma once

#include <string>

#include "monitor/engine/json_tree.h"

namespace monitoring {

/// Adds the members of a device's credential result, if it has one, to `object`. Each is logged at debug level.
///
/// `monitor_class` is the class name that the log line carries. Asks the host with `DeviceCredentialResultGet`.
void AddCredentialMembers(const JsonTree& object, const std::string& mac, const char* monitor_class);

}  // namespace monitoring
