// Those operations of the wireless network report that do their work in one of its rooms, and nothing beside.

#include "monitor/engine/ssid_configurations.h"
#include "monitor/reports/network/network_client_counts.h"
#include "monitor/reports/network/network_fold.h"
#include "monitor/reports/network/network_keys.h"
#include "monitor/reports/network/network_rogues.h"
#include "monitor/reports/network/network_traffic.h"
#include "monitor/reports/network/wireless_network_report.h"

namespace vexora_probe::monitor {

using models::controller::SecModeType;
using models::controller::SSIDCfg;

void WirelessNetworkReport::RemoveRadioTypeFromSSIDKey(const std::string& ssid_key, std::string& out) {
  monitor::RemoveRadioTypeFromSSIDKey(ssid_key, out);
}

bool WirelessNetworkReport::GetAttributeFromKey(const std::string& ssid_key, std::string& name, SecModeType& mode,
                                                bool& guest) {
  return monitor::GetAttributeFromKey(ssid_key, name, mode, guest);
}

bool WirelessNetworkReport::GetStartEndTimeOfWeek(const std::string& week, std::string& start, std::string& end) {
  return monitor::GetStartEndTimeOfWeek(week, start, end);
}

void WirelessNetworkReport::UpdateNetworkAttr(Records& records, const std::string& key,
                                              const NetworksAttr& attributes) {
  monitor::UpdateNetworkAttr(records, key, attributes);
}

void WirelessNetworkReport::AccessPointsToNetworksStruct(const Measurements& from, Records& to) {
  monitor::AccessPointsToNetworksStruct(from, to);
}

void WirelessNetworkReport::AccessPointsToNetworksStruct(const NestedMeasurements& from, Buckets& to) {
  monitor::AccessPointsToNetworksStruct(from, to);
}

void WirelessNetworkReport::NetworksStructToAccessPoints(const Records& from, Measurements& to) {
  monitor::NetworksStructToAccessPoints(from, to);
}

void WirelessNetworkReport::NetworksStructToAccessPoints(const Buckets& from, NestedMeasurements& to) {
  monitor::NetworksStructToAccessPoints(from, to);
}

void WirelessNetworkReport::TrafficStructDe(const std::string& id,
                                            const std::map<std::string, TrafficCount>& interfaces,
                                            AccessPoints& access_point) {
  monitor::TrafficStructDe(id, interfaces, access_point);
}

void WirelessNetworkReport::GetSSIDCfgs(const std::string& device_mac, SSIDConfigurations& configurations) {
  configurations = ReadConfigurations(device_mac);
}

bool WirelessNetworkReport::GetSSIDCfg(const std::string& ssid, const std::string& radio,
                                       const SSIDConfigurations& configurations, SSIDCfg& chosen) {
  const SSIDCfg* found = monitoring::ConfigurationFor(configurations, ssid, radio);
  if (found != nullptr) chosen = *found;
  return found != nullptr;
}

void WirelessNetworkReport::CalculateClientCountData(const std::string& id, const Samples& samples,
                                                     const std::string& day, const std::string& week, Buckets& daily,
                                                     Buckets& weekly) const {
  const ReportTime time = TimeOf(day, week);
  RecordClientCounts(id, samples, time, daily);
  FoldClientCounts(time, daily, weekly);
}

void WirelessNetworkReport::CalculateTrafficData(const std::string& id, Samples& samples, const std::string& day,
                                                 const std::string& week, Buckets& daily, Buckets& weekly) const {
  const ReportTime time = TimeOf(day, week);
  if (RecordSpeed(id, samples, time, daily)) FoldSpeeds(id, time, daily, weekly);
}

void WirelessNetworkReport::CalculateSSIDsDailyTraffic(Report& report, const Snapshot& snapshot,
                                                       const std::string& day) const {
  RecordDailySpeeds(report, snapshot, TimeOf(day, {}), kSSIDs.log_speed);
}

void WirelessNetworkReport::CalculateAccesspointsDailyTraffic(Report& report, const Snapshot& snapshot,
                                                              const std::string& day) const {
  RecordDailySpeeds(report, snapshot, TimeOf(day, {}), kAccessPoints.log_speed);
}

void WirelessNetworkReport::CalculateSpectrumDailyTraffic(Report& report, const Snapshot& snapshot,
                                                          const std::string& day) const {
  RecordDailySpeeds(report, snapshot, TimeOf(day, {}), kSpectrums.log_speed);
}

void WirelessNetworkReport::CalculateWeeklyTraffic(Report& report, const std::string& day,
                                                   const std::string& week) const {
  FoldWeeklySpeeds(report, TimeOf(day, week));
}

double WirelessNetworkReport::GetAverageSignalStrength(const std::map<std::string, RogueAPs>& sightings,
                                                       const bool& daily) {
  return monitor::GetAverageSignalStrength(sightings, daily);
}

}  // namespace vexora_probe::monitor
