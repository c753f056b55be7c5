#include <gtest/gtest.h>

#include <atomic>

#include "monitor/engine/monitoring_manager.h"
#include "probe/host/connection_id.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "tests/support/message_capture.h"
#include "tests/support/running_engine.h"

namespace {

using test::DeviceMac;
using test::kDeviceCount;
using test::RunningEngine;

void Refresh(test::Network& network, int pass) {
  for (int device = 0; device < kDeviceCount; ++device) {
    network.AccessPoint(DeviceMac(device))
        .Wifi("wlan0", "Office", "radio0", {0, 0})
        .Wifi("wlan1", "Floor " + std::to_string(device), "radio1", {0, 0})
        .Clients("wlan0", (pass + device) % 3)
        .Clients("wlan1", (pass + device) % 2);
  }
}

class ClientCountThreads : public ::testing::Test {
 protected:
  ClientCountThreads() {
    auto& subscriptions = probe::SubscriptionService::Instance();
    subscriptions.File("SSIDClientCountMonitor", probe::ConnectionId{1}, {{"a", test::FilterOf("1m")}});
    subscriptions.File("DevicesClientCountMonitor", probe::ConnectionId{2},
                       {{"a", test::FilterOf("5m", DeviceMac(0))}});
  }

  RunningEngine engine{&Refresh};
};

TEST_F(ClientCountThreads, CleanUpDevicesWhileCountsArePrunedAndMessagesAreBuilt) {
  std::atomic<int> device{0};
  engine.DuringPasses(2, [&] { probe::CleanUpDevice(DeviceMac(device++ % kDeviceCount)); });
  EXPECT_EQ(engine.Sent().size(), 2U * RunningEngine::kPasses);
}

TEST_F(ClientCountThreads, PushAFirstMessageFromOtherThreadsDuringPasses) {
  const auto monitor = MonitoringManager::GetInstance().GetMonitor("ClientCountMonitor");
  std::atomic<int> pushes{0};
  engine.DuringPasses(2, [&] {
    monitor->PushDataBySID({});
    ++pushes;
  });
  EXPECT_EQ(engine.Sent().size(), 2U * (RunningEngine::kPasses + static_cast<std::size_t>(pushes)));
}

}  // namespace
