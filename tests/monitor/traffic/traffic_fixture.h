#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "monitor/traffic/traffic_monitor.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace test {

inline constexpr time_t kStart = 1'795'219'200;
inline constexpr std::int64_t kStartMinute = kStart / 60;
inline constexpr const char* kSwitch = "AA:AA:AA:AA:AA:01";
inline constexpr const char* kOther = "AA:AA:AA:AA:AA:02";

/// A traffic monitor over a network, driven pass by pass. Times in the tests count from `kStart`.
class TrafficMonitorTest : public ::testing::Test {
 protected:
  /// One pass, `seconds` after the last.
  void Pass(int seconds = 60) {
    clock.Set(clock.Now().tv_sec + seconds);
    monitor.set_current_time(clock.Now().tv_sec);
    monitor.DataUpdate();
  }

  /// A pass in which the port, the only one that changes, has moved by so many octets a second for a minute.
  void PassAt(std::uint64_t speed, const char* mac = kSwitch, const char* port = "ge1") {
    auto& octets = moved[std::string(mac) + port];
    octets += speed * 60;
    network.Switch(mac).Port(port, {octets, octets}).SampledAt(clock.Now().tv_sec + 60);
    Pass();
  }

  std::string Message(const std::string& interval, const std::string& mac = "") {
    return monitor.GenerateJsonMsg("TrafficMonitor", *FilterOf(interval, mac), {"a"});
  }

  /// The samples of an interface in a view, minutes counted from the start; none for an interface that is left out.
  std::vector<Sample> Samples(const std::string& interval, const std::string& mac, const std::string& interface) {
    std::vector<Sample> samples = SamplesIn(Message(interval), interval, mac)[interface];
    for (Sample& sample : samples) sample.minute -= kStartMinute;
    return samples;
  }

  /// Just the input speeds of the same.
  std::vector<std::int64_t> Speeds(const std::string& interval, const std::string& mac, const std::string& interface) {
    std::vector<std::int64_t> speeds;
    for (const Sample& sample : Samples(interval, mac, interface)) speeds.push_back(sample.input);
    return speeds;
  }

  /// The newest speeds of an interface as other modules read them; empty when it is unknown.
  std::map<std::string, unsigned long long> Newest(const std::string& mac, const std::string& interface) {
    std::map<std::string, unsigned long long> out;
    monitor.GetInterfaceTrafficData(mac, interface, out);
    return out;
  }

  probe::VirtualClock clock{kStart};
  probe::ClockInstallation installation{clock};
  Network network;
  TrafficMonitor monitor;
  std::map<std::string, std::uint64_t> moved;
};

}  // namespace test
