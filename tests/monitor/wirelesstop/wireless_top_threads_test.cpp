#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "probe/host/connection_id.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/message_capture.h"
#include "tests/support/running_engine.h"

namespace {

using test::DeviceMac;
using test::kDeviceCount;
using test::RunningEngine;

constexpr int kClients = 40;  // an access point

/// A filter that wants so many clients by their total.
std::string TopClients(int count) {
  return R"({"wireless_clients": {"traffic": {"count": )" + std::to_string(count) +
         R"(, "orderby": "total", "flag": "desc"}}, "access_point": {"clients": {"count": -1}}})";
}

/// The later the pass, the more every client has moved.
void Refresh(test::Network& network, int pass) {
  for (int device = 0; device < kDeviceCount; ++device) {
    auto access_point = network.AccessPoint(DeviceMac(device));
    access_point.Named("ap").Wifi("wlan0", "Guest", "r2", {test::Kib(1), test::Kib(1)}).Clients("wlan0", 0);
    for (int client = 0; client < kClients; ++client) {
      const std::string mac = std::to_string(device) + "-" + std::to_string(client % 10) + std::to_string(client);
      access_point.Client("wlan0", test::Client(mac, {test::Kib(static_cast<std::uint64_t>(pass * client)), 0}));
    }
  }
}

class WirelessTopThreads : public ::testing::Test {
 protected:
  WirelessTopThreads() {
    auto filters = Parsed(TopClients(3));
    probe::SubscriptionService::Instance().File("wireless_top_monitor", probe::ConnectionId{1}, filters);
  }

  subscribes::ParsedRequest Parsed(const std::string& filter) {
    const monitoring::JsonTree request(json_tokener_parse((R"([{"sid": "a", "filter": )" + filter + "}]").c_str()));
    return monitor->FilterParser(request.get());
  }

  RunningEngine engine{&Refresh};
  std::shared_ptr<Monitor> monitor = MonitoringManager::GetInstance().GetMonitor("wireless_top_monitor");
};

TEST_F(WirelessTopThreads, PushFirstMessagesOfAllDepthsFromFourThreadsDuringPasses) {
  std::atomic<std::size_t> pushed{0};
  engine.DuringPasses(4, [&](int caller, int round) {
    const auto filters = Parsed(TopClients((caller + 7 * round) % (kDeviceCount * kClients)));
    monitor->PushDataBySID({{"x", {{test::Connection(2), filters.at("a")}}}});
    ++pushed;
  });
  EXPECT_EQ(engine.Sent().size(), RunningEngine::kPasses + pushed);
}

TEST_F(WirelessTopThreads, SeeOneStateInEachMessage) {
  std::atomic<int> incomplete{0};
  engine.DuringPasses(3, [&](int /*caller*/, int round) {
    const auto filter = Parsed(TopClients(5 + round % 50)).at("a");
    const auto& wanted = dynamic_cast<const WirelessTopFilter&>(*filter);
    const std::string text =
        dynamic_cast<WirelessTopMonitor&>(*monitor).GenerateJsonMsg("wireless_top_monitor", &wanted, {"x"});
    const monitoring::JsonTree envelope(json_tokener_parse(text.c_str()));
    json_object* data = monitoring::Member(envelope.get(), "data");
    json_object* clients = monitoring::Member(monitoring::Member(data, "wireless_clients"), "traffic");
    json_object* counts = monitoring::Member(monitoring::Member(data, "access_points"), "client");
    const std::size_t shown = json_object_array_length(clients);
    const std::size_t access_points = json_object_array_length(counts);
    const bool is_before_the_first_pass = shown == 0 && access_points == 0;
    if (!is_before_the_first_pass && (shown != static_cast<std::size_t>(wanted.wireless_clients.count) ||
                                      access_points != static_cast<std::size_t>(kDeviceCount))) {
      ++incomplete;
    }
  });
  EXPECT_EQ(incomplete, 0);
  EXPECT_EQ(engine.Sent().size(), RunningEngine::kPasses);
}

TEST_F(WirelessTopThreads, ParseFiltersFromFourThreadsDuringPasses) {
  std::atomic<int> wrong{0};
  engine.DuringPasses(4, [&](int caller, int round) {
    const int count = caller + round;
    const auto filters = Parsed(TopClients(count));
    if (dynamic_cast<const WirelessTopFilter&>(*filters.at("a")).wireless_clients.count != count) ++wrong;
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(WirelessTopThreads, CleanUpDevicesFromAnotherThreadDuringPasses) {
  engine.DuringPasses(1, [&](int /*caller*/, int round) { probe::CleanUpDevice(DeviceMac(round % kDeviceCount)); });
  EXPECT_EQ(engine.Sent().size(), RunningEngine::kPasses);
}

}  // namespace
