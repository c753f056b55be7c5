#include <cstdio>
#include <sstream>

#include "monitor/reports/network/families.h"
#include "monitor/reports/network/keys.h"
#include "monitor/reports/network/retention.h"
#include "tests/monitor/reports/network/literal_report.h"

namespace test {
namespace {

using vexora_probe::monitor::NetworkReport;
using vexora_probe::monitor::Networks;
using vexora_probe::monitor::ReportTime;
using vexora_probe::monitor::RogueAPs;

/// The exact value of a real. Not-a-numbers are all one.
std::string Exact(double value) {
  if (value != value) return "nan";
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return text;
}

void Write(std::ostream& out, const Networks& record) {
  const auto& [client, traffic] = record.measured;
  out << record.attributes.name << " " << static_cast<int>(record.attributes.security_mode) << " "
      << record.attributes.radio_type << " " << record.attributes.device_mac << " " << record.attributes.guest
      << " clients " << client.current << " " << client.item.peak << " " << client.item.total << " "
      << Exact(client.item.average) << " traffic " << Exact(traffic.peak) << " " << Exact(traffic.average) << " "
      << Exact(traffic.average_speed_total) << " " << traffic.inOctets << " " << traffic.outOctets << " "
      << traffic.polling_time << " " << traffic.time_delta << " " << traffic.delta_octets;
}

void Write(std::ostream& out, const RogueAPs& rogue) {
  out << rogue.GetKey() << " " << Exact(rogue.signal_strength) << " " << Exact(rogue.average_strength) << " "
      << rogue.first_seen << " " << rogue.last_seen << " " << rogue.total_time << " seen by";
  for (const auto& [mac, name] : rogue.seen_by) out << " " << mac << "=" << name;
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
  const bool is_changed = ClearOtherSnapShot(time.day, now, report) || is_clock_back;
  CleaRedundantSampleData(time.day, time.week, is_changed, report);
  for (const DeviceReading& device : devices) {
    if (!device.scan.heard.empty()) RecordScan(device.scan, now, time, report);
    for (const Networks& sample : device.ssids) {
      report.device_ssid_samples[time.day][device.mac][SSIDKeyWithRadio(sample.attributes)][MinuteKey(now)] = sample;
    }
  }
  RadioDeltas deltas;
  FoldDevices(time, report, deltas);
  FoldFamily(kSSIDs, time, report);
  FoldFamily(kAccessPoints, time, report);
  FoldFamily(kSpectrums, time, report);
}

}  // namespace test
