#include <cstdio>
#include <iomanip>
#include <sstream>

#include "monitor/reports/network/network_fold.h"
#include "monitor/reports/network/network_host.h"
#include "monitor/reports/network/network_keys.h"
#include "monitor/reports/network/network_retention.h"
#include "monitor/reports/network/network_rogues.h"
#include "tests/monitor/reports/network/literal_report.h"

namespace test {
namespace {

using vexora_probe::monitor::Clients;
using vexora_probe::monitor::NetworkReport;
using vexora_probe::monitor::Networks;
using vexora_probe::monitor::NetworksAttr;
using vexora_probe::monitor::ReportTime;
using vexora_probe::monitor::RogueAPs;
using vexora_probe::monitor::TrafficCount;

/// The exact value of a real. Not-a-numbers are all one.
std::string Exact(double value) {
  if (value != value) return "nan";
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return text;
}

// The bindings name every field: a new one doesn't compile before it is told here.

void Write(std::ostream& out, const NetworksAttr& attributes) {
  const auto& [name, security_mode, radio_type, device_mac, guest, apname, model, version] = attributes;
  out << std::quoted(name) << " " << static_cast<int>(security_mode) << " " << radio_type << " " << device_mac << " "
      << guest << " " << std::quoted(apname) << " " << std::quoted(model) << " " << std::quoted(version);
}

void Write(std::ostream& out, const Clients& clients) {
  const auto& [current, item] = clients;
  const auto& [peak, total, average] = item;
  out << " clients " << current << " " << peak << " " << total << " " << Exact(average);
}

void Write(std::ostream& out, const TrafficCount& traffic) {
  const auto& [peak, average, total, in, out_octets, polling_time, time_delta, delta_octets] = traffic;
  out << " traffic " << Exact(peak) << " " << Exact(average) << " " << Exact(total) << " " << in << " " << out_octets
      << " " << polling_time << " " << time_delta << " " << delta_octets;
}

void Write(std::ostream& out, const Networks& record) {
  const auto& [attributes, measured] = record;
  const auto& [clients, traffic] = measured;
  Write(out, attributes);
  Write(out, clients);
  Write(out, traffic);
}

void Write(std::ostream& out, const RogueAPs& rogue) {
  const auto& [mac, ssid, first_flag, second_flag, channel, radio_type, signal, average, spare, first_seen, last_seen,
               total_time, seen_by] = rogue;
  out << mac << " " << std::quoted(ssid) << " " << first_flag << " " << second_flag << " " << channel << " "
      << radio_type << " " << Exact(signal) << " " << Exact(average) << " " << spare << " " << first_seen << " "
      << last_seen << " " << total_time << " seen by";
  for (const auto& [hearer, name] : seen_by) out << " " << hearer << "=" << std::quoted(name);
}

template <typename Record>
void Walk(std::ostream& out, const std::string& path, const Record& record) {
  out << path << ": ";
  Write(out, record);
  out << "\n";
}

// Empty maps on the way say nothing, so only records are told.
template <typename Inner>
void Walk(std::ostream& out, const std::string& path, const std::map<std::string, Inner>& map) {
  for (const auto& [key, inner] : map) Walk(out, path + " > " + key, inner);
}

}  // namespace

std::string Dump(const NetworkReport& report) {
  std::ostringstream out;
  Walk(out, "device samples", report.device_ssid_samples);
  Walk(out, "device report", report.device_ssid_report);
  Walk(out, "rogue samples", report.rogue_samples);
  Walk(out, "rogue report", report.rogue_report);
  Walk(out, "ssid snapshot", report.ssid_snapshot);
  Walk(out, "ssid report", report.ssid_report);
  Walk(out, "access-point snapshot", report.access_point_snapshot);
  Walk(out, "access-point report", report.access_point_report);
  Walk(out, "spectrum snapshot", report.spectrum_snapshot);
  Walk(out, "spectrum report", report.spectrum_report);
  return out.str();
}

void MonitorPass(const std::vector<DeviceReading>& devices, long now, bool is_clock_back, const ReportTime& time,
                 NetworkReport& report) {
  using namespace vexora_probe::monitor;
  const bool is_changed = ClearOtherSnapShot(time.day, now, kHost, report) || is_clock_back;
  CleaRedundantSampleData(time.day, time.week, is_changed, kHost, report);
  for (const DeviceReading& device : devices) {
    if (!device.heard.empty()) RecordScan(ScanOf(device.hearing), now, time, kHost, report);
    for (const NetworkReading& reading : device.ssids) {
      const Networks sample = SampleOf(device.mac, reading);
      report.device_ssid_samples[time.day][device.mac][SSIDKeyWithRadio(sample.attributes)][MinuteKey(now)] = sample;
    }
  }
  RadioDeltas deltas;
  FoldDevices(time, kHost, report, deltas);
  FoldFamily(kSSIDs, time, kHost, report);
  FoldFamily(kAccessPoints, time, kHost, report);
  FoldFamily(kSpectrums, time, kHost, report);
}

}  // namespace test
