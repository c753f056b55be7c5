#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "monitor/engine/boundary.h"
#include "monitor/engine/json_tree.h"
#include "tests/monitor/reports/network/network_report_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/shortage/heap_shortage.h"
#include "tests/support/shortage/json_shortage.h"

namespace {

using test::At;
using test::HeapShortage;
using test::kAp;

class NetworkReportShortage : public test::NetworkReportTest {
 protected:
  /// Five passes of `report`, of which the last takes samples at `moment` and finds so many allocations.
  void SampleAt(time_t moment, vexora_probe::monitor::WirelessNetworkReport& report, int spared) {
    for (time_t minutes = 4; minutes >= 0; --minutes) {
      clock.Set(moment - minutes * 60);
      if (minutes > 0) {
        report.DataUpdate();
        continue;
      }
      const HeapShortage shortage(spared);
      monitoring::WithinBoundary("NetworkReportShortage", [&] { report.DataUpdate(); });
      has_struck = HeapShortage::HasStruck();
    }
  }

  static constexpr int kEnough = 1'000'000;
  bool has_struck = false;
};

TEST_F(NetworkReportShortage, InThePassThatFindsTheClockSetBackStillDropsWhatWasCountedToday) {
  const test::LogCapture log;  // debug lines are where retention needs memory
  int spared = 0;
  do {
    vexora_probe::monitor::WirelessNetworkReport report;
    Office(kAp, 10);
    SampleAt(At(2026, 11, 18, 12, 0), report, kEnough);
    Office(kAp, 4);
    SampleAt(At(2026, 11, 18, 11, 57), report, spared);
    const bool has_struck_in_retention = has_struck;
    // By now the clock is past the first sample, and nothing shows any more that it was set back.
    SampleAt(At(2026, 11, 18, 12, 2), report, kEnough);
    const Json today = Json::parse(report.GetWirelessReport("daily", "2026-11-18"));
    EXPECT_EQ(today["spectrum_usage"]["5GHz"]["client_count"]["peak"], 4) << "after " << spared << " allocations";
    has_struck = has_struck_in_retention;
    ++spared;
  } while (has_struck && !HasFailure());
  EXPECT_GT(spared, 50);
}

TEST_F(NetworkReportShortage, OfASectionIsLogged) {
  using test::JsonShortage;
  const vexora_probe::monitor::WirelessNetworkReport report;
  struct Case {
    JsonShortage::Of kind;
    std::function<monitoring::JsonTree()> ask;
    const char* line;
  };
  const Case cases[] = {
      {JsonShortage::Of::kArrays, [&] { return report.GetRogueAPsReport("daily", ""); },
       "[WirelessNetworkReport::GetRogueAPsReport] obj is NULL"},
      {JsonShortage::Of::kObjects,
       [&] {
         return report.GenerateSeenByString({{"a", "b"}});
       },
       "[WirelessNetworkReport::GenerateSeenByString] JSON object is NULL"},
      {JsonShortage::Of::kObjects, [&] { return report.GetAccessPointsReport("daily", ""); },
       "[WirelessNetworkReport::GetAccessPointsReport] object is NULL"},
      {JsonShortage::Of::kArrays, [&] { return report.GetSSIDsReport("daily", ""); },
       "[WirelessNetworkReport::GetSSIDsReport] ssids is NULL"},
      {JsonShortage::Of::kObjects, [&] { return report.GetSpectrumsReport("daily", ""); },
       "[WirelessNetworkReport::GetSpectrumsReport] spectrums is NULL"},
  };
  for (const auto& [kind, ask, line] : cases) {
    const test::LogCapture log;
    const JsonShortage shortage(kind);
    EXPECT_EQ(ask(), nullptr) << line;
    EXPECT_THAT(log.Lines(), ::testing::ElementsAre(test::LogLine{probe::log::Level::kError, 2, line}));
  }
}

TEST_F(NetworkReportShortage, OfTheWholeReportIsLoggedAndGivesNoText) {
  vexora_probe::monitor::WirelessNetworkReport report;
  const test::LogCapture log;
  const test::JsonShortage shortage(test::JsonShortage::Of::kObjects);
  EXPECT_EQ(report.GetWirelessReport("daily", ""), "");
  EXPECT_THAT(log.Lines(),
              ::testing::ElementsAre(test::LogLine{probe::log::Level::kError, 2,
                                                   "[WirelessNetworkReport::GetWirelessReport] result is NULL"}));
}

TEST_F(NetworkReportShortage, OfTheRogueAccessPointsLeavesExpireOutWithThem) {
  vexora_probe::monitor::WirelessNetworkReport report;
  const test::JsonShortage shortage(test::JsonShortage::Of::kArrays);
  EXPECT_EQ(report.GetWirelessReport("daily", ""),
            R"({ "wireless_access_points": { }, "wireless_network": [ ], "spectrum_usage": { } })");
}

}  // namespace
