#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/traffic/traffic_monitor.h"
#include "probe/clock/virtual_clock.h"
#include "probe/subscriptions/subscription_service.h"
#include "probe/tasks/memory_cleanup.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace {

constexpr time_t kStart = 1'795'219'200;
constexpr int kDevices = 5;
constexpr int kPasses = 40;

std::string Mac(int device) {
  return "AA:AA:AA:AA:AA:0" + std::to_string(device);
}

/// The running engine over a small network, with host threads that call in meanwhile. Meant for ThreadSanitizer.
class TrafficThreads : public ::testing::Test {
 protected:
  TrafficThreads() {
    MonitoringManager::GetInstance().set_stop_flag(false);
    Refresh(0);
    RegisterMonitors();
    probe::SubscriptionService::Instance().File(
        "TrafficMonitor", test::Connection(1),
        {{"a", test::FilterOf("1m")}, {"b", test::FilterOf("5m", Mac(0))}, {"c", test::FilterOf("1m", Mac(1))}});
  }
  ~TrafficThreads() override {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }

  void Refresh(int pass) {
    for (int device = 0; device < kDevices; ++device) {
      const auto octets = static_cast<std::uint64_t>(pass) * 6'000;
      network.Switch(Mac(device))
          .Port("ge1", {octets, octets})
          .Port("ge2", {octets, 0})
          .Credential(R"({"credential": "ok"})")
          .SampledAt(kStart + pass * 60);
    }
  }

  /// Runs passes, and `call` again and again on each of `threads` other threads until they are done.
  template <typename Call>
  void DuringPasses(int threads, Call call) {
    std::atomic<bool> is_over{false};
    std::atomic<int> calls{0};
    std::vector<std::jthread> callers;
    for (int caller = 0; caller < threads; ++caller) {
      callers.emplace_back([&] {
        while (!is_over) {
          call();
          ++calls;
        }
      });
    }
    while (calls == 0) std::this_thread::yield();
    for (int pass = 1; pass <= kPasses; ++pass) {
      Refresh(pass);
      clock.RunPass(kStart + pass * 60);
    }
    is_over = true;
  }

  probe::VirtualClock clock{kStart};
  probe::ClockInstallation installation{clock};
  test::Network network;
  test::MessageCapture messages;
};

TEST_F(TrafficThreads, ReadTheNewestSpeedFromFourThreadsDuringPasses) {
  std::atomic<int> found{0};
  DuringPasses(4, [&] {
    std::map<std::string, unsigned long long> out;
    GetInterfaceTraffic(Mac(2), "ge1", out);
    if (out.contains("input")) ++found;
  });
  EXPECT_GT(found, 0);
  EXPECT_EQ(messages.Take().size(), 3U * kPasses);
}

TEST_F(TrafficThreads, CleanUpDevicesFromAnotherThreadDuringPasses) {
  std::atomic<int> device{0};
  DuringPasses(1, [&] { probe::CleanUpDevice(Mac(device++ % kDevices)); });
  EXPECT_EQ(messages.Take().size(), 3U * kPasses);
}

TEST_F(TrafficThreads, PushAFirstMessageFromAnotherThreadDuringPasses) {
  const auto monitor = MonitoringManager::GetInstance().GetMonitor("TrafficMonitor");
  std::atomic<int> pushed{0};
  DuringPasses(2, [&] {
    monitor->PushDataBySID({{"x", {{test::Connection(2), test::FilterOf("1m", Mac(3))}}}});
    ++pushed;
  });
  EXPECT_EQ(messages.Take().size(), 3U * kPasses + static_cast<std::size_t>(pushed));
}

TEST_F(TrafficThreads, StopWhileReportThreadsCall) {
  clock.AwaitSleeper();
  std::atomic<bool> is_over{false};
  std::atomic<int> calls{0};
  std::vector<std::jthread> callers;
  for (int caller = 0; caller < 4; ++caller) {
    callers.emplace_back([&] {
      while (!is_over) {
        std::map<std::string, unsigned long long> out;
        GetInterfaceTraffic(Mac(0), "ge1", out);
        std::free(get_wireless_client_report("{}"));
        std::free(get_wireless_network_report_avail_list(nullptr));
        ++calls;
      }
    });
  }
  while (calls < 10) std::this_thread::yield();
  stop_monitor();
  is_over = true;
  callers.clear();
  EXPECT_EQ(MonitoringManager::GetInstance().GetMonitor("TrafficMonitor"), nullptr);
}

}  // namespace
