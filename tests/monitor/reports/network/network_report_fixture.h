#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "monitor/reports/network/wireless_network_report.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/local_time.h"
#include "tests/support/log_capture.h"
#include "tests/support/network.h"

namespace test {

inline constexpr const char* kAp = "AA:AA:AA:AA:AA:01";
inline constexpr const char* kOtherAp = "AA:AA:AA:AA:AA:02";
inline constexpr const char* kFar = "BB:BB:BB:BB:BB:01";

/// Octets that give 1 Mbit/s over five minutes.
inline constexpr std::uint64_t kMegabitForFiveMinutes = 300ULL * 1'048'576 / 8;

/// A wireless network report over a network, driven pass by pass. The local zone is UTC unless a test says otherwise.
class NetworkReportTest : public ::testing::Test {
 protected:
  using Json = nlohmann::json;
  using Neighbour = vexora_probe::models::controller::NeighboringAP;
  using Band = vexora_probe::models::controller::WIFIBandType;
  using Security = vexora_probe::models::controller::SecModeType;

  /// Five passes, a minute apart, of which the last takes samples at `moment`.
  void SampleAt(time_t moment) {
    for (time_t minutes = 4; minutes >= 0; --minutes) PassAt(moment - minutes * 60);
  }
  /// The same, five minutes after the present.
  void Sample() { SampleAt(clock.Now().tv_sec + 300); }

  void PassAt(time_t moment) {
    clock.Set(moment);
    monitor.set_current_time(static_cast<long>(moment));
    monitor.DataUpdate();
  }

  /// An access point with the SSID "Office" (personal WPA) on 5 GHz, so many clients on it, and its counters.
  Network::DeviceWords Office(const std::string& mac, int clients, Octets octets = {}) {
    auto device = network.AccessPoint(mac);
    device.Named("ap-" + mac.substr(mac.size() - 2)).Radio("radio1", Band::k5GHz);
    device.Wifi("wifi1", "Office", "radio1", octets).Clients("wifi1", clients);
    return device.Configured("Office@radio1", {.name = "Office", .security_mode = Security::kWpaPersonal});
  }

  /// A rogue access point in a scan.
  static Neighbour Heard(const std::string& mac, const std::string& ssid, int signal, bool is_trusted = false) {
    return {
        .mac = mac, .ssid = ssid, .trusted = is_trusted ? 1 : 0, .band = Band::k2_4GHz, .channel = 6, .signal = signal};
  }

  Json Reply(const std::string& type, const std::string& period) {
    return Json::parse(monitor.GetWirelessReport(type, period));
  }
  Json Today() { return Reply("daily", Monitor::GetDateStr(static_cast<long>(clock.Now().tv_sec))); }
  Json ThisWeek() { return Reply("weekly", Monitor::GetWeekStr(static_cast<long>(clock.Now().tv_sec))); }
  std::vector<std::string> Periods(const char* type) { return Json::parse(monitor.GetAvailableTypePeriod())[type]; }

  LocalZone zone{"UTC"};
  probe::VirtualClock clock{At(2026, 11, 18, 9, 55)};  // a Wednesday
  probe::ClockInstallation installation{clock};
  Network network;
  vexora_probe::monitor::WirelessNetworkReport monitor;
};

}  // namespace test
