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

/// Reads the counters of an SSID interface. Returns whether it has a name and counters at all.
bool ReadCounters(const std::string& mac, const std::string& interface, const SSIDIfState& state, Networks& sample) {
  sample.attributes.name = state.ssid;
  sample.measured.client.current = static_cast<std::uint32_t>(std::max(0, state.client_count));  // below 0: nobody
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
  sample.measured.traffic.inOctets = state.traffic->in_bytes;
  sample.measured.traffic.outOctets = state.traffic->out_bytes;
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectOneSSID] Device: %s, interface: %s, inOctets: %llu,outOctets: %llu",
                mac.c_str(), interface.c_str(), static_cast<unsigned long long>(state.traffic->in_bytes),
                static_cast<unsigned long long>(state.traffic->out_bytes));
  return true;
}

bool ReadBand(const std::string& mac, WIFIBandType band, Networks& sample) {
  sample.attributes.radio_type = monitoring::BandName(band, "");
  if (!sample.attributes.radio_type.empty()) return true;
  pel_log_error(log_module::kMonitor,
                "[WirelessNetworkReport::CollectOneSSID] Device: %s, radio type is empty. WIFIBandType type: %d",
                mac.c_str(), static_cast<int>(band));
  return false;
}

bool ReadConfiguration(const std::string& mac, const std::string& radio, const SSIDConfigurations& configurations,
                       Networks& sample) {
  const SSIDCfg* found = monitoring::ConfigurationFor(configurations, sample.attributes.name, radio);
  if (found == nullptr) {
    pel_log_error(log_module::kMonitor, "[WirelessNetworkReport::CollectOneSSID] Device: %s, SSID config is empty.",
                  mac.c_str());
    return false;
  }
  sample.attributes.device_mac = mac;
  sample.attributes.security_mode = found->security_mode;
  sample.attributes.guest = found->guest ? 1 : 0;
  return true;
}

}  // namespace

std::vector<Networks> ReadSSIDs(const std::string& mac, const Device& device,
                                const SSIDConfigurations& configurations) {
  std::map<std::string, SSIDIfState> interfaces;
  device.get_ssid_interfaces_state(interfaces);
  std::map<std::string, RadioIfState> radios;
  device.get_radio_interfaces_state(radios);
  const time_t polling_time = device.if_state_polling_time();

  std::vector<Networks> samples;
  for (const auto& [interface, state] : interfaces) {
    Networks sample;
    sample.measured.traffic.polling_time = polling_time;
    if (!ReadCounters(mac, interface, state, sample)) continue;
    std::string radio;
    device.get_ssid_radio(interface, radio);
    // A radio that is not listed is made here with an unknown band, which ReadBand refuses.
    if (!ReadBand(mac, radios[radio].band, sample)) continue;
    if (!ReadConfiguration(mac, radio, configurations, sample)) continue;
    samples.push_back(std::move(sample));
  }
  return samples;
}

Scan ReadScan(const std::string& mac, const Device& device) {
  Scan scan{.mac = mac, .hostname = device.basic_info().hostname, .entries = {}};
  for (const NeighboringAP& heard : device.neighboring_ap_tbl()) {
    ScanEntry& entry = scan.entries.emplace_back();
    entry.record.mac = heard.mac;
    entry.record.ssid = heard.ssid;
    entry.record.channel = heard.channel;
    entry.record.signal_strength = heard.signal;
    entry.record.radio_type = monitoring::BandName(heard.band, "");
    entry.record.seen_by[scan.mac] = scan.hostname;
    entry.is_trusted = heard.trusted != 0;
  }
  return scan;
}

SSIDConfigurations ReadConfigurations(const std::string& mac) {
  const auto infos = DeviceManager::GetInstance().GetDevicesBasicInfo(mac, false);
  const auto info = infos.find(mac);
  return info == infos.end() ? SSIDConfigurations{} : monitoring::ConfigurationsOf(mac, info->second.type);
}

AccessPointInfos ReadAccessPointInfos(const std::vector<std::string>& macs) {
  AccessPointInfos known;
  for (const std::string& mac : macs) {
    const auto basic = DeviceManager::GetInstance().GetDevicesBasicInfo(mac, false);
    if (basic.size() != 1) continue;  // unknown; an empty MAC would give every device
    const auto platform = DeviceManager::GetInstance().GetDevicePlatformInfo(mac, false);
    NetworksAttr& info = known[mac];
    info.apname = basic.begin()->second.hostname;
    if (platform.size() != 1) continue;
    info.model = platform.begin()->second.model;
    info.version = platform.begin()->second.version;
  }
  return known;
}

}  // namespace vexora_probe::monitor
