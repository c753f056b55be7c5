// What a host does in the middle of a pass, at each of the calls that the pass makes: it removes a device, or has a
// monitor send a first message. Nothing of this is left to chance, and what is looked at are the values shown.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/health/health_monitor.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/traffic/traffic_monitor.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/subscription_service.h"
#include "tests/support/host_calls/host_calls.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;
using vexora_probe::models::controller::AssocClientState;
using vexora_probe::models::controller::WIFIBandType;
using Texts = std::vector<std::string>;

constexpr time_t kBegin = 1'795'262'400;  // 2026-11-21 12:00:00 UTC
constexpr int kDevices = 3;
constexpr int kCollisionPass = 5;  // in which the 5-minute views get their first samples
constexpr int kLastPass = 7;

/// A monitor to be tried.
struct Colliding {
  const char* name;
  std::function<std::shared_ptr<Monitor>()> make;
  std::vector<const char*> topics;  ///< Of the messages that it pushes; none: it is asked for reports.
  std::vector<const char*> filters{"{}"};
  int minutes = 1;                ///< Between two samples.
  bool is_published_last = true;  ///< What a pass collects is shown at its end, and readers need not wait for it.

  friend std::ostream& operator<<(std::ostream& out, const Colliding& colliding) { return out << colliding.name; }
};

template <typename Kind>
std::shared_ptr<Monitor> MakeColliding() {
  return std::make_shared<Kind>();
}

const Colliding kHealth{"Health", &MakeColliding<HealthMonitor>, {monitoring::kHealthMonitor}};
const Colliding kClientCount{"ClientCount",
                             &MakeColliding<ClientCountMonitor>,
                             {monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor},
                             {R"({"interval": "1m"})", R"({"interval": "5m"})"}};
const Colliding kTraffic{"Traffic",
                         &MakeColliding<TrafficMonitor>,
                         {monitoring::kTrafficMonitor},
                         {R"({"interval": "1m"})", R"({"interval": "5m"})"}};
const Colliding kWirelessTop{
    "WirelessTop",
    &MakeColliding<WirelessTopMonitor>,
    {monitoring::kWirelessTopMonitor},
    {R"({"access_point": {"traffic": {"count": 9, "orderby": "total"}, "clients": {"count": 9}},
    "wireless_networks": {"traffic": {"count": 9, "orderby": "in"}, "clients": {"count": 9}},
    "wireless_clients": {"traffic": {"count": 9, "orderby": "out"}}})"},
    1,
    false};
const Colliding kClientReport{"WirelessClientReport", &MakeColliding<WirelessClientReport>, {}, {"{}"}, 1, false};
const Colliding kNetworkReport{
    "WirelessNetworkReport", &MakeColliding<vexora_probe::monitor::WirelessNetworkReport>, {}, {"{}"}, 5, false};

std::string CollidingMac(int device) {
  return "AA:AA:AA:AA:AA:0" + std::to_string(device);
}

/// The network of a monitor, from its first pass to its last. One at a time.
class Story {
 public:
  explicit Story(const Colliding& colliding) : colliding_(colliding) {
    std::uintptr_t connection = 0;
    for (const char* topic : colliding_.topics) {
      for (const char* filter : colliding_.filters) {
        const monitoring::JsonTree request(
            json_tokener_parse((R"([{"sid": "a", "filter": )" + std::string(filter) + "}]").c_str()));
        probe::SubscriptionService::Instance().File(topic, probe::ConnectionId{++connection},
                                                    monitor_->FilterParser(request.get()));
      }
    }
  }
  ~Story() { probe::SubscriptionService::Instance().Clear(); }
  Story(const Story&) = delete;
  Story& operator=(const Story&) = delete;

  /// Passes until before that of the given number.
  void LiveUntil(int pass) {
    while (pass_ < pass - 1) {
      Begin();
      Work();
    }
  }

  /// The network as it is at the next pass, and its time.
  void Begin() {
    ++pass_;
    for (int device = 0; device < kDevices; ++device) {
      if (device != removed_) Describe(device);
    }
  }

  /// Samples and folds. A monitor that samples every fifth minute does so in the last of its passes.
  void Work() {
    for (int minute = 1; minute <= colliding_.minutes; ++minute) {
      const time_t now = kBegin + ((pass_ - 1) * colliding_.minutes + minute) * 60;
      clock_.Set(now);
      monitor_->set_current_time(now);
      monitor_->CollectData();
      monitor_->DataMerge();
    }
  }

  void Remove(int device) {
    removed_ = device;
    probe::DeviceCentre::Instance().Forget(CollidingMac(device));
    monitor_->Cleanup(CollidingMac(device));
  }

  /// What the monitor shows of the network.
  Texts Shown() {
    if (!colliding_.topics.empty()) {
      monitor_->PushData();
      Texts texts;
      for (const test::SentMessage& message : messages_.Take()) texts.push_back(message.text);
      std::sort(texts.begin(), texts.end());  // filters, by which messages are grouped, have no order
      if (const auto traffic = std::dynamic_pointer_cast<TrafficMonitor>(monitor_)) {
        for (int device = 0; device < kDevices; ++device) texts.push_back(NewestSpeed(*traffic, device));
      }
      return texts;
    }
    return {monitor_->GetAvailableTypePeriod(), monitor_->GetWirelessReport("daily", Monitor::GetDateStr(kBegin)),
            monitor_->GetWirelessReport("weekly", Monitor::GetWeekStr(kBegin))};
  }

  /// What is shown after this pass and those that follow it.
  std::vector<Texts> ShownUntilTheLast() {
    std::vector<Texts> shown{Shown()};
    while (pass_ < kLastPass) {
      Begin();
      Work();
      shown.push_back(Shown());
    }
    return shown;
  }

  /// What a monitor of somebody else's shows of this network.
  Texts ShownBy(Monitor& monitor) {
    messages_.Take();
    Texts texts;
    const std::map<std::string, Texts> topics{
        {monitoring::kHealthMonitor, {monitoring::kHealthMonitor}},
        {monitoring::kTrafficMonitor, {monitoring::kTrafficMonitor}},
        {monitoring::kClientCountMonitor,
         {monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor}}};
    for (const std::string& topic : topics.at(monitor.GetMonitorName())) {
      const monitoring::JsonTree request(json_tokener_parse(R"([{"sid": "a", "filter": {"interval": "1m"}}])"));
      probe::SubscriptionService::Instance().File(topic, probe::ConnectionId{99}, monitor.FilterParser(request.get()));
    }
    monitor.PushData();
    for (const test::SentMessage& message : messages_.Take()) texts.push_back(message.text);
    return texts;
  }

  /// One pass, in which another thread acts after call number `at` of the host. It is waited for, but not for ever: the
  /// pass may hold a lock that it needs. Returns the number of calls.
  int WorkWhile(int at, const std::function<void()>& act) {
    return While(at, act, [this] { Work(); });
  }
  static int While(int at, const std::function<void()>& act, const std::function<void()>& work) {
    int calls = 0;
    std::atomic<bool> is_done{false};
    std::thread other;
    {
      const test::HostCalls watched([&] {
        if (calls++ != at) return;
        other = std::thread([&] {
          act();
          is_done = true;
        });
        const auto patience = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
        while (!is_done && std::chrono::steady_clock::now() < patience) std::this_thread::yield();
      });
      work();
    }
    if (other.joinable()) other.join();
    return calls;
  }

 private:
  /// What messages leave out as long as it is 0.
  static std::string NewestSpeed(const TrafficMonitor& traffic, int device) {
    std::map<std::string, unsigned long long> newest;
    traffic.GetInterfaceTrafficData(CollidingMac(device), "eth0", newest);
    std::string text;
    for (const auto& [direction, speed] : newest) text += direction + " " + std::to_string(speed) + " ";
    return text;
  }

  void Describe(int device) {
    const auto octets = static_cast<std::uint64_t>(pass_) * static_cast<std::uint64_t>(pass_ + device) * 60'000;
    auto access_point = network_.AccessPoint(CollidingMac(device));
    access_point.Named("ap " + std::to_string(device)).Cpu(10 * pass_ + device).Uptime(pass_ * 600);
    access_point.Port("eth0", {octets, octets / 2}).Radio("r2", WIFIBandType::k2_4GHz);
    access_point.Wifi("wlan0", "Office", "r2", {octets, octets}).Configured("Office@r2", {.name = "Office"});
    const std::string own = "Floor " + std::to_string(device);
    access_point.Wifi("wlan1", own, "r2", {octets, octets}).Configured(own + "@r2", {.name = own});
    for (const char* wifi : {"wlan0", "wlan1"}) {
      access_point.Clients(wifi, 0);
      for (int client = 0; client <= (pass_ + device) % 3; ++client) access_point.Client(wifi, Client(device, client));
    }
    access_point.SampledAt(kBegin + pass_ * 60).PolledAt(kBegin + pass_ * 60);
    access_point.Neighbours({{.mac = "EE:EE:EE:EE:EE:0" + std::to_string(device), .ssid = "Next door"}});
  }

  AssocClientState Client(int device, int number) const {
    AssocClientState client;
    client.mac = "CC:CC:CC:CC:0" + std::to_string(device) + ":0" + std::to_string(number);
    client.in_bytes = client.out_bytes = static_cast<std::uint64_t>(pass_) * 10'240;
    return client;
  }

  const Colliding& colliding_;
  probe::VirtualClock clock_{kBegin};
  probe::ClockInstallation installation_{clock_};
  test::Network network_;
  test::MessageCapture messages_;
  std::shared_ptr<Monitor> monitor_ = colliding_.make();
  int pass_ = 0;
  int removed_ = -1;
};

/// What is shown from the pass of the collision on, of a device that is removed before or after it.
std::vector<Texts> ShownWithoutCollision(const Colliding& colliding, int removed, bool before) {
  Story story(colliding);
  story.LiveUntil(kCollisionPass);
  story.Begin();
  if (before) story.Remove(removed);
  story.Work();
  if (!before) story.Remove(removed);
  return story.ShownUntilTheLast();
}

/// The same of a device that is removed within the pass, at the call of this number.
std::vector<Texts> ShownWithCollision(const Colliding& colliding, int removed, int at) {
  Story story(colliding);
  story.LiveUntil(kCollisionPass);
  story.Begin();
  story.WorkWhile(at, [&] { story.Remove(removed); });
  return story.ShownUntilTheLast();
}

class PassCollision : public ::testing::TestWithParam<Colliding> {
 protected:
  /// How many calls the pass of the collision makes.
  static int Calls() {
    Story story(GetParam());
    story.LiveUntil(kCollisionPass);
    story.Begin();
    return story.WorkWhile(-1, [] {});
  }
};

class CleanUpCollision : public PassCollision {};

TEST_P(CleanUpCollision, LeavesNothingOfADeviceThatIsRemovedInAPass) {
  const int calls = Calls();
  ASSERT_GT(calls, kDevices);
  for (int removed = 0; removed < kDevices; ++removed) {
    const auto before = ShownWithoutCollision(GetParam(), removed, true);
    const auto after = ShownWithoutCollision(GetParam(), removed, false);
    for (int at = 0; at < calls && !HasFailure(); ++at) {
      SCOPED_TRACE("device " + std::to_string(removed) + ", call " + std::to_string(at));
      EXPECT_THAT(ShownWithCollision(GetParam(), removed, at), AnyOf(before, after));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Monitors, CleanUpCollision, ::testing::Values(kHealth, kClientCount, kTraffic, kClientReport),
                         [](const auto& test) { return test.param.name; });

/// A report whose parts are read one after the other: the samples of a device may be from before it was removed, and
/// its name, which each pass asks for anew, from after it. But nothing else may be shown.
class ReportCollision : public PassCollision {
 protected:
  /// Where each value stands in what is shown -> the value.
  static std::map<std::string, nlohmann::json> Values(const std::vector<Texts>& shown) {
    std::map<std::string, nlohmann::json> values;
    for (std::size_t pass = 0; pass < shown.size(); ++pass) {
      for (std::size_t text = 0; text < shown[pass].size(); ++text) {
        const nlohmann::json flat = nlohmann::json::parse(shown[pass][text]).flatten();
        for (const auto& [place, value] : flat.items()) {
          values[std::to_string(pass) + "/" + std::to_string(text) + place] = value;
        }
      }
    }
    return values;
  }
};

TEST_P(ReportCollision, ShowsEachValueAsBeforeOrAfterADeviceIsRemoved) {
  const int calls = Calls();
  ASSERT_GT(calls, kDevices);
  int mixed = 0;
  for (int removed = 0; removed < kDevices; ++removed) {
    const auto before = Values(ShownWithoutCollision(GetParam(), removed, true));
    const auto after = Values(ShownWithoutCollision(GetParam(), removed, false));
    ASSERT_NE(before, after);
    for (int at = 0; at < calls && !HasFailure(); ++at) {
      SCOPED_TRACE("device " + std::to_string(removed) + ", call " + std::to_string(at));
      const auto shown = Values(ShownWithCollision(GetParam(), removed, at));
      mixed += shown != before && shown != after ? 1 : 0;
      for (const auto& [place, value] : shown) {
        const bool is_before = before.contains(place) && before.at(place) == value;
        const bool is_after = after.contains(place) && after.at(place) == value;
        EXPECT_TRUE(is_before || is_after) << place << ": " << value;
      }
      for (const auto& [place, value] : before) EXPECT_TRUE(shown.contains(place) || !after.contains(place)) << place;
    }
  }
  EXPECT_GT(mixed, 0) << "no removal came in the middle";
}

INSTANTIATE_TEST_SUITE_P(Monitors, ReportCollision, ::testing::Values(kNetworkReport),
                         [](const auto& test) { return test.param.name; });

/// The rankings of the pass may still show the device, which each pass ranks anew.
class RankingCollision : public PassCollision {};

TEST_P(RankingCollision, ShowsADeviceThatIsRemovedInAPassNoLongerThanUntilTheNext) {
  const int calls = Calls();
  for (int removed = 0; removed < kDevices; ++removed) {
    const auto before = ShownWithoutCollision(GetParam(), removed, true);
    for (int at = 0; at < calls && !HasFailure(); ++at) {
      Story story(GetParam());
      story.LiveUntil(kCollisionPass);
      story.Begin();
      story.WorkWhile(at, [&] { story.Remove(removed); });
      const auto shown = story.ShownUntilTheLast();
      EXPECT_EQ(Texts(shown.at(1)), before.at(1)) << "device " << removed << ", call " << at;
      EXPECT_THAT(shown.at(1).at(0), Not(HasSubstr(CollidingMac(removed))));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Monitors, RankingCollision, ::testing::Values(kWirelessTop),
                         [](const auto& test) { return test.param.name; });

/// All monitors under the manager, in the collision's pass with the device centre held, as it is where passes are
/// written down: what a host forgets then stays in every list and every answer until the pass is over.
class HeldNetwork : public ::testing::Test {
 protected:
  using Shown = std::map<std::string, std::vector<std::string>>;  // topic -> messages

  static Shown Run(const std::function<void(const std::function<void()>& pass)>& collide) {
    MonitoringManager& manager = MonitoringManager::GetInstance();
    manager.RegisterMonitor(std::make_shared<HealthMonitor>());
    manager.RegisterMonitor(std::make_shared<ClientCountMonitor>());
    manager.RegisterMonitor(std::make_shared<TrafficMonitor>());
    Shown shown;
    {
      Story story(kHealth);
      const auto pass = [&](int number) { manager.DataUpdate(kBegin + number * 60); };
      for (int number = 1; number < kCollisionPass; ++number) {
        story.Begin();
        pass(number);
      }
      story.Begin();
      probe::DeviceCentre::Instance().Hold();
      collide([&] { pass(kCollisionPass); });
      probe::DeviceCentre::Instance().Release();
      for (int number = kCollisionPass + 1; number <= kLastPass; ++number) pass(number);
      for (const char* name :
           {monitoring::kHealthMonitor, monitoring::kClientCountMonitor, monitoring::kTrafficMonitor}) {
        shown[name] = story.ShownBy(*manager.GetMonitor(name));
      }
    }
    manager.stopMonitorEngine();
    manager.set_stop_flag(false);
    return shown;
  }

  static void Remove() {
    probe::DeviceCentre::Instance().Forget(CollidingMac(1));
    MonitoringManager::GetInstance().Cleanup(CollidingMac(1));
  }
};

TEST_F(HeldNetwork, LeavesNothingOfADeviceThatIsRemovedInAPass) {
  const Shown before = Run([](const auto& pass) {
    probe::DeviceCentre::Instance().Release();
    Remove();
    pass();
  });
  const Shown after = Run([](const auto& pass) {
    pass();
    Remove();
  });
  for (const auto& [name, messages] : before) ASSERT_FALSE(messages.empty()) << name;
  int calls = 1;
  for (int at = 0; at < calls && !HasFailure(); ++at) {
    SCOPED_TRACE("call " + std::to_string(at));
    const Shown shown = Run([&](const auto& pass) { calls = Story::While(at, Remove, pass); });
    for (const auto& [name, messages] : shown) EXPECT_THAT(messages, AnyOf(before.at(name), after.at(name))) << name;
  }
  EXPECT_GT(calls, 3 * kDevices);
}

class FirstMessageCollision : public PassCollision {};

TEST_P(FirstMessageCollision, ShowsTheLastPassOrThisOneAndNothingBetween) {
  const int calls = Calls();
  ASSERT_GT(calls, kDevices);
  bool is_last_shown = false;
  for (int at = 0; at < calls && !HasFailure(); ++at) {
    SCOPED_TRACE("call " + std::to_string(at));
    Story story(GetParam());
    story.LiveUntil(kCollisionPass);
    const Texts last = story.Shown();
    story.Begin();
    Texts meanwhile;
    story.WorkWhile(at, [&] { meanwhile = story.Shown(); });
    const Texts now = story.Shown();
    ASSERT_NE(last, now);
    EXPECT_THAT(meanwhile, AnyOf(last, now));
    is_last_shown = is_last_shown || meanwhile == last;
  }
  // Those that hold their lock for the whole pass show this one only.
  EXPECT_EQ(is_last_shown, GetParam().is_published_last);
}

INSTANTIATE_TEST_SUITE_P(Monitors, FirstMessageCollision,
                         ::testing::Values(kHealth, kClientCount, kTraffic, kWirelessTop, kClientReport),
                         [](const auto& test) { return test.param.name; });

/// A host thread that ends itself in a call of the plug-in, as one does that is cancelled there.
class CancelledHostThread : public PassCollision {
 protected:
  /// Calls `call` on a thread that is cancelled after call number `at` of the host. Whether it got there.
  static bool CancelIn(int at, const std::function<void()>& call) {
    struct Argument {
      int at;
      const std::function<void()>& call;
    } argument{at, call};
    const auto run = [](void* pointer) -> void* {
      // No structured binding: clang 14 lets no inner lambda have one.
      const int last = static_cast<Argument*>(pointer)->at;
      const auto& made = static_cast<Argument*>(pointer)->call;
      int calls = 0;
      const test::HostCalls watched([&] {
        if (calls++ != last) return;
        pthread_cancel(pthread_self());
        pthread_testcancel();
      });
      made();
      return nullptr;
    };
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, nullptr, run, &argument), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    return result == PTHREAD_CANCELED;
  }
};

TEST_P(CancelledHostThread, IsUnwoundAndLeavesAMonitorThatWorks) {
  Story story(GetParam());
  story.LiveUntil(kCollisionPass);
  const Texts shown = story.Shown();
  int cancelled = 0;
  while (CancelIn(cancelled, [&] { story.Shown(); })) ++cancelled;
  EXPECT_GT(cancelled, 0);
  story.Shown();
  EXPECT_EQ(story.Shown(), shown);
}

INSTANTIATE_TEST_SUITE_P(Monitors, CancelledHostThread,
                         ::testing::Values(kHealth, kClientCount, kTraffic, kWirelessTop),
                         [](const auto& test) { return test.param.name; });

/// A host whose log lines let the shortage of memory out.
class ThrowingLog : public PassCollision {};

TEST_P(ThrowingLog, DoesNotKeepADeviceThatIsCleanedUp) {
  const auto cleaned_up = ShownWithoutCollision(GetParam(), 1, false);
  bool has_thrown = true;
  int at = 0;
  for (; has_thrown && !HasFailure(); ++at) {
    SCOPED_TRACE("line " + std::to_string(at));
    Story story(GetParam());
    story.LiveUntil(kCollisionPass + 1);
    has_thrown = false;
    {
      int lines = 0;
      const test::HostCalls watched([&] {
        if (lines++ != at) return;
        has_thrown = true;
        throw std::bad_alloc();
      });
      EXPECT_NO_THROW(story.Remove(1));
    }
    EXPECT_THAT(story.ShownUntilTheLast(), cleaned_up);
  }
  EXPECT_GT(at, 1);
}

INSTANTIATE_TEST_SUITE_P(Monitors, ThrowingLog, ::testing::Values(kClientCount, kTraffic),
                         [](const auto& test) { return test.param.name; });

TEST(ThrowingLogOf, ADestructorEndsNothing) {
  auto monitor = std::make_shared<TrafficMonitor>();
  int lines = 0;
  const test::HostCalls watched([&] {
    ++lines;
    throw std::bad_alloc();
  });
  monitor.reset();
  EXPECT_EQ(lines, 2);
}

TEST(ThrowingLogOf, AStopReleasesTheMonitors) {
  MonitoringManager& manager = MonitoringManager::GetInstance();
  manager.RegisterMonitor(std::make_shared<HealthMonitor>());
  {
    const test::HostCalls watched([] { throw std::bad_alloc(); });
    EXPECT_NO_THROW(manager.stopMonitorEngine());
  }
  EXPECT_EQ(manager.GetMonitor(monitoring::kHealthMonitor), nullptr);
  probe::SubscriptionService::Instance().Clear();
  manager.set_stop_flag(false);
}

TEST(CancelledHostThreadOf, ADestructorIsCancelledAfterIt) {
  for (int line = 0; line < 2; ++line) {
    bool is_over = false;
    std::thread([&] {
      struct Note {
        bool& is_over;
        ~Note() { is_over = true; }
      };
      auto monitor = std::make_shared<TrafficMonitor>();
      const Note note{is_over};
      int calls = 0;
      const test::HostCalls watched([&] {
        if (calls++ != line) return;
        pthread_cancel(pthread_self());
        pthread_testcancel();
      });
      monitor.reset();
      EXPECT_EQ(calls, 2);
      pthread_testcancel();
      ADD_FAILURE() << "was never cancelled";
    }).join();
    EXPECT_TRUE(is_over);
  }
}

}  // namespace
