#pragma once

#include <map>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/reports/network/network_records.h"

/// The records of one bucket as JSON.
namespace vexora_probe::monitor {

/// Rogue access points: an array of one object each. One without a MAC is left out and logged at error level.
monitoring::JsonTree RogueAPsArray(const RogueRecords& bucket);

/// The access points that hear one: MAC -> host name. An entry without either is left out; each of the others is logged
/// at error level.
monitoring::JsonTree SeenByObject(const std::map<std::string, std::string>& seen_by);

/// Access points: MAC -> clients, traffic, name, model and firmware.
monitoring::JsonTree AccessPointsObject(const Records& bucket);

/// Networks: an array of one object each. One without a name is left out and logged at info level.
monitoring::JsonTree SSIDsArray(const Records& bucket);

/// Bands: band -> clients and traffic.
monitoring::JsonTree SpectrumsObject(const Records& bucket);

/// The available days and weeks.
monitoring::JsonTree PeriodsObject(const Report& report);

}  // namespace vexora_probe::monitor
