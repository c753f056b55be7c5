#pragma once

#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// One device of a traffic message: interface display name -> `{"ifIndex", "traffic"}`.
///
/// An interface without a name, without samples or with nothing but zero samples is left out; `indexes` may be null,
/// and an interface that it lacks has ifIndex 0. Every sample is logged at debug level.
JsonTree DeviceObject(const std::string& mac, const InterfaceHistories& histories, const InterfaceIndexes* indexes);

}  // namespace monitoring::traffic
