// The main job on real input: what this machine's interfaces carry reaches a websocket client as speeds. The counters
// are the kernel's, the plug-in and the sockets are real; only the minutes between the passes are virtual.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "platform/tasks.h"
#include "probe/client/websocket_client.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/subscription_service.h"
#include "probe/plugin/loaded_plugin.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/web_server.h"
#include "probe/sources/this_machine/this_machine.h"
#include "tests/probe/app/loopback_transfer.h"
#include "tests/probe/app/probe_process.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr time_t kMinute = 60;
constexpr time_t kStart = 1'700'000'040;  // the beginning of a minute

ServerSettings ServerOnAnyPort() {
  ServerSettings settings;
  settings.port = 0;
  return settings;
}

/// The probe, put together as the program does it, but on a clock that the test moves.
class LiveProbe {
 public:
  LiveProbe()
      : clock_(kStart), installed_(clock_), machine_(DeviceCentre::Instance(), {}), plugin_(VEXORA_PLUGIN_FILE) {
    plugin_.RegisterMonitors();
    server_.Start();
  }
  ~LiveProbe() {
    server_.Stop();
    plugin_.stop_monitor();
    SubscriptionService::Instance().Clear();
    RegisterMonitorMemoryCleanup(nullptr);
    DeviceCentre::Instance().Clear();
  }
  LiveProbe(const LiveProbe&) = delete;
  LiveProbe& operator=(const LiveProbe&) = delete;

  /// Lets a minute go by: the machine is read in the middle of it, and a pass ends it.
  void Pass() {
    clock_.Set(now_ + kMinute / 2);
    machine_.RefreshOnce();
    now_ += kMinute;
    clock_.RunPass(now_);
  }

  WebsocketClient Connect() const {
    ClientOptions options;
    options.port = server_.port();
    return WebsocketClient(options);
  }

  std::string mac() const { return machine_.mac(); }
  const LoadedPlugin& plugin() const { return plugin_; }

 private:
  time_t now_ = kStart;
  VirtualClock clock_;
  ClockInstallation installed_;
  ThisMachine machine_;
  LoadedPlugin plugin_;
  WebServer server_{ServerOnAnyPort(), SubscriptionService::Instance()};
};

/// The next message, which has to be one JSON value and nothing else.
json NextMessage(WebsocketClient& client) {
  const std::optional<std::string> text = client.Receive(test::kPatience);
  if (!text) return {};
  return json::parse(*text);
}

void SubscribeTraffic(WebsocketClient& client) {
  client.SendText(
      R"({"subscribe": {"topic": "TrafficMonitor", "request": [{"sid": "live", "filter": {"interval": "1m"}}]}})");
  ASSERT_EQ(NextMessage(client), json::parse(R"({"subscribed": {"topic": "TrafficMonitor", "sids": ["live"]}})"));
}

/// The octets for which the samples of one interface account, a minute each.
std::uint64_t OctetsOf(const json& samples, const char* direction) {
  std::uint64_t octets = 0;
  for (const json& sample : samples) octets += sample.at(direction).get<std::uint64_t>() * kMinute;
  return octets;
}

TEST(LiveTraffic, OfAFileSentOverTheLoopbackIsAccountedForWithinFivePercent) {
  constexpr std::uint64_t kFileOctets = 200ull << 20;
  const test::TestFolder folder;
  test::WriteLargeFile(folder.Path("file"), kFileOctets);
  LiveProbe probe;
  WebsocketClient client = probe.Connect();
  SubscribeTraffic(client);

  probe.Pass();
  const json first = NextMessage(client);
  ASSERT_EQ(test::TransferOverLoopback(folder.Path("file")), kFileOctets);
  probe.Pass();
  const json second = NextMessage(client);

  EXPECT_EQ(first.at("name"), "TrafficMonitor");
  EXPECT_EQ(first.at("data").at("1m").at("traffic_data"), json::object()) << "one reading gives no speed yet";
  ASSERT_EQ(second.at("name"), "TrafficMonitor");
  EXPECT_EQ(second.at("data").at("1m").at("sid"), json::array({"live"}));
  const json& lo = second.at("data").at("1m").at("traffic_data").at(probe.mac()).at("lo");
  EXPECT_EQ(lo.at("ifIndex"), 1);
  ASSERT_EQ(lo.at("traffic").size(), 2u);
  EXPECT_EQ(lo.at("traffic").at(1).at("time"), (kStart + 2 * kMinute) / kMinute);
  for (const char* direction : {"input", "output"}) {
    const std::uint64_t octets = OctetsOf(lo.at("traffic"), direction);
    RecordProperty(std::string(direction) + "_permille_of_the_file", static_cast<int>(octets * 1000 / kFileOctets));
    EXPECT_GE(octets, kFileOctets / 100 * 95) << direction;
    EXPECT_LE(octets, kFileOctets / 100 * 105) << direction;
  }
}

TEST(LiveTraffic, IsToldToOtherModulesOfTheHostAsItIsToClients) {
  LiveProbe probe;
  WebsocketClient client = probe.Connect();
  SubscribeTraffic(client);
  probe.Pass();
  NextMessage(client);
  const test::TestFolder folder;
  test::WriteLargeFile(folder.Path("file"), 1 << 20);
  test::TransferOverLoopback(folder.Path("file"));
  probe.Pass();

  std::map<std::string, unsigned long long> traffic;
  probe.plugin().GetInterfaceTraffic(probe.mac(), "lo", traffic);

  const json message = NextMessage(client);
  const json& newest = message.at("data").at("1m").at("traffic_data").at(probe.mac()).at("lo").at("traffic").back();
  EXPECT_GT(traffic["input"], (1u << 20) / 60);
  EXPECT_EQ(newest.at("input"), traffic["input"]);
  EXPECT_EQ(newest.at("output"), traffic["output"]);
}

}  // namespace
}  // namespace probe
