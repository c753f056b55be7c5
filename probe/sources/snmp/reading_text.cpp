#include "probe/sources/snmp/reading_text.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/device_records.h"
#include "probe/text/utf8.h"

namespace probe::snmp {

using vexora_probe::models::controller::DeviceType;
using vexora_probe::models::controller::NeighboringAP;
using vexora_probe::models::controller::WIFIBandType;

namespace {

constexpr std::string_view kUnknown = "-";

/// A device's text: a terminal must not take it for commands.
std::string Printable(const std::string& octets) {
  return octets.empty() ? std::string(kUnknown) : PrintableLine(octets);
}

template <typename Number>
std::string Text(const std::optional<Number>& number) {
  return number ? std::to_string(*number) : std::string(kUnknown);
}

std::string Text(const std::optional<OctetCounter>& counter) {
  return counter ? std::to_string(counter->value) : std::string(kUnknown);
}

std::string Text(WIFIBandType band) {
  switch (band) {
    case WIFIBandType::k2_4GHz:
      return "2.4 GHz";
    case WIFIBandType::k5GHz:
      return "5 GHz";
    default:
      return std::string(kUnknown);
  }
}

std::string Text(DeviceType type) {
  switch (type) {
    case DeviceType::kRouter:
      return "router";
    case DeviceType::kAccessPoint:
      return "access point";
    case DeviceType::kSwitch:
      return "switch";
    default:
      return std::string(kUnknown);
  }
}

/// Rows under a heading, in columns as wide as their widest cell.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> heading) { Add(std::move(heading)); }

  void Add(std::vector<std::string> row) {
    widths_.resize(std::max(widths_.size(), row.size()));
    for (std::size_t cell = 0; cell < row.size(); ++cell) widths_[cell] = std::max(widths_[cell], row[cell].size());
    rows_.push_back(std::move(row));
  }

  std::string Text() const {
    std::string text;
    for (const std::vector<std::string>& row : rows_) {
      std::string line;
      for (std::size_t cell = 0; cell < row.size(); ++cell) {
        line += "  " + row[cell];
        if (cell + 1 < row.size()) line.append(widths_[cell] - row[cell].size(), ' ');
      }
      text += line + '\n';
    }
    return text;
  }

 private:
  std::vector<std::vector<std::string>> rows_;
  std::vector<std::size_t> widths_;
};

std::string SystemText(const SystemReading& system) {
  const std::pair<const char*, std::string> lines[] = {
      {"name", Printable(system.name)},
      {"description", Printable(system.description)},
      {"sysObjectID", Printable(system.object_id)},
      {"type", Text(system.type)},
      {"model", Printable(system.model)},
      {"version", Printable(system.version)},
      {"MAC", Printable(system.mac)},
      {"CPU", system.cpu_percent ? Text(system.cpu_percent) + " %" : std::string(kUnknown)},
      {"sysUpTime", Text(system.sys_uptime_ticks) + " / 100 s"},
      {"hrSystemUptime", Text(system.host_uptime_ticks) + " / 100 s"},
      {"snmpEngineTime", Text(system.engine_seconds) + " s"},
      {"maker's uptime", Text(system.profile_uptime_seconds) + " s"},
  };
  TextTable table({"device"});
  for (const auto& [name, value] : lines) table.Add({name, value});
  return table.Text();
}

/// ifOperStatus in words.
std::string StatusText(std::int32_t status) {
  if (status == vexora_probe::models::controller::kOperStatusUp) return "up";
  return status == kOperStatusUnknown ? "unknown" : "not up";
}

/// How many clients there are by the device's own count, and whether it tells which.
std::string ClientsText(const Reading& reading) {
  std::int64_t clients = 0;
  bool are_counted = reading.ssids && !reading.ssids->empty();
  for (const SsidReading& ssid : reading.ssids.value_or(std::vector<SsidReading>())) {
    are_counted = are_counted && ssid.client_count;
    clients += ssid.client_count.value_or(0);
  }
  const bool are_listed = reading.system.lists_clients && reading.stations;
  if (!are_counted) return are_listed ? "" : "clients: the device does not tell how many\n";
  const std::string text = "clients: " + std::to_string(clients);
  if (!are_listed) return text + "; the device tells how many, not which\n";
  return text + "; the device lists " + std::to_string(reading.stations->size()) + " of them\n";
}

/// "3 radios" and the table, or that there was no answer.
template <typename Record, typename Row>
std::string RecordsText(const std::string& what, const TableReading<Record>& records, std::vector<std::string> heading,
                        const Row& row) {
  if (!records) return what + ": no answer\n";
  std::string text = what + ": " + std::to_string(records->size()) + "\n";
  if (records->empty()) return text;
  TextTable table(std::move(heading));
  for (const Record& record : *records) table.Add(row(record));
  return text + table.Text();
}

}  // namespace

std::string ReadingText(const Reading& reading) {
  std::string text = SystemText(reading.system);
  text += RecordsText("interfaces", reading.interfaces,
                      {"index", "name", "status", "octets in", "octets out", "bit/s", "MAC"},
                      [](const InterfaceReading& interface) -> std::vector<std::string> {
                        return {std::to_string(interface.if_index),
                                Printable(interface.name),
                                StatusText(interface.oper_status),
                                Text(interface.in_octets),
                                Text(interface.out_octets),
                                Text(interface.bits_per_second),
                                Printable(interface.mac)};
                      });
  text += RecordsText("radios", reading.radios, {"name", "band", "channel", "noise dBm", "clients"},
                      [](const RadioReading& radio) -> std::vector<std::string> {
                        return {Printable(radio.name), Text(radio.band), Text(radio.channel), Text(radio.noise_dbm),
                                Text(radio.client_count)};
                      });
  text +=
      RecordsText("SSIDs", reading.ssids, {"name", "SSID", "radio", "BSSID", "clients", "octets in", "octets out"},
                  [](const SsidReading& ssid) -> std::vector<std::string> {
                    return {Printable(ssid.name),    Printable(ssid.ssid), Printable(ssid.radio), Printable(ssid.bssid),
                            Text(ssid.client_count), Text(ssid.in_octets), Text(ssid.out_octets)};
                  });
  text += RecordsText("stations", reading.stations, {"MAC", "network", "name", "signal dBm", "octets in", "octets out"},
                      [](const StationReading& station) -> std::vector<std::string> {
                        return {station.mac,
                                Printable(station.ssid_interface),
                                Printable(station.hostname),
                                Text(station.signal_dbm),
                                Text(station.in_octets),
                                Text(station.out_octets)};
                      });
  text += RecordsText("portal users", reading.portal_users, {"MAC", "user", "octets in", "octets out"},
                      [](const PortalUserReading& user) -> std::vector<std::string> {
                        return {user.mac, Printable(user.username), Text(user.in_octets), Text(user.out_octets)};
                      });
  text += RecordsText("access points around", reading.neighbours, {"BSSID", "SSID", "channel", "signal dBm"},
                      [](const NeighboringAP& neighbour) -> std::vector<std::string> {
                        return {neighbour.mac, Printable(neighbour.ssid), std::to_string(neighbour.channel),
                                std::to_string(neighbour.signal)};
                      });
  if (reading.system.is_wireless) text += ClientsText(reading);
  for (const std::string& error : reading.errors) text += "error: " + Printable(error) + "\n";
  return text;
}

}  // namespace probe::snmp
