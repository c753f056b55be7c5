// A pass that runs out of memory, at each of its allocations: the next one makes good for it.

#include <gtest/gtest.h>

#include <string>

#include "monitor/engine/boundary.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/network.h"
#include "tests/support/shortage/heap_shortage.h"

namespace {

using test::HeapShortage;
using vexora_probe::models::controller::AssocClientState;
using vexora_probe::models::controller::WIFIBandType;

constexpr time_t kNoon = 1'795'262'400;  // 2026-11-21 12:00:00 UTC

/// Two access points with two clients each, pass by pass.
class ShortOfClients {
 public:
  /// Allocations of the third of four passes that are spared; none fails when it is negative.
  explicit ShortOfClients(int spared) {
    for (int pass = 1; pass <= 4; ++pass) {
      Describe(pass);
      clock_.Set(kNoon + pass * 60);
      if (pass != 3 || spared < 0) {
        report_.DataUpdate();
        continue;
      }
      const HeapShortage shortage(spared);
      monitoring::WithinBoundary("Test", [this] { report_.DataUpdate(); });
      has_struck = HeapShortage::HasStruck();
    }
    text = report_.GetWirelessReport("daily", Monitor::GetDateStr(kNoon)) +
           report_.GetWirelessReport("weekly", Monitor::GetWeekStr(kNoon));
  }

  bool has_struck = false;
  std::string text;

 private:
  void Describe(int pass) {
    for (const std::string device : {"1", "2"}) {
      auto access_point = network_.AccessPoint("AA:AA:AA:AA:AA:0" + device);
      access_point.Radio("r2", WIFIBandType::k2_4GHz).Wifi("wlan0", "Office", "r2", {0, 0}).Clients("wlan0", 0);
      access_point.Configured("Office@r2", {.name = "Office"});
      for (const std::string client : {"1", "2"}) {
        AssocClientState state;
        state.mac = "CC:CC:CC:CC:0" + device + ":0" + client;
        state.hostname = "a client with a name that grows: " + std::string(static_cast<std::size_t>(pass) * 40, 'x');
        state.in_bytes = state.out_bytes = static_cast<std::uint64_t>(pass * pass) * 1000;
        access_point.Client("wlan0", state);
      }
    }
  }

  probe::VirtualClock clock_{kNoon};
  probe::ClockInstallation installation_{clock_};
  test::Network network_;
  WirelessClientReport report_;
};

TEST(ClientReportShortage, NothingIsCountedTwiceAndNothingIsLost) {
  const std::string whole = ShortOfClients(-1).text;
  int failed = 0;
  for (bool has_struck = true; has_struck && !::testing::Test::HasFailure(); ++failed) {
    const ShortOfClients story(failed);
    has_struck = story.has_struck;
    EXPECT_EQ(story.text, whole) << "after " << failed << " allocations";
  }
  EXPECT_GT(failed, 20);
}

TEST(ClientReportShortage, LeavesNoPeriodWithoutRows) {
  int failed = 0;
  int empty = 0;
  probe::VirtualClock clock(kNoon);
  const probe::ClockInstallation installation(clock);
  for (bool has_struck = true; has_struck; ++failed) {
    test::Network network;
    auto access_point = network.AccessPoint("AA:AA:AA:AA:AA:01");
    access_point.Radio("r2", WIFIBandType::k2_4GHz).Wifi("wlan0", "Office", "r2", {0, 0});
    access_point.Configured("Office@r2", {.name = "Office"}).Clients("wlan0", 1);
    WirelessClientReport report;
    {
      const HeapShortage shortage(failed);
      monitoring::WithinBoundary("Test", [&report] { report.DataUpdate(); });
      has_struck = HeapShortage::HasStruck();
    }
    const std::string day = Monitor::GetDateStr(static_cast<long>(time(nullptr)));
    const bool has_rows = report.GetWirelessReport("daily", day).find("first_seen") != std::string::npos;
    const std::string periods = report.GetAvailableTypePeriod();
    EXPECT_EQ(periods != R"({ "daily": [ ], "weekly": [ ] })", has_rows) << "after " << failed << ": " << periods;
    if (!has_rows) ++empty;
  }
  EXPECT_GT(empty, 5);
}

}  // namespace
