#pragma once

#include <map>
#include <string>

#include "monitor/reports/network/network_records.h"

/// Conversions between maps of plain measurements and maps of described things. Entries of the same key are replaced,
/// others stay.
namespace vexora_probe::monitor {

using Measurements = std::map<std::string, AccessPoints>;
using NestedMeasurements = std::map<std::string, Measurements>;

/// Copies what is measured; the descriptions are left at their defaults.
void AccessPointsToNetworksStruct(const Measurements& from, Records& to);
void AccessPointsToNetworksStruct(const NestedMeasurements& from, Buckets& to);

/// Copies what is measured; the descriptions are dropped.
void NetworksStructToAccessPoints(const Records& from, Measurements& to);
void NetworksStructToAccessPoints(const Buckets& from, NestedMeasurements& to);

/// Sets the octet counters of `access_point` to the sums over its interfaces.
void TrafficStructDe(const std::string& id, const std::map<std::string, TrafficCount>& interfaces,
                     AccessPoints& access_point);

/// Describes the record under `key`, made when there is none, anew; what is measured of it stays.
void UpdateNetworkAttr(Records& records, const std::string& key, const NetworksAttr& attributes);

}  // namespace vexora_probe::monitor
