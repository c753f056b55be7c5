#include "monitor/reports/network/network_debug_report.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "monitor/engine/band_names.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/counters.h"
#include "monitor/reports/network/network_fold.h"
#include "monitor/reports/network/network_host.h"

namespace vexora_probe::monitor {
namespace {

void SetCounters(const CounterReading& counters, TrafficCount& traffic) {
  traffic.inOctets = counters.in;
  traffic.outOctets = counters.out;
  traffic.polling_time = counters.polled_at;
}

NetworksAttr DescriptionOf(const std::string& mac, const std::string& key, const NetworkToday& network) {
  NetworksAttr description;
  description.name = key.substr(0, network.name_length);
  description.security_mode = network.security_mode;
  description.radio_type = monitoring::BandName(network.band, "");
  description.device_mac = mac;
  description.guest = network.is_guest ? 1 : 0;
  return description;
}

Samples SamplesOf(const NetworkToday& network, const NetworksAttr& description,
                  const std::vector<std::int64_t>& minutes) {
  Samples samples;
  for (const CompactSample& kept : network.samples) {
    Networks& sample = samples[std::to_string(minutes[kept.Pass()])];
    sample.attributes = description;
    sample.measured.client.current = kept.Clients();
    sample.measured.traffic.average = kept.Speed();
    sample.measured.traffic.peak = kept.Speed();
  }
  if (samples.empty()) return samples;
  auto at = samples.rbegin();
  TrafficCount& latest = at->second.measured.traffic;
  SetCounters(network.latest, latest);
  if (++at != samples.rend()) SetCounters(network.before, at->second.measured.traffic);
  if (network.has_speed) {
    latest.time_delta =
        monitoring::SaturatedSeconds(monitoring::SecondsBetween(network.before.polled_at, network.latest.polled_at));
    latest.delta_octets = monitoring::CounterIncrease(network.before.in, network.latest.in) +
                          monitoring::CounterIncrease(network.before.out, network.latest.out);
  }
  return samples;
}

Records RecordsOf(const DeviceRecord& device, const DeviceDay& day) {
  Records records;
  for (std::size_t key = 0; key < day.networks.size(); ++key) {
    const NetworkDay& kept = day.networks[key];
    if (!kept.is_present) continue;
    AccessPoints& measured = records[device.keys[key]].measured;
    measured.client.item.total = kept.client_total;
    measured.client.item.peak = kept.client_peak;
    measured.traffic.average_speed_total = kept.speed_total;
    measured.traffic.peak = kept.speed_peak;
  }
  return records;
}

void AddDevices(const SampleStore& store, NetworkReport& report) {
  for (const auto& [mac, device] : store.devices) {
    for (const DeviceDay& day : device.days) {
      report.device_ssid_report[monitoring::kDaily][mac][day.day] = RecordsOf(device, day);
    }
    for (const NetworkToday& network : device.today) {
      if (network.samples.empty()) continue;  // staged by a pass that could not be finished
      const std::string& key = device.keys[network.key];
      report.device_ssid_samples[store.day][mac][key] =
          SamplesOf(network, DescriptionOf(mac, key, network), store.minutes);
    }
  }
}

void AddSightings(const SampleStore& store, NetworkReport& report) {
  for (const auto& [key, rogue] : store.rogues) {
    for (const RogueSum::Sighting& sighting : rogue.sightings) {
      std::int32_t dbm = 0;
      std::memcpy(&dbm, sighting.dbm.data(), sizeof dbm);
      report.rogue_samples[store.day][key][std::to_string(store.rogue_minutes[sighting.pass])].signal_strength = dbm;
    }
  }
}

}  // namespace

std::unique_ptr<NetworkReport> DebugReport(const NetworkReport& reports, const SampleStore& store) {
  auto report = std::make_unique<NetworkReport>();
  report->rogue_report = reports.rogue_report;
  report->access_point_report = reports.access_point_report;
  report->ssid_report = reports.ssid_report;
  report->spectrum_report = reports.spectrum_report;
  if (store.day.empty()) return report;  // before the first pass
  AddDevices(store, *report);
  AddSightings(store, *report);
  const DeviceDaySamples& devices = report->device_ssid_samples[store.day];
  for (const Family* family : {&kSSIDs, &kAccessPoints, &kSpectrums}) {
    ((*report).*family->snapshot)[store.day] = family->sum(devices, kSilent);
  }
  return report;
}

}  // namespace vexora_probe::monitor
