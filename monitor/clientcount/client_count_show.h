#pragma once

#include <string>

#include "monitor/clientcount/client_count_records.h"
#include "monitor/engine/json_tree.h"

namespace monitoring::clientcount {

/// Adds a series to an object: the minute since the epoch, in decimal -> the count.
void AddSamples(const JsonTree& object, const Series& series);

/// A series as an object of its own.
JsonTree SamplesObject(const Series& series);

/// SSID -> `{"count"}`.
JsonTree CurrentSsidsObject(const CountById& counts);

/// Device MAC -> (SSID -> `{"ssid", "count"}`).
JsonTree CurrentDevicesObject(const CurrentCounts& counts);

}  // namespace monitoring::clientcount
