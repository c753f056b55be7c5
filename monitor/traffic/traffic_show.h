#pragma once

#include <cstddef>
#include <string>

#include "monitor/traffic/traffic_records.h"

namespace monitoring::traffic {

/// The JSON text of the devices of a traffic message, all or only `mac`, as they are in the view of number `view`:
/// device MAC -> (interface display name -> `{"ifIndex", "traffic"}`). A device without members is left out.
///
/// An interface without a name, without samples or with nothing but zero samples is left out. A `mac` adds the members
/// of its credential result, for which the host is asked. Every sample is logged at debug level.
std::string TrafficData(const Devices& devices, std::size_t view, const std::string& mac);

}  // namespace monitoring::traffic
