#include <gtest/gtest.h>

#include <atomic>

#include "monitor/engine/monitoring_manager.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "tests/support/message_capture.h"
#include "tests/support/running_engine.h"

// The health message asks the device centre while it holds the monitor's read lock, and a clean-up comes from a thread
// that has just worked in the device centre. Here all of them run against each other; were there a cycle of locks,
// ThreadSanitizer would name it, and without it the test would hang.
namespace {

using test::DeviceMac;
using test::kDeviceCount;
using test::RunningEngine;

void Refresh(test::Network& network, int pass) {
  for (int device = 0; device < kDeviceCount; ++device) {
    network.AccessPoint(DeviceMac(device))
        .Cpu(device == 0 ? -1 : pass)
        .Uptime(pass * 60)
        .Credential(R"({"credential": "failed"})")
        .Wifi("wlan0", "Office", "radio0", {0, 0})
        .Clients("wlan0", pass % 7);
  }
}

class HealthThreads : public ::testing::Test {
 protected:
  HealthThreads() {
    auto& subscriptions = probe::SubscriptionService::Instance();
    subscriptions.File("HealthMonitor", probe::ConnectionId{1}, {{"a", test::FilterOf("")}});
    subscriptions.File("HealthMonitor", probe::ConnectionId{2}, {{"a", test::FilterOf("", DeviceMac(0))}});
  }

  RunningEngine engine{&Refresh};
};

TEST_F(HealthThreads, CleanUpPushAndReplaceDevicesDuringPassesWithoutADeadlock) {
  const auto monitor = MonitoringManager::GetInstance().GetMonitor("HealthMonitor");
  std::atomic<int> turn{0};
  std::atomic<int> pushed{0};
  engine.DuringPasses(4, [&] {
    const int now = turn++;
    switch (now % 4) {
      case 0:
        probe::CleanUpDevice(DeviceMac(now % kDeviceCount));
        break;
      case 1:
        monitor->PushDataBySID({{"x", {{test::Connection(3), test::FilterOf("", DeviceMac(0))}}}});
        ++pushed;
        break;
      case 2:
        probe::DeviceCentre::Instance().Replace("BB:BB:BB:BB:BB:01", {});
        break;
      default:
        // the host forgets a device and then tells the plug-in, as one does that drops it
        probe::DeviceCentre::Instance().Forget("BB:BB:BB:BB:BB:01");
        probe::CleanUpDevice("BB:BB:BB:BB:BB:01");
    }
  });
  EXPECT_EQ(engine.Sent().size(), 2U * RunningEngine::kPasses + static_cast<std::size_t>(pushed));
}

}  // namespace
