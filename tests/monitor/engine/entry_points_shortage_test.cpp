// Start and stop of the engine, and the threads of a host, with the heap exhausted.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/entry_points.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "platform/logging.h"
#include "platform/tasks.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"
#include "tests/support/sanitizers.h"
#include "tests/support/shortage/heap_shortage.h"
#include "tests/support/taken_text.h"

namespace {

using test::HeapShortage;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class IdleTask final : public Task {
 public:
  explicit IdleTask(const std::string& name) : Task(name) {}
  void Run() override {}
};

/// Whether a task of this name runs: then another one is refused.
bool IsRunning(const std::string& name) {
  if (task_manager::StartTask(std::make_shared<IdleTask>(name)) < 0) return true;
  task_manager::WaitTaskPool(name);
  return false;
}

class EngineShortage : public ::testing::Test {
 protected:
  EngineShortage() { MonitoringManager::GetInstance().set_stop_flag(false); }
  ~EngineShortage() override {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }

  void ExpectAStopWithoutMemory() {
    for (const auto kind : {HeapShortage::Of::kNew, HeapShortage::Of::kMalloc}) {
      MonitoringManager::GetInstance().set_stop_flag(false);
      ASSERT_EQ(RegisterMonitors(), 1);
      clock.AwaitSleeper();
      {
        const HeapShortage shortage(0, kind, HeapShortage::Lasts::kForEver);
        stop_monitor();
      }
      EXPECT_FALSE(IsRunning(monitoring::kMergeTask));
      EXPECT_EQ(MonitoringManager::GetInstance().GetMonitor(monitoring::kHealthMonitor), nullptr);
      probe::SubscriptionService::Instance().Clear();
    }
  }

  probe::VirtualClock clock{1'795'219'200};
  probe::ClockInstallation installation{clock};
  test::Network network;
};

TEST_F(EngineShortage, AStopNeedsNoMemory) {
  ExpectAStopWithoutMemory();
}

/// Where log lines take memory: at the level at which each step writes one.
class DebugLogShortage : public EngineShortage {
 protected:
  DebugLogShortage() {
    probe::log::SetLevel(probe::log::Level::kDebug);
    probe::log::SetWriter([](probe::log::Level, int, const std::string&) {});
  }
  ~DebugLogShortage() override {
    stop_monitor();
    probe::log::SetWriter({});
    probe::log::SetLevel(probe::log::Level::kInfo);
  }

  /// An access point whose counters grow.
  void Describe(const std::string& mac, time_t now) {
    const auto octets = static_cast<std::uint64_t>(now - 1'795'000'000) * static_cast<std::uint64_t>(now % 1'000'000);
    auto access_point = network.AccessPoint(mac);
    access_point.Named("ap").Radio("r2", vexora_probe::models::controller::WIFIBandType::k2_4GHz).Cpu(10);
    access_point.Port("eth0", {octets, octets});
    access_point.Wifi("wlan0", "Guest", "r2", {octets, octets}).Clients("wlan0", 2);
    access_point.SampledAt(now).PolledAt(now);
  }

  /// What a monitor pushes to a subscriber of each of its topics.
  static std::string Shown(const std::string& name, test::MessageCapture& messages) {
    const auto monitor = MonitoringManager::GetInstance().GetMonitor(name);
    std::vector<const char*> topics{name.c_str()};
    if (name == monitoring::kClientCountMonitor) {
      topics = {monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor};
    }
    const monitoring::JsonTree request(json_tokener_parse(R"([{"sid": "a", "filter": {"interval": "1m"}}])"));
    for (const char* topic : topics) {
      probe::SubscriptionService::Instance().File(topic, probe::ConnectionId{1}, monitor->FilterParser(request.get()));
    }
    messages.Take();
    monitor->PushData();
    std::string shown;
    for (const test::SentMessage& message : messages.Take()) shown += message.text;
    return shown;
  }

  static constexpr std::array<const char*, 3> kKeepers{monitoring::kHealthMonitor, monitoring::kClientCountMonitor,
                                                       monitoring::kTrafficMonitor};
};

TEST_F(DebugLogShortage, ALineIsLostAndNothingElse) {
  const std::string text(2'000, 'x');
  for (const auto kind : {HeapShortage::Of::kNew, HeapShortage::Of::kMalloc}) {
    const HeapShortage shortage(0, kind, HeapShortage::Lasts::kForEver);
    EXPECT_NO_THROW(pel_log_debug(log_module::kMonitor, "%s", text.c_str()));
    EXPECT_NO_THROW(pel_log_info(log_module::kMonitor, "%s", text.c_str()));
    EXPECT_NO_THROW(pel_log_error(log_module::kMonitor, "%s", text.c_str()));
    EXPECT_TRUE(kind == HeapShortage::Of::kMalloc || HeapShortage::HasStruck());
  }
}

TEST_F(DebugLogShortage, AStopNeedsNoMemory) {
  ExpectAStopWithoutMemory();
}

TEST_F(DebugLogShortage, ACleanUpNeedsNoMemory) {
  const std::string mac = "AA:AA:AA:AA:AA:01";
  const std::string other = "AA:AA:AA:AA:AA:02";
  test::MessageCapture messages;
  time_t now = 1'795'219'200;
  for (const auto lasts : {HeapShortage::Lasts::kOnce, HeapShortage::Lasts::kForEver}) {
    bool has_struck = true;
    for (int spared = 0; has_struck && !HasFailure(); ++spared) {
      SCOPED_TRACE("after " + std::to_string(spared) + " allocations");
      MonitoringManager::GetInstance().set_stop_flag(false);
      ASSERT_EQ(RegisterMonitors(), 1);
      clock.AwaitSleeper();
      for (int pass = 0; pass < 3; ++pass) {
        now += 60;
        for (const std::string& each : {mac, other}) Describe(each, now);
        clock.RunPass(now);
      }
      for (const char* name : kKeepers) EXPECT_THAT(Shown(name, messages), HasSubstr(mac)) << name;
      {
        const HeapShortage shortage(spared, HeapShortage::Of::kNew, lasts);
        probe::CallMemoryCleanup(mac);
        has_struck = HeapShortage::HasStruck();
      }
      for (const char* name : kKeepers) {
        EXPECT_THAT(Shown(name, messages), AllOf(Not(HasSubstr(mac)), HasSubstr(other))) << name;
      }
      stop_monitor();
      probe::SubscriptionService::Instance().Clear();
    }
  }
}

TEST_F(EngineShortage, AStartSaysWhetherThereIsAnEngine) {
  int failed = 0;
  for (bool has_struck = true; has_struck && !HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    MonitoringManager::GetInstance().set_stop_flag(false);
    int result = 0;
    bool is_refused = false;
    {
      const test::LogCapture log;
      {
        const HeapShortage shortage(failed);
        result = RegisterMonitors();
        has_struck = HeapShortage::HasStruck();
      }
      is_refused = !log.Texts(probe::log::Level::kError, "Add monitor merge task failed").empty();
    }
    // The task service finds no memory for the engine's thread: a refusal, which is logged and no failure.
    if (is_refused) {
      EXPECT_EQ(result, 1);
      EXPECT_FALSE(IsRunning(monitoring::kMergeTask));
      MonitoringManager::GetInstance().startMonitorEngine();
    } else if (result == 0) {
      EXPECT_FALSE(IsRunning(monitoring::kMergeTask));
      EXPECT_EQ(RegisterMonitors(), 1) << "when there is memory again";
    }
    EXPECT_TRUE(IsRunning(monitoring::kMergeTask));
    for (const char* topic : {monitoring::kTrafficMonitor, monitoring::kSsidClientCountMonitor,
                              monitoring::kDevicesClientCountMonitor, monitoring::kWirelessTopMonitor}) {
      EXPECT_TRUE(probe::SubscriptionService::Instance().Parse(topic, nullptr).has_value()) << topic;
    }
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }
  EXPECT_GT(failed, 20);
}

TEST_F(EngineShortage, AMonitorThatFeedsATopicStaysRegistered) {
  MonitoringManager& manager = MonitoringManager::GetInstance();
  probe::SubscriptionService& service = probe::SubscriptionService::Instance();
  int failed = 0;
  int half = 0;
  for (bool has_struck = true; has_struck && !HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    const auto first = std::make_shared<ClientCountMonitor>();
    {
      const HeapShortage shortage(failed);
      monitoring::WithinBoundary("RegisterMonitor", [&] { manager.RegisterMonitor(first); });
      has_struck = HeapShortage::HasStruck();
    }
    const bool is_fed = service.Parse(monitoring::kSsidClientCountMonitor, nullptr).has_value();
    const bool is_other_fed = service.Parse(monitoring::kDevicesClientCountMonitor, nullptr).has_value();
    half += is_fed && !is_other_fed ? 1 : 0;
    EXPECT_TRUE(!is_fed || manager.GetMonitor(monitoring::kClientCountMonitor) == first);
    manager.RegisterMonitor(std::make_shared<ClientCountMonitor>());  // as a host that starts again
    EXPECT_TRUE(!is_fed || manager.GetMonitor(monitoring::kClientCountMonitor) == first);
    EXPECT_TRUE(service.Parse(monitoring::kDevicesClientCountMonitor, nullptr).has_value());
    stop_monitor();
    service.Clear();
  }
  EXPECT_GT(half, 0);
}

/// What json-c takes to parse a request. Its parser ends the process when it finds no memory for the name of a member.
int MallocsOfParser(const char* request) {
  constexpr int kMany = 1'000'000;
  const HeapShortage counting(kMany, HeapShortage::Of::kMalloc);
  const monitoring::JsonTree parsed(json_tokener_parse(request));
  return kMany - HeapShortage::Left();
}

/// Asks again and again, and has each time a later allocation fail: the answer is whole, or there is none. The first
/// `mallocs` of the C library's are spared always.
void ExpectWholeOrNothing(int mallocs, const std::function<char*()>& ask) {
  const std::string whole = test::TakenText(ask());
  int failed = 0;
  for (const auto kind : {HeapShortage::Of::kNew, HeapShortage::Of::kMalloc}) {
    for (const auto lasts : {HeapShortage::Lasts::kOnce, HeapShortage::Lasts::kForEver}) {
      bool has_struck = true;
      const int first = kind == HeapShortage::Of::kMalloc ? mallocs : 0;
      for (int spared = first; has_struck && !::testing::Test::HasFailure(); ++spared) {
        char* answer = nullptr;
        {
          const HeapShortage shortage(spared, kind, lasts);
          answer = ask();
          has_struck = HeapShortage::HasStruck();
        }
        if (has_struck) ++failed;
        // Null is what the host's Strdup gives when not even "{}" can be had.
        const std::string text = answer == nullptr ? "{}" : test::TakenText(answer);
        EXPECT_TRUE(text == whole || text == "{}") << "after " << spared << " allocations: " << text;
      }
    }
  }
  EXPECT_GT(failed, 3);
  EXPECT_EQ(test::TakenText(ask()), whole);
}

TEST_F(EngineShortage, AReportIsWholeOrEmpty) {
  const char* const mac = "AA:AA:AA:AA:AA:01";
  auto access_point = network.AccessPoint(mac);
  access_point.Named("ap").Radio("r2", vexora_probe::models::controller::WIFIBandType::k2_4GHz);
  access_point.Wifi("wlan0", "Guest/1", "r2", {70'000, 80'000}).Clients("wlan0", 2);
  access_point.Configured("Guest/1@r2", {.name = "Guest/1"});
  access_point.PolledAt(1'795'219'200).Neighbours({{.mac = "EE:EE:EE:EE:EE:01", .ssid = "Next door"}});
  ASSERT_EQ(RegisterMonitors(), 1);
  for (int pass = 1; pass <= 5; ++pass) clock.RunPass(1'795'219'200 + pass * 60);
  const char* const request = R"({"report_type": "daily", "period": "2026-11-21"})";
  const int mallocs = MallocsOfParser(request);
  ExpectWholeOrNothing(mallocs, [&] { return get_wireless_network_report(request); });
  ExpectWholeOrNothing(mallocs, [&] { return get_wireless_client_report(request); });
  ExpectWholeOrNothing(0, [] { return get_wireless_network_report_avail_list(nullptr); });
  ExpectWholeOrNothing(0, [] { return get_wireless_client_report_avail_list(nullptr); });
}

TEST(TaskServiceShortage, StartsATaskOrRefusesItAndGoesOn) {
  int failed = 0;
  for (bool has_struck = true; has_struck && !::testing::Test::HasFailure(); ++failed) {
    SCOPED_TRACE("after " + std::to_string(failed) + " allocations");
    const std::string name = "a task with a name that no short string holds";
    const auto task = std::make_shared<IdleTask>(name);
    {
      const HeapShortage shortage(failed);
      EXPECT_NO_THROW(task_manager::StartTask(task));
      has_struck = HeapShortage::HasStruck();
    }
    task_manager::WaitTaskPool(name);
    EXPECT_FALSE(IsRunning(name));
  }
  EXPECT_GT(failed, 2);
}

/// What json-c keeps in a value for its text stays as long as the value, and is written by whoever asks for it.
TEST(RequestShortage, AFilterParserLeavesTheRequestAsItWas) {
  if (test::kWithAsan || test::kWithTsan) GTEST_SKIP() << "the sanitizer has an allocator of its own";
  WirelessTopMonitor monitor;
  const monitoring::JsonTree request(json_tokener_parse(
      R"([{"sid": 7, "filter": {"interval": ["1m"], "mac": {"a": 1}, "wireless_clients": {"traffic": {"flag": 1}}}}])"));
  const long before = test::BlocksOfMalloc();
  static_cast<void>(monitor.Monitor::FilterParser(request.get()));
  static_cast<void>(monitor.FilterParser(request.get()));
  EXPECT_EQ(test::BlocksOfMalloc(), before);
}

}  // namespace
