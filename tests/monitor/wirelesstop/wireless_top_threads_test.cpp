#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "monitor/engine/entry_points.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "probe/clock/virtual_clock.h"
#include "probe/logging/log.h"
#include "probe/subscriptions/subscription_service.h"
#include "probe/tasks/memory_cleanup.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/message_capture.h"

namespace {

constexpr time_t kStart = 1'795'219'200;
constexpr int kAccessPoints = 5;
constexpr int kClients = 40;  // an access point
constexpr int kPasses = 30;

std::string Mac(int number) {
  return "AA:AA:AA:AA:AA:0" + std::to_string(number);
}

/// A filter that wants so many clients by their total.
std::string TopClients(int count) {
  return R"({"wireless_clients": {"traffic": {"count": )" + std::to_string(count) +
         R"(, "orderby": "total", "flag": "desc"}}, "access_point": {"clients": {"count": -1}}})";
}

/// The running engine over a small network, with host threads that call in meanwhile. Meant for ThreadSanitizer.
class WirelessTopThreads : public ::testing::Test {
 protected:
  WirelessTopThreads() {
    probe::log::SetLevel(probe::log::Level::kError);  // a line for each of thousands of clean-ups is no help
    MonitoringManager::GetInstance().set_stop_flag(false);
    Refresh(0);
    RegisterMonitors();
    monitor = MonitoringManager::GetInstance().GetMonitor("wireless_top_monitor");
    auto filters = Parsed(TopClients(3));
    probe::SubscriptionService::Instance().File("wireless_top_monitor", test::Connection(1), filters);
  }
  ~WirelessTopThreads() override {
    monitor.reset();
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
    probe::log::SetLevel(probe::log::Level::kInfo);
  }

  /// The network as a pass finds it: the later the pass, the more every client has moved.
  void Refresh(int pass) {
    for (int number = 0; number < kAccessPoints; ++number) {
      auto access_point = network.AccessPoint(Mac(number));
      access_point.Named("ap").Wifi("wlan0", "Guest", "r2", {test::Kib(1), test::Kib(1)}).Clients("wlan0", 0);
      for (int client = 0; client < kClients; ++client) {
        const std::string mac = std::to_string(number) + "-" + std::to_string(client % 10) + std::to_string(client);
        access_point.Client("wlan0", test::Client(mac, {test::Kib(static_cast<std::uint64_t>(pass * client)), 0}));
      }
    }
  }

  subscribes::ParsedRequest Parsed(const std::string& filter) {
    const monitoring::JsonTree request(json_tokener_parse((R"([{"sid": "a", "filter": )" + filter + "}]").c_str()));
    return monitor->FilterParser(request.get());
  }

  /// Runs passes, and `call` again and again on each of `threads` other threads until they are done.
  template <typename Call>
  void DuringPasses(int threads, Call call) {
    std::atomic<bool> is_over{false};
    std::atomic<int> calls{0};
    std::vector<std::jthread> callers;
    for (int caller = 0; caller < threads; ++caller) {
      callers.emplace_back([&, caller] {
        for (int round = 0; !is_over; ++round) {
          call(caller, round);
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
  std::shared_ptr<Monitor> monitor;
};

TEST_F(WirelessTopThreads, PushFirstMessagesOfAllDepthsFromFourThreadsDuringPasses) {
  std::atomic<std::size_t> pushed{0};
  DuringPasses(4, [&](int caller, int round) {
    const auto filters = Parsed(TopClients((caller + 7 * round) % (kAccessPoints * kClients)));
    monitor->PushDataBySID({{"x", {{test::Connection(2), filters.at("a")}}}});
    ++pushed;
  });
  EXPECT_EQ(messages.Take().size(), kPasses + pushed);
}

TEST_F(WirelessTopThreads, SeeOneStateInEachMessage) {
  std::atomic<int> incomplete{0};
  DuringPasses(3, [&](int /*caller*/, int round) {
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
                                      access_points != static_cast<std::size_t>(kAccessPoints))) {
      ++incomplete;
    }
  });
  EXPECT_EQ(incomplete, 0);
  EXPECT_EQ(messages.Take().size(), kPasses);
}

TEST_F(WirelessTopThreads, ParseFiltersFromFourThreadsDuringPasses) {
  std::atomic<int> wrong{0};
  DuringPasses(4, [&](int caller, int round) {
    const int count = caller + round;
    const auto filters = Parsed(TopClients(count));
    if (dynamic_cast<const WirelessTopFilter&>(*filters.at("a")).wireless_clients.count != count) ++wrong;
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(WirelessTopThreads, CleanUpDevicesFromAnotherThreadDuringPasses) {
  DuringPasses(1, [&](int /*caller*/, int round) { probe::CleanUpDevice(Mac(round % kAccessPoints)); });
  EXPECT_EQ(messages.Take().size(), kPasses);
}

}  // namespace
