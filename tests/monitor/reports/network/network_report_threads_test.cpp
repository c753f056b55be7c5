#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/reports/network/network_records.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/log.h"
#include "tests/support/local_time.h"
#include "tests/support/network.h"
#include "tests/support/running_engine.h"
#include "tests/support/taken_text.h"

namespace {

namespace records = vexora_probe::models::controller;

using test::kDeviceCount;
using test::RunningEngine;
using test::TakenText;

void Refresh(test::Network& network, int pass) {
  for (int number = 0; number < kDeviceCount; ++number) {
    auto device = network.AccessPoint(test::DeviceMac(number));
    const auto octets = static_cast<std::uint64_t>(pass) * 6'000;
    device.Named("ap").Radio("r", records::WIFIBandType::k5GHz).Wifi("w", "Office", "r", {octets, octets});
    device.Configured("Office@BOTH", {.name = "Office"}).Clients("w", number).Platform("M", "1");
    device.Neighbours({{.mac = "BB", .ssid = "rogue", .signal = -60}});
  }
}

class NetworkReportThreads : public ::testing::Test {
 protected:
  NetworkReportThreads() {
    probe::log::SetWriter([](auto...) {});  // every report logs who has heard whom
  }
  ~NetworkReportThreads() override { probe::log::SetWriter({}); }

  test::LocalZone zone{"UTC"};
  RunningEngine engine{&Refresh};
};

TEST_F(NetworkReportThreads, AreReadByFourHostThreadsDuringPasses) {
  std::atomic<int> filled{0};
  const auto read = [&] {
    const std::string report =
        TakenText(get_wireless_network_report(R"({"report_type": "daily", "period": "2026-11-21"})"));
    TakenText(get_wireless_network_report_avail_list(nullptr));
    if (report.find("Office") != std::string::npos) ++filled;
    if (vexora_probe::monitor::SampleCountCurrentTime < 0) ADD_FAILURE();
  };
  engine.DuringPasses(4, read, {.count = 60});
  EXPECT_GT(filled, 0);
}

/// The monitor on a thread of its own, and others that ask it, each for one thing only: what makes one thread wait for
/// another is then the lock of that alone, and ThreadSanitizer notices when any of them is missing.
TEST(NetworkReportLocks, AreEachNeeded) {
  using vexora_probe::monitor::WirelessNetworkReport;
  const test::LocalZone zone("UTC");
  probe::log::SetWriter([](auto...) {});
  probe::VirtualClock clock{RunningEngine::kStart};
  const probe::ClockInstallation installation(clock);
  test::Network network;
  WirelessNetworkReport report;
  std::atomic<time_t> now{RunningEngine::kStart};  // relaxed throughout: it must not order what the threads do

  const auto daily = [&now] { return Monitor::GetDateStr(now.load(std::memory_order_relaxed)); };
  const auto weekly = [&now] { return Monitor::GetWeekStr(now.load(std::memory_order_relaxed)); };
  const std::vector<std::function<void()>> questions{
      [&] { report.GetAvailableTypePeriod(); },
      [&] { report.CheckPeriodExpire("daily", daily()); },
      [&] { report.GetRogueAPsReport("daily", daily()); },
      [&] { report.GetRogueAPsReport("weekly", weekly()); },
      [&] { report.GetAccessPointsReport("daily", daily()); },
      [&] { report.GetAccessPointsReport("weekly", weekly()); },
      [&] { report.GetSSIDsReport("daily", daily()); },
      [&] { report.GetSpectrumsReport("daily", daily()); },
  };
  std::vector<std::atomic<int>> asked(questions.size());
  std::atomic<bool> is_over{false};
  std::vector<std::jthread> readers;
  for (std::size_t reader = 0; reader < questions.size(); ++reader) {
    readers.emplace_back([&, reader] {
      while (!is_over.load(std::memory_order_relaxed)) {
        questions[reader]();
        asked[reader].fetch_add(1, std::memory_order_relaxed);
      }
    });
  }

  constexpr int kSamples = 120;
  constexpr int kPassesPerSample = 5;
  constexpr time_t kSecondsApart = 3 * 3'600;  // two weeks in all
  const auto are_all_served = [&] {
    return std::all_of(asked.begin(), asked.end(),
                       [](const auto& each) { return each.load(std::memory_order_relaxed) > kSamples; });
  };
  for (int sample = 0; sample < kSamples || !are_all_served(); ++sample) {
    now.store(RunningEngine::kStart + sample * kSecondsApart, std::memory_order_relaxed);
    clock.Set(now);
    Refresh(network, sample);
    network.AccessPoint(test::DeviceMac(0))
        .Neighbours({{.mac = "BB", .ssid = "rogue " + std::to_string(sample), .signal = -60}})
        .Wifi("w", "Office " + std::to_string(sample % 9), "r", {});
    for (int pass = 0; pass < kPassesPerSample; ++pass) report.CollectData();
    report.UpdateAccessPointsInfo();
  }
  is_over = true;
  readers.clear();
  probe::log::SetWriter({});
  EXPECT_NE(report.GetWirelessReport("daily", daily()).find("Office"), std::string::npos);
}

}  // namespace
