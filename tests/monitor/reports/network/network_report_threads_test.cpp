#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/reports/network/records.h"
#include "probe/clock/virtual_clock.h"
#include "probe/logging/log.h"
#include "probe/subscriptions/subscription_service.h"
#include "tests/support/network.h"

namespace {

namespace records = vexora_probe::models::controller;

constexpr time_t kStart = 1'795'219'200;
constexpr int kDevices = 5;
constexpr int kPasses = 60;
constexpr int kReaders = 4;

/// The running engine over a small wireless network. Meant for ThreadSanitizer.
class NetworkReportThreads : public ::testing::Test {
 protected:
  NetworkReportThreads() {
    setenv("TZ", "UTC", 1);
    tzset();
    probe::log::SetWriter([](auto...) {});  // every report logs who has heard whom
    MonitoringManager::GetInstance().set_stop_flag(false);
    Refresh(0);
    RegisterMonitors();
  }
  ~NetworkReportThreads() override {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
    probe::log::SetWriter({});
  }

  void Refresh(int pass) {
    for (int number = 0; number < kDevices; ++number) {
      auto device = network.AccessPoint("AA:AA:AA:AA:AA:0" + std::to_string(number));
      const auto octets = static_cast<std::uint64_t>(pass) * 6'000;
      device.Named("ap").Radio("r", records::WIFIBandType::k5GHz).Wifi("w", "Office", "r", {octets, octets});
      device.Configured("Office@BOTH", {.name = "Office"}).Clients("w", number).Platform("M", "1");
      device.Neighbours({{.mac = "BB", .ssid = "foreign", .signal = -60}});
    }
  }

  probe::VirtualClock clock{kStart};
  probe::ClockInstallation installation{clock};
  test::Network network;
};

TEST_F(NetworkReportThreads, AreReadByFourHostThreadsDuringPasses) {
  std::atomic<bool> is_over{false};
  std::atomic<int> filled{0};
  std::atomic<int> calls{0};
  std::vector<std::jthread> readers;
  for (int reader = 0; reader < kReaders; ++reader) {
    readers.emplace_back([&] {
      while (!is_over) {
        const std::unique_ptr<char, decltype(&std::free)> report(
            get_wireless_network_report(R"({"report_type": "daily", "period": "2026-11-21"})"), &std::free);
        const std::unique_ptr<char, decltype(&std::free)> list(get_wireless_network_report_avail_list(nullptr),
                                                               &std::free);
        if (std::string(report.get()).find("Office") != std::string::npos) ++filled;
        if (vexora_probe::monitor::SampleCountCurrentTime < 0) ADD_FAILURE();
        ++calls;
      }
    });
  }
  while (calls < kReaders) std::this_thread::yield();
  for (int pass = 1; pass <= kPasses; ++pass) {
    Refresh(pass);
    clock.RunPass(kStart + pass * 60);
  }
  while (filled == 0) std::this_thread::yield();
  is_over = true;
  readers.clear();
  EXPECT_GT(filled, 0);
}

}  // namespace
