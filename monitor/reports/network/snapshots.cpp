#include "monitor/reports/network/snapshots.h"

#include "monitor/reports/network/network_keys.h"
#include "platform/logging.h"

namespace vexora_probe::monitor {
namespace {

/// Called with each minute of an ID that a sample was added to, and the sums there.
using MinuteLog = void (*)(const std::string& id, const std::string& minute, const AccessPoints& sum);

/// Adds clients and speeds, minute by minute. Both maps are in the same order, so they are walked side by side.
void AddSamples(const std::string& id, const Samples& samples, MinuteLog log, Samples& sums) {
  auto at = sums.begin();
  for (const auto& [minute, sample] : samples) {
    while (at != sums.end() && at->first < minute) ++at;
    if (at == sums.end() || at->first != minute) at = sums.try_emplace(at, minute);
    AccessPoints& sum = at->second.measured;
    sum.client.current += sample.measured.client.current;
    sum.traffic.average += sample.measured.traffic.average;
    log(id, minute, sum);
  }
}

/// The SSID key of a network on a band.
std::string WithoutRadio(const std::string& ssid_key_with_radio) {
  std::string key;
  RemoveRadioTypeFromSSIDKey(ssid_key_with_radio, key);
  NetworksAttr network;
  bool guest = false;
  GetAttributeFromKey(key, network.name, network.security_mode, guest);
  std::string rebuilt = SSIDKey(network.name, network.security_mode, guest);
  pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectSSIDs] new ssid key: %s", rebuilt.c_str());
  return rebuilt;
}

void LogSSID(const std::string& id, const std::string& minute, const AccessPoints& sum) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectSSIDs] Minsutes: %s, ssid: %s, client count(current): %u, traffic "
                "average: %f",
                minute.c_str(), id.c_str(), static_cast<unsigned>(sum.client.current), sum.traffic.average);
}

void LogAccessPoint(const std::string& id, const std::string& minute, const AccessPoints& sum) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectAccessPoints] ID: %s, Minsutes: %s, client count(current): %u, traffic "
                "average: %f",
                id.c_str(), minute.c_str(), static_cast<unsigned>(sum.client.current), sum.traffic.average);
}

void LogSpectrum(const std::string& id, const std::string& minute, const AccessPoints& sum) {
  pel_log_debug(log_module::kMonitor,
                "[WirelessNetworkReport::CollectSpectrums] ID: %s, Minsutes: %s, client count(current): %u, traffic "
                "average: %f",
                id.c_str(), minute.c_str(), static_cast<unsigned>(sum.client.current), sum.traffic.average);
}

}  // namespace

DaySamples SumBySSID(const DeviceDaySamples& devices) {
  DaySamples sums;
  for (const auto& [mac, networks] : devices) {
    if (networks.empty()) {
      pel_log_debug(log_module::kMonitor, "[WirelessNetworkReport::CollectSSIDs] Device: %s, ssid is empty",
                    mac.c_str());
    }
    for (const auto& [key, samples] : networks) {
      if (samples.empty()) continue;
      const std::string id = WithoutRadio(key);
      AddSamples(id, samples, &LogSSID, sums[id]);
    }
  }
  return sums;
}

DaySamples SumByAccessPoint(const DeviceDaySamples& devices) {
  DaySamples sums;
  for (const auto& [mac, networks] : devices) {
    for (const auto& [key, samples] : networks) {
      if (!samples.empty()) AddSamples(mac, samples, &LogAccessPoint, sums[mac]);
    }
  }
  return sums;
}

DaySamples SumBySpectrum(const DeviceDaySamples& devices) {
  DaySamples sums;
  for (const auto& [mac, networks] : devices) {
    for (const auto& [key, samples] : networks) {
      if (samples.empty()) continue;
      const std::string& band = samples.begin()->second.attributes.radio_type;  // the key's, so that of all of them
      AddSamples(band, samples, &LogSpectrum, sums[band]);
    }
  }
  return sums;
}

}  // namespace vexora_probe::monitor
