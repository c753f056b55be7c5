#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "monitor/engine/entry_points.h"
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
    const auto octets = static_cast<std::uint64_t>(pass) * 6'000;
    network.Switch(DeviceMac(device))
        .Port("ge1", {octets, octets})
        .Port("ge2", {octets, 0})
        .Credential(R"({"credential": "ok"})")
        .SampledAt(RunningEngine::kStart + pass * 60);
  }
}

class TrafficThreads : public ::testing::Test {
 protected:
  TrafficThreads() {
    probe::SubscriptionService::Instance().File("TrafficMonitor", probe::ConnectionId{1},
                                                {{"a", test::FilterOf("1m")},
                                                 {"b", test::FilterOf("5m", DeviceMac(0))},
                                                 {"c", test::FilterOf("1m", DeviceMac(1))}});
  }

  RunningEngine engine{&Refresh};
};

TEST_F(TrafficThreads, ReadTheNewestSpeedFromFourThreadsDuringPasses) {
  std::atomic<int> found{0};
  engine.DuringPasses(4, [&] {
    std::map<std::string, unsigned long long> out;
    GetInterfaceTraffic(DeviceMac(2), "ge1", out);
    if (out.contains("input")) ++found;
  });
  EXPECT_GT(found, 0);
  EXPECT_EQ(engine.Sent().size(), 3U * RunningEngine::kPasses);
}

TEST_F(TrafficThreads, CleanUpDevicesFromAnotherThreadDuringPasses) {
  std::atomic<int> device{0};
  engine.DuringPasses(1, [&] { probe::CleanUpDevice(DeviceMac(device++ % kDeviceCount)); });
  EXPECT_EQ(engine.Sent().size(), 3U * RunningEngine::kPasses);
}

TEST_F(TrafficThreads, PushAFirstMessageFromAnotherThreadDuringPasses) {
  const auto monitor = MonitoringManager::GetInstance().GetMonitor("TrafficMonitor");
  std::atomic<int> pushed{0};
  engine.DuringPasses(2, [&] {
    monitor->PushDataBySID({{"x", {{test::Connection(2), test::FilterOf("1m", DeviceMac(3))}}}});
    ++pushed;
  });
  EXPECT_EQ(engine.Sent().size(), 3U * RunningEngine::kPasses + static_cast<std::size_t>(pushed));
}

TEST_F(TrafficThreads, StopWhileReportThreadsCall) {
  engine.StopWhile([] {
    std::map<std::string, unsigned long long> out;
    GetInterfaceTraffic(DeviceMac(0), "ge1", out);
    std::free(get_wireless_client_report("{}"));
    std::free(get_wireless_network_report_avail_list(nullptr));
  });
  EXPECT_EQ(MonitoringManager::GetInstance().GetMonitor("TrafficMonitor"), nullptr);
}

}  // namespace
