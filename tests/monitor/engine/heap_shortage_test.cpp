// Every monitor, with the heap exhausted for a moment at one of the allocations of a call, one after the other.

#include "tests/support/shortage/heap_shortage.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/json_tree.h"
#include "monitor/health/health_monitor.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/traffic/traffic_monitor.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace {

using monitoring::JsonTree;
using monitoring::WithinBoundary;
using test::HeapShortage;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using vexora_probe::models::controller::AssocClientState;
using vexora_probe::models::controller::WIFIBandType;

constexpr time_t kNoon = 1'795'262'400;  // 2026-11-21 12:00:00 UTC
constexpr const char* kLobby = "AA:AA:AA:AA:AA:01";
constexpr const char* kYard = "AA:AA:AA:AA:AA:02";

/// A monitor to be tried.
struct Candidate {
  const char* name;
  std::function<std::shared_ptr<Monitor>()> make;
  const char* topic = nullptr;  ///< Of the messages that it pushes; null: it is asked for reports.
  const char* filter = "{}";
  bool remembers = true;  ///< What it shows depends on the passes before the last.
  int passes = 1;         ///< Between two samples.

  friend std::ostream& operator<<(std::ostream& out, const Candidate& candidate) { return out << candidate.name; }
};

template <typename Kind>
std::shared_ptr<Monitor> Make() {
  return std::make_shared<Kind>();
}

constexpr const char* kShortestView = R"({"interval": "1m"})";
constexpr const char* kLobbyOnly = R"({"interval": "1m", "mac": "AA:AA:AA:AA:AA:01"})";
constexpr const char* kTopOfAll = R"({
    "access_point": {"traffic": {"count": 9, "orderby": "total"}, "clients": {"count": 9}},
    "wireless_networks": {"traffic": {"count": 9, "orderby": "in"}, "clients": {"count": 9}},
    "wireless_clients": {"traffic": {"count": 9, "orderby": "out"}}})";

const Candidate kLive[] = {
    {"Health", &Make<HealthMonitor>, monitoring::kHealthMonitor, "{}", false},
    {"ClientCount", &Make<ClientCountMonitor>, monitoring::kSsidClientCountMonitor, kShortestView},
    {"Traffic", &Make<TrafficMonitor>, monitoring::kTrafficMonitor, kShortestView},
    {"HealthOfADevice", &Make<HealthMonitor>, monitoring::kHealthMonitor, kLobbyOnly, false},
    {"ClientCountOfADevice", &Make<ClientCountMonitor>, monitoring::kDevicesClientCountMonitor, kLobbyOnly},
    {"TrafficOfADevice", &Make<TrafficMonitor>, monitoring::kTrafficMonitor, kLobbyOnly},
    {"WirelessTop", &Make<WirelessTopMonitor>, monitoring::kWirelessTopMonitor, kTopOfAll, false},
};
const Candidate kReports[] = {
    {"WirelessNetworkReport", &Make<vexora_probe::monitor::WirelessNetworkReport>, nullptr, "{}", true, 5},
    {"WirelessClientReport", &Make<WirelessClientReport>},
};

AssocClientState Client(const std::string& mac) {
  AssocClientState client;
  client.mac = mac;
  client.hostname = "a client with a name that no short string holds";
  client.in_bytes = 70'000;
  return client;
}

class HeapShortageTest : public ::testing::TestWithParam<Candidate> {
 protected:
  HeapShortageTest() {
    Describe(kLobby, "CC:CC:CC:CC:CC:01");
    Describe(kYard, "CC:CC:CC:CC:CC:02");
    if (GetParam().topic != nullptr)
      probe::SubscriptionService::Instance().File(GetParam().topic, probe::ConnectionId{1},
                                                  monitor->FilterParser(request.get()));
    Pass();
    Pass();
    messages.Take();
  }
  ~HeapShortageTest() override { probe::SubscriptionService::Instance().Clear(); }

  void Describe(const char* mac, const char* client) {
    auto access_point = network.AccessPoint(mac);
    access_point.Named("ap").Cpu(5).Uptime(100).Port("eth0", {1000, 2000});
    access_point.Radio("r2", WIFIBandType::k2_4GHz).Wifi("wlan0", "Guest", "r2", {70'000, 80'000});
    access_point.Client("wlan0", Client(client)).Configured("Guest@r2", {.name = "Guest"});
    access_point.PolledAt(kNoon).Neighbours({{.mac = "EE:EE:EE:EE:EE:01", .ssid = "Next door"}});
  }

  /// So many passes that the monitor has taken its samples.
  void Pass() {
    for (int pass = 0; pass < GetParam().passes; ++pass) WithinBoundary("HeapShortage", [&] { NextPass(); });
  }

  void NextPass() {
    now += 60;
    clock.Set(now);
    monitor->set_current_time(now);
    monitor->DataUpdate();
  }

  std::vector<std::string> Sent() {
    std::vector<std::string> texts;
    for (const test::SentMessage& message : messages.Take()) texts.push_back(message.text);
    return texts;
  }

  /// The message that is pushed, or the reports that can be asked for.
  std::vector<std::string> Shown() {
    if (GetParam().topic == nullptr) return Reports();
    monitor->PushData();
    return Sent();
  }

  std::vector<std::string> Reports() {
    return {monitor->GetAvailableTypePeriod(), monitor->GetWirelessReport("daily", Monitor::GetDateStr(kNoon)),
            monitor->GetWirelessReport("weekly", Monitor::GetWeekStr(kNoon))};
  }

  /// What is sent in place of a message when a monitor finds no memory for a part that it asks for first.
  static std::string NoMessage() {
    return GetParam().topic != nullptr && std::string(GetParam().topic) == monitoring::kWirelessTopMonitor ? "{}" : "";
  }

  /// Shows something sound now, and after the next pass as much as `before`.
  void ExpectWorking(const std::vector<std::string>& before) {
    Sent();
    for (const std::string& text : Shown()) EXPECT_NE(JsonTree(json_tokener_parse(text.c_str())), nullptr) << text;
    Pass();
    Sent();
    const std::vector<std::string> after = Shown();
    EXPECT_THAT(after, SizeIs(before.size()));
    EXPECT_TRUE(GetParam().remembers || after == before);
  }

  /// Calls again and again, and has each time a later allocation fail, until the call has no more of them: each kind of
  /// allocation, once and for ever. `check` is called after each. Gives how many failed.
  int WithEachAllocationFailing(const std::function<void()>& call, const std::function<void()>& check) {
    int failed = 0;
    for (const auto kind : {HeapShortage::Of::kNew, HeapShortage::Of::kMalloc}) {
      for (const auto lasts : {HeapShortage::Lasts::kOnce, HeapShortage::Lasts::kForEver}) {
        for (int spared = 0; !HasFailure(); ++spared) {
          messages.Take();  // of the call before, which may have come to its end
          SCOPED_TRACE((kind == HeapShortage::Of::kNew ? "new, after " : "malloc, after ") + std::to_string(spared) +
                       " allocations" + (lasts == HeapShortage::Lasts::kOnce ? "" : ", for ever"));
          {
            const HeapShortage shortage(spared, kind, lasts);
            call();
            if (!HeapShortage::HasStruck()) break;
            ++failed;
          }
          check();
        }
      }
    }
    return failed;
  }

  long now = kNoon;
  probe::VirtualClock clock{kNoon};
  probe::ClockInstallation installation{clock};
  test::Network network;
  test::LogCapture log;
  test::MessageCapture messages;
  std::shared_ptr<Monitor> monitor = GetParam().make();
  JsonTree request{json_tokener_parse((R"([{"sid": "a", "filter": )" + std::string(GetParam().filter) + "}]").c_str())};
};

TEST_P(HeapShortageTest, InAPassLeavesAMonitorThatWorks) {
  const std::vector<std::string> before = Shown();
  const int failed = WithEachAllocationFailing([&] { Pass(); }, [&] { ExpectWorking(before); });
  EXPECT_GT(failed, 10);
}

TEST_P(HeapShortageTest, InARequestThrowsNothing) {
  const int failed = WithEachAllocationFailing([&] { EXPECT_NO_THROW(monitor->FilterParser(request.get())); },
                                               [&] { EXPECT_THAT(monitor->FilterParser(request.get()), SizeIs(1)); });
  EXPECT_GT(failed, 1);
}

TEST_P(HeapShortageTest, InACleanUpLeavesAMonitorThatWorks) {
  const std::vector<std::string> before = Shown();
  const int failed = WithEachAllocationFailing(
      [&] { WithinBoundary("HeapShortage", [&] { monitor->Cleanup(kYard); }); }, [&] { ExpectWorking(before); });
  EXPECT_GT(failed, 0);
}

INSTANTIATE_TEST_SUITE_P(Live, HeapShortageTest, ::testing::ValuesIn(kLive),
                         [](const auto& test) { return test.param.name; });
INSTANTIATE_TEST_SUITE_P(Reports, HeapShortageTest, ::testing::ValuesIn(kReports),
                         [](const auto& test) { return test.param.name; });

class HeapShortageOfLive : public HeapShortageTest {};

TEST_P(HeapShortageOfLive, InAPushThrowsNothingAndSendsNothingHalf) {
  const std::vector<std::string> whole = Shown();
  ASSERT_THAT(whole, SizeIs(1));
  const auto subscriptions = subscribes::SubscribesManager::GetInstance().GetSubscribeList(GetParam().topic);
  const int failed = WithEachAllocationFailing([&] { EXPECT_NO_THROW(monitor->PushDataBySID(subscriptions)); },
                                               [&] {
                                                 EXPECT_THAT(Sent(), AnyOf(IsEmpty(), whole, ElementsAre(NoMessage())));
                                                 EXPECT_EQ(Shown(), whole);
                                               });
  EXPECT_GT(failed, 5);
}

INSTANTIATE_TEST_SUITE_P(Monitors, HeapShortageOfLive, ::testing::ValuesIn(kLive),
                         [](const auto& test) { return test.param.name; });

class HeapShortageOfReports : public HeapShortageTest {};

TEST_P(HeapShortageOfReports, InAReportChangesNothing) {
  const std::vector<std::string> whole = Reports();
  const int failed = WithEachAllocationFailing([&] { WithinBoundary("HeapShortage", [&] { Reports(); }); },
                                               [&] { EXPECT_EQ(Reports(), whole); });
  EXPECT_GT(failed, 5);
}

INSTANTIATE_TEST_SUITE_P(Monitors, HeapShortageOfReports, ::testing::ValuesIn(kReports),
                         [](const auto& test) { return test.param.name; });

}  // namespace
