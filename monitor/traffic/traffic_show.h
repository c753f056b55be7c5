#pragma once

#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// The devices of a traffic message, all or only `mac`: device MAC -> (interface display name -> `{"ifIndex",
/// "traffic"}`). A device without members is left out.
///
/// An interface without a name, without samples or with nothing but zero samples is left out; one that `indexes` lacks
/// has ifIndex 0. A `mac` adds the members of its credential result, for which the host is asked. Every sample is
/// logged at debug level.
JsonTree TrafficData(const DeviceHistories& devices, const std::string& mac, const DeviceIndexes& indexes);

}  // namespace monitoring::traffic
