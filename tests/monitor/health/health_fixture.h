#pragma once

#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "monitor/health/health_monitor.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace test {

inline constexpr const char* kAccessPoint = "AA:AA:AA:AA:AA:01";
inline constexpr const char* kSwitch = "AA:AA:AA:AA:AA:02";

/// A health monitor over a network, driven pass by pass.
class HealthMonitorTest : public ::testing::Test {
 protected:
  void Pass() { monitor.DataUpdate(); }

  std::string Message(const std::string& mac = "") { return monitor.GenerateJsonMsg("HealthMonitor", mac); }

  /// The device objects of the message.
  nlohmann::json Devices(const std::string& mac = "") {
    return nlohmann::json::parse(Message(mac)).at("data").at("status");
  }

  /// One device's object.
  nlohmann::json DeviceOf(const std::string& mac) { return Devices(mac).at(0); }

  probe::VirtualClock clock{1'795'219'200};
  probe::ClockInstallation installation{clock};
  Network network;
  HealthMonitor monitor;
};

}  // namespace test
