#include "monitor/reports/network/network_collect.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "monitor/engine/band_names.h"
#include "monitor/engine/ssid_configurations.h"
#include "monitor/reports/network/network_keys.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

using models::controller::NeighboringAP;
using models::controller::RadioIfState;
using models::controller::SSIDCfg;
using models::controller::SSIDIfState;
using models::controller::WIFIBandType;

/// Whether an SSID interface has a name and counters; logs what it lacks, or its counters.
bool HasCounters(const std::string& mac, const std::string& interface, const SSIDIfState& state) {
  if (state.ssid.empty()) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, SSID name is empty", mac.c_str(),
                  interface.c_str());
    return false;
  }
  if (state.traffic == nullptr) {
    pel_log_debug(log_module::kMonitor,
                  "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, traffic statistics is empty",
                  mac.c_str(), interface.c_str());
    return false;
  }
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, inOctets: %llu,outOctets: %llu",
                mac.c_str(), interface.c_str(), static_cast<unsigned long long>(state.traffic->in_bytes),
                static_cast<unsigned long long>(state.traffic->out_bytes));
  return true;
}

bool IsKnownBand(const std::string& mac, WIFIBandType band) {
  if (*monitoring::BandName(band, "") != '\0') return true;
  pel_log_error(log_module::kMonitor,
                "[WirelessNetworkReport::CollectOneSSID] Device: %s, radio type is empty. WIFIBandType type: %d",
                mac.c_str(), static_cast<int>(band));
  return false;
}

const SSIDCfg* FindConfiguration(const std::string& mac, const std::string& ssid, const std::string& radio,
                                 const SSIDConfigurations& configurations) {
  const SSIDCfg* found = monitoring::ConfigurationFor(configurations, ssid, radio);
  if (found == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::CollectOneSSID] Device: %s, SSID config is empty.",
                  mac.c_str());
  }
  return found;
}

}  // namespace

std::vector<NetworkReading> ReadSSIDs(const std::string& mac, const Device& device,
                                      const SSIDConfigurations& configurations) {
  const auto interfaces = device.shared_ssid_interfaces_state();
  std::map<std::string, RadioIfState> radios;
  device.get_radio_interfaces_state(radios);
  const time_t polled_at = device.if_state_polling_time();

  std::vector<NetworkReading> readings;
  readings.reserve(interfaces->size());
  std::string radio;
  for (const auto& [interface, state] : *interfaces) {
    if (!HasCounters(mac, interface, state)) continue;
    radio.clear();
    device.get_ssid_radio(interface, radio);
    // A radio that is not listed is made here with an unknown band.
    const WIFIBandType band = radios[radio].band;
    if (!IsKnownBand(mac, band)) continue;
    const SSIDCfg* configuration = FindConfiguration(mac, state.ssid, radio, configurations);
    if (configuration == nullptr) continue;
    readings.push_back(
        {.name = state.ssid,
         .security_mode = configuration->security_mode,
         .is_guest = configuration->guest,
         .band = band,
         .clients = static_cast<std::uint32_t>(std::max(0, state.client_count)),  // below 0: nobody
         .counters = {.in = state.traffic->in_bytes, .out = state.traffic->out_bytes, .polled_at = polled_at}});
  }
  return readings;
}

Networks SampleOf(const std::string& mac, const NetworkReading& reading) {
  Networks sample;
  sample.attributes.name = reading.name;
  sample.attributes.security_mode = reading.security_mode;
  sample.attributes.radio_type = monitoring::BandName(reading.band, "");
  sample.attributes.device_mac = mac;
  sample.attributes.guest = reading.is_guest ? 1 : 0;
  sample.measured.client.current = reading.clients;
  sample.measured.traffic.inOctets = reading.counters.in;
  sample.measured.traffic.outOctets = reading.counters.out;
  sample.measured.traffic.polling_time = reading.counters.polled_at;
  return sample;
}

Hearing ReadScan(const std::string& mac, const Device& device) {
  Hearing hearing{.mac = mac, .hostname = {}, .time = time(nullptr), .heard = device.neighboring_ap_tbl()};
  if (!hearing.heard.empty()) hearing.hostname = device.basic_info().hostname;
  return hearing;
}

RogueAPs RogueOf(const Hearing& hearing, const NeighboringAP& heard) {
  RogueAPs rogue;
  rogue.mac = heard.mac;
  rogue.ssid = heard.ssid;
  rogue.channel = heard.channel;
  rogue.radio_type = monitoring::BandName(heard.band, "");
  rogue.signal_strength = heard.signal;
  rogue.first_seen = hearing.time;
  rogue.last_seen = hearing.time;
  rogue.seen_by[hearing.mac] = hearing.hostname;
  return rogue;
}

Scan ScanOf(const Hearing& hearing) {
  Scan scan{.mac = hearing.mac, .hostname = hearing.hostname, .entries = {}};
  for (const NeighboringAP& heard : hearing.heard) {
    scan.entries.push_back({.record = RogueOf(hearing, heard), .is_trusted = heard.trusted != 0});
  }
  return scan;
}

monitoring::SharedConfigurations ReadConfigurations(const std::string& mac) {
  const auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo(mac, false);
  const auto info = infos.find(mac);
  return info == infos.end() ? monitoring::NoConfigurations() : monitoring::ConfigurationsOf(mac, info->second.type);
}

bool ReadAccessPointInfo(const std::string& mac, NetworksAttr& info) {
  const auto basic = DeviceManager::GetInstance().GetDevicesBasicInfo(mac, false);
  if (basic.size() != 1) return false;  // unknown; an empty MAC would give every device
  const auto platform = DeviceManager::GetInstance().GetDevicePlatformInfo(mac, false);
  info.apname = basic.begin()->second.hostname;
  if (platform.size() == 1) {
    info.model = platform.begin()->second.model;
    info.version = platform.begin()->second.version;
  }
  return true;
}

}  // namespace vexora_probe::monitor
