#include "monitor/reports/network/conversion.h"

namespace vexora_probe::monitor {

void AccessPointsToNetworksStruct(const Measurements& from, Records& to) {
  for (const auto& [key, measured] : from) to[key] = Networks{.attributes = {}, .measured = measured};
}

void AccessPointsToNetworksStruct(const NestedMeasurements& from, Buckets& to) {
  for (const auto& [key, inner] : from) AccessPointsToNetworksStruct(inner, to[key]);
}

void NetworksStructToAccessPoints(const Records& from, Measurements& to) {
  for (const auto& [key, record] : from) to[key] = record.measured;
}

void NetworksStructToAccessPoints(const Buckets& from, NestedMeasurements& to) {
  for (const auto& [key, inner] : from) NetworksStructToAccessPoints(inner, to[key]);
}

void TrafficStructDe(const std::string& /*id*/, const std::map<std::string, TrafficCount>& interfaces,
                     AccessPoints& access_point) {
  std::map<std::string, TrafficInOut> octets;
  for (const auto& [interface, traffic] : interfaces) octets[interface] = {traffic.inOctets, traffic.outOctets};
  access_point.traffic.inOctets = 0;
  access_point.traffic.outOctets = 0;
  SumTrafficInOut(octets, access_point.traffic.inOctets, access_point.traffic.outOctets);
}

void UpdateNetworkAttr(Records& records, const std::string& key, const NetworksAttr& attributes) {
  records[key].attributes = attributes;
}

}  // namespace vexora_probe::monitor
