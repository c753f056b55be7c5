#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/health/health_monitor.h"
#include "monitor/traffic/traffic_monitor.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using vexora_probe::models::controller::WIFIBandType;

constexpr time_t kFirst = 1'795'219'200;
constexpr const char* kWatched = "AA:AA:AA:AA:AA:01";

/// The live monitors that know devices by their MACs, after two passes over an access point.
class MacFilter : public ::testing::Test {
 protected:
  MacFilter() {
    for (const std::uint64_t minute : {1U, 2U}) {
      clock.Set(kFirst + static_cast<time_t>(minute) * 60);
      auto device = network.AccessPoint(kWatched);
      device.Radio("r5", WIFIBandType::k5GHz).Wifi("wlan0", "Office", "r5", {minute * 6'000, minute * 6'000});
      device.Clients("wlan0", 3).SampledAt(clock.Now().tv_sec);
      for (Monitor* monitor : std::vector<Monitor*>{&health, &counts, &traffic}) {
        monitor->set_current_time(static_cast<long>(clock.Now().tv_sec));
        monitor->DataUpdate();
      }
    }
  }

  /// What the monitors show for a filter of this MAC.
  std::vector<std::string> Shown(const std::string& mac) {
    const auto filter = test::FilterOf("1m", mac);
    return {health.GenerateJsonMsg("HealthMonitor", mac), traffic.GenerateJsonMsg("TrafficMonitor", *filter, {"a"}),
            counts.GenerateJsonMsg("DevicesClientCountMonitor", *filter, {"a"})};
  }

  /// The clients on the SSID now, as the filter's device has them.
  std::string ShownOfSsids(const std::string& mac) {
    return counts.GenerateJsonMsg("SSIDClientCountMonitor", *test::FilterOf("1m", mac), {"a"});
  }

  probe::VirtualClock clock{kFirst};
  probe::ClockInstallation installation{clock};
  test::Network network;
  HealthMonitor health;
  ClientCountMonitor counts;
  TrafficMonitor traffic;
};

TEST_F(MacFilter, NamesADeviceByItsWholeMac) {
  for (const std::string& message : Shown(kWatched)) EXPECT_THAT(message, HasSubstr(kWatched));
  EXPECT_THAT(ShownOfSsids(kWatched), HasSubstr(R"("Office": { "count": 3 })"));
}

TEST_F(MacFilter, NamesNoDeviceByAPartOfItsMacOrInOtherLetters) {
  for (const char* mac : {"AA:AA:AA:AA:AA:0", "AA", "A:AA:AA:AA:AA:01", ":01", "aa:aa:aa:aa:aa:01", "AA:AA:AA:AA:AA:00",
                          "AA:AA:AA:AA:AA:01 ", "AA:AA:AA:AA:AA:011"}) {
    for (const std::string& message : Shown(mac)) {
      EXPECT_THAT(message, Not(HasSubstr(kWatched))) << mac;
      EXPECT_THAT(message, Not(HasSubstr("ifIndex"))) << mac << ": its interfaces under another name";
    }
    EXPECT_THAT(ShownOfSsids(mac), HasSubstr(R"("Office": { "count": 0 })")) << mac;
  }
}

}  // namespace
