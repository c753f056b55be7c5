#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/time_keys.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/local_time.h"
#include "tests/support/network.h"

namespace test {

inline constexpr const char* kAccessPoint = "AA:AA:AA:AA:AA:01";
inline constexpr const char* kLaptop = "B0:00:00:00:00:01";
inline constexpr const char* kPhone = "B0:00:00:00:00:02";
inline constexpr const char* kToday = "2026-11-18";
inline constexpr const char* kThisWeek = "2026-11-15/2026-11-21";

/// One row as a report shows it.
struct ShownRow {
  std::string mac, hostname, username, network, type_frequency;
  std::int64_t data_rate = 0, upload = 0, download = 0, total = 0;
  std::string first_seen, last_seen;
  std::int64_t time_online = 0;
  double online_time = 0;

  explicit ShownRow(json_object* row)
      : mac(Text(row, "mac")),
        hostname(Text(row, "hostname")),
        username(Text(row, "username")),
        network(Text(row, "network")),
        type_frequency(Text(row, "type_frequency")),
        data_rate(Number(row, "data_rate")),
        upload(Number(row, "upload")),
        download(Number(row, "download")),
        total(Number(row, "total")),
        first_seen(Text(row, "first_seen")),
        last_seen(Text(row, "last_seen")),
        time_online(Number(row, "time_online")),
        online_time(json_object_get_double(monitoring::Member(row, "online_time"))) {}

 private:
  static std::string Text(json_object* row, const char* key) {
    return monitoring::TextOf(monitoring::Member(row, key));
  }
  static std::int64_t Number(json_object* row, const char* key) {
    return json_object_get_int64(monitoring::Member(row, key));
  }
};

/// The elements of an array, read by `Element`; none of what is no array.
template <typename Element>
std::vector<Element> Elements(json_object* array) {
  std::vector<Element> elements;
  if (json_object_is_type(array, json_type_array) == 0) return elements;
  for (std::size_t i = 0; i < json_object_array_length(array); ++i) {
    json_object* element = json_object_array_get_idx(array, i);
    if constexpr (std::is_same_v<Element, std::string>) {
      elements.push_back(monitoring::TextOf(element));
    } else {
      elements.emplace_back(element);
    }
  }
  return elements;
}

/// A whole report.
struct ShownReport {
  std::vector<ShownRow> clients;
  std::vector<ShownRow> guests;
  std::optional<bool> expire;  ///< Nothing when the report does not say.
};

/// A wireless client report over an access point with the network "Office" on its 5 GHz radio and the guest network
/// "Lobby" on its 2.4 GHz radio, driven pass by pass. Local time is UTC unless a test says otherwise.
class ClientReportTest : public ::testing::Test {
 protected:
  using Client = vexora_probe::models::controller::AssocClientState;
  using PortalUser = vexora_probe::models::controller::PortalUser;
  using Configuration = vexora_probe::models::controller::SSIDCfg;
  using Band = vexora_probe::models::controller::WIFIBandType;
  using Mode = vexora_probe::models::controller::WIFIOpMode;

  ClientReportTest() {
    AccessPoint()
        .Radio("wlan0", Band::k2_4GHz)
        .Radio("wlan1", Band::k5GHz)
        .Configured("Office@BOTH", {})
        .Configured("Lobby@wlan0", Guests())
        .Wifi("ath0", "Lobby", "wlan0", {})
        .Wifi("ath1", "Office", "wlan1", {});
  }

  static std::string Local(time_t moment) { return monitoring::time_keys::DateTime(static_cast<long>(moment)); }

  static Configuration Guests() {
    Configuration configuration;
    configuration.guest = true;
    return configuration;
  }

  /// A client as an access point lists it: its MAC in another notation than the report's.
  static Client Laptop(std::uint64_t in_bytes = 0, std::uint64_t out_bytes = 0) {
    return {.mac = "b000.0000.0001",
            .hostname = "laptop",
            .mode = Mode::k802_11n,
            .data_rate = 300,
            .in_bytes = in_bytes,
            .out_bytes = out_bytes};
  }
  static Client Phone(std::uint64_t in_bytes = 0, std::uint64_t out_bytes = 0) {
    return {.mac = "b0-00-00-00-00-02",
            .hostname = "phone",
            .mode = Mode::k802_11ac,
            .data_rate = 866,
            .in_bytes = in_bytes,
            .out_bytes = out_bytes};
  }

  Network::DeviceWords AccessPoint(const char* mac = kAccessPoint) { return network.AccessPoint(mac); }

  /// Who is on a network from now on, in place of those who were.
  void OnNetwork(const char* interface, const std::vector<Client>& clients, const char* mac = kAccessPoint) {
    AccessPoint(mac).Clients(interface, 0);
    for (const Client& client : clients) AccessPoint(mac).Client(interface, client);
  }
  void InOffice(const std::vector<Client>& clients) { OnNetwork("ath1", clients); }
  void InLobby(const std::vector<Client>& clients) { OnNetwork("ath0", clients); }

  void PassAt(time_t moment) {
    clock.Set(moment);
    monitor.set_current_time(static_cast<long>(moment));
    monitor.DataUpdate();
  }
  void Pass(int seconds = 60) { PassAt(clock.Now().tv_sec + seconds); }

  ShownReport Report(const std::string& type, const std::string& period) {
    const monitoring::JsonTree tree(json_tokener_parse(monitor.GetWirelessReport(type, period).c_str()));
    json_object* expire = monitoring::Member(tree.get(), "expire");
    return {.clients = Elements<ShownRow>(monitoring::Member(tree.get(), "wireless_clients")),
            .guests = Elements<ShownRow>(monitoring::Member(tree.get(), "wireless_guests")),
            .expire = expire == nullptr ? std::nullopt : std::optional<bool>(json_object_get_boolean(expire) != 0)};
  }

  /// Rows in words, such as "laptop 2026-11-18 12:01:00 - 2026-11-18 12:02:00, 60 s, up 5, down 7", in the order of
  /// their keys.
  static std::vector<std::string> InWords(const std::vector<ShownRow>& rows) {
    std::vector<std::string> words;
    for (const ShownRow& row : rows) {
      words.push_back(row.hostname + " " + row.first_seen + " - " + row.last_seen + ", " +
                      std::to_string(row.time_online) + " s, up " + std::to_string(row.upload) + ", down " +
                      std::to_string(row.download));
    }
    return words;
  }
  std::vector<std::string> Day(const std::string& day) { return InWords(Report("daily", day).clients); }
  std::vector<std::string> Week(const std::string& week) { return InWords(Report("weekly", week).clients); }
  std::vector<std::string> GuestDay(const std::string& day) { return InWords(Report("daily", day).guests); }
  std::vector<std::string> GuestWeek(const std::string& week) { return InWords(Report("weekly", week).guests); }

  /// The periods that are kept, newest first.
  std::vector<std::string> Kept(const char* type) {
    const monitoring::JsonTree tree(json_tokener_parse(monitor.GetAvailableTypePeriod().c_str()));
    return Elements<std::string>(monitoring::Member(tree.get(), type));
  }

  LocalZone zone{"UTC"};
  probe::VirtualClock clock{At(2026, 11, 18, 12)};  // a Wednesday
  probe::ClockInstallation installation{clock};
  Network network;
  WirelessClientReport monitor;
};

}  // namespace test
