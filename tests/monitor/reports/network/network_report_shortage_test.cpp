#include <gtest/gtest.h>

#include "monitor/engine/boundary.h"
#include "tests/monitor/reports/network/network_report_fixture.h"
#include "tests/support/shortage/heap_shortage.h"

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

}  // namespace
