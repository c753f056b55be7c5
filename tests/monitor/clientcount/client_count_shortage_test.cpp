#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/engine/boundary.h"
#include "tests/monitor/clientcount/client_count_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/shortage/heap_shortage.h"
#include "tests/support/shortage/json_shortage.h"

namespace {

using test::JsonShortage;

class ClientCountShortage : public test::ClientCountMonitorTest {};

TEST_F(ClientCountShortage, OfTheListOfSidsLeavesOutOnlyThat) {
  Office(test::kLobby, 1);
  Pass();
  for (const char* topic : {test::kSsids, test::kDevices}) {
    nlohmann::json expected = Body(topic);
    expected.erase("sid");
    const JsonShortage shortage(JsonShortage::Of::kArrays);
    EXPECT_EQ(Body(topic), expected);
  }
}

TEST_F(ClientCountShortage, InACleanUpThatIsMadeAgainTakesAnSsidFromNobodyElse) {
  Office(test::kLobby, 1);
  Office(test::kAttic, 1);
  Pass();
  const test::LogCapture log;  // debug lines are where a clean-up needs memory
  int failed = 0;
  for (bool has_struck = true; has_struck; ++failed) {
    Pass();  // which brings the attic back
    {
      const test::HeapShortage shortage(failed);
      monitoring::WithinBoundary("ClientCountShortage", [&] { monitor.Cleanup(test::kAttic); });
      has_struck = test::HeapShortage::HasStruck();
    }
    monitor.Cleanup(test::kAttic);
    EXPECT_FALSE(OfSsid("Office").empty()) << "after " << failed << " allocations";
  }
  EXPECT_GT(failed, 3);
  EXPECT_THAT(log.Texts(probe::log::Level::kDebug, "ssid_mac_map size: -"), ::testing::IsEmpty());
  monitor.Cleanup(test::kLobby);
  EXPECT_TRUE(OfSsid("Office").empty());
}

TEST_F(ClientCountShortage, LeavesNoPairThatWasNeverCounted) {
  int failed = 0;
  int uncounted = 0;
  for (bool has_struck = true; has_struck; ++failed) {
    Office(test::kLobby, 1);
    Office(test::kAttic, 0);
    Pass();
    Office(test::kAttic, 1);
    // A second new pair behind that one, at which memory may end.
    network.AccessPoint(test::kAttic).Wifi("wlan9", "Roof", "radio9", {}).Clients("wlan9", 1);
    {
      const test::HeapShortage shortage(failed);
      monitoring::WithinBoundary("ClientCountShortage", [&] { Pass(); });
      has_struck = test::HeapShortage::HasStruck();
    }
    const bool is_counted = Body(test::kDevices)["current_devices_counts"].contains(test::kAttic);
    Office(test::kAttic, 0);
    network.AccessPoint(test::kAttic).Clients("wlan9", 0);
    Pass();
    monitor.Cleanup(test::kLobby);
    if (!is_counted) {
      ++uncounted;
      EXPECT_TRUE(OfSsid("Office").empty()) << "after " << failed << " allocations";
    }
    monitor.Cleanup(test::kAttic);
  }
  EXPECT_GT(uncounted, 3);
}

TEST_F(ClientCountShortage, InAPassShowsNoZeroesOfThoseWhoHaveClients) {
  int failed = 0;
  int missing = 0;
  for (bool has_struck = true; has_struck && !HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    network.AccessPoint(test::kAttic).Wifi("wlan9", "Roof", "radio9", {}).Clients("wlan9", 0);
    Office(test::kLobby, 2);
    Pass();
    network.AccessPoint(test::kAttic).Clients("wlan9", 3);  // series that are new
    {
      const test::HeapShortage shortage(failed);
      monitoring::WithinBoundary("ClientCountShortage", [&] { Pass(); });
      has_struck = test::HeapShortage::HasStruck();
    }
    const Counts office = OfSsid("Office");
    for (const auto& [minute, count] : office) EXPECT_EQ(count, 2) << minute;
    for (const auto& [minute, count] : OfSsid("Roof")) EXPECT_EQ(count, 3) << minute;
    missing += office.contains(static_cast<int>((clock.Now().tv_sec - test::kStart) / 60)) ? 0 : 1;
    for (const char* mac : {test::kLobby, test::kAttic}) monitor.Cleanup(mac);
  }
  EXPECT_GT(missing, 5);
}

}  // namespace
