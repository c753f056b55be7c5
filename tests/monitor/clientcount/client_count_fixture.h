#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "monitor/clientcount/client_count_monitor.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/subscription_service.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace test {

inline constexpr time_t kStart = 1'795'219'200;
inline constexpr const char* kLobby = "AA:AA:AA:AA:AA:01";
inline constexpr const char* kAttic = "AA:AA:AA:AA:AA:02";
inline constexpr const char* kSsids = "SSIDClientCountMonitor";
inline constexpr const char* kDevices = "DevicesClientCountMonitor";

/// A client-count monitor over a network of access points, driven pass by pass. Minutes count from `kStart`.
class ClientCountMonitorTest : public ::testing::Test {
 protected:
  using Counts = std::map<int, int>;  // minute from the start -> count

  /// One pass, `minutes` after the last.
  void Pass(int minutes = 1) {
    clock.Set(clock.Now().tv_sec + minutes * 60);
    monitor.set_current_time(clock.Now().tv_sec);
    monitor.DataUpdate();
  }

  /// So many clients on the SSID "Office" of an access point.
  Network::DeviceWords Office(const std::string& mac, int clients) {
    return network.AccessPoint(mac).Wifi("wlan0", "Office", "radio0", {0, 0}).Clients("wlan0", clients);
  }

  /// A pass a minute, with these numbers of clients in the lobby's office network.
  void PassWith(std::initializer_list<int> clients) {
    for (const int count : clients) {
      Office(kLobby, count);
      Pass();
    }
  }

  std::string Message(const std::string& topic, const std::string& interval = "1m", const std::string& mac = "") {
    return monitor.GenerateJsonMsg(topic, *FilterOf(interval, mac), {"a"});
  }
  nlohmann::json Body(const std::string& topic, const std::string& interval = "1m", const std::string& mac = "") {
    return nlohmann::json::parse(Message(topic, interval, mac)).at("data").at(interval);
  }

  /// The series of an SSID, of a device, or of one of the sums in a message; empty when it is left out.
  Counts OfSsid(const std::string& ssid, const std::string& interval = "1m") {
    return SeriesIn(Body(kSsids, interval).at("ssids_clients_counts"), ssid);
  }
  Counts OfDevice(const std::string& mac, const std::string& interval = "1m") {
    return SeriesIn(Body(kDevices, interval).at("devices_client_counts"), mac);
  }

  static Counts SeriesIn(const nlohmann::json& all, const std::string& id) {
    Counts counts;
    if (!all.contains(id)) return counts;
    for (const auto& [minute, count] : all.at(id).items()) {
      counts[static_cast<int>(std::stoll(minute) - kStart / 60)] = count;
    }
    return counts;
  }

  probe::VirtualClock clock{kStart};
  probe::ClockInstallation installation{clock};
  Network network;
  ClientCountMonitor monitor;
};

}  // namespace test
