// The built library in a process whose memory ends: whatever it sends, or answers, is whole.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <json-c/json.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/tasks.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/text/json_c_handle.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"
#include "tests/support/shortage/heap_shortage.h"

namespace {

using test::HeapShortage;
using Texts = std::vector<std::string>;

constexpr time_t kMidnight = 1'795'219'200;  // 2026-11-21 00:00:00 UTC
constexpr const char* kLobby = "AA:AA:AA:AA:AA:01";

struct Subscription {
  const char* topic;
  const char* request;
  const char* no_message = nullptr;  ///< What the monitor sends when it finds no memory for what it asks for first.
};
constexpr std::array<Subscription, 5> kSubscriptions{{
    {"TrafficMonitor", R"([{"sid": "all", "filter": {"interval": "1m"}},
                          {"sid": "one", "filter": {"interval": "1m", "mac": "AA:AA:AA:AA:AA:01"}}])"},
    {"SSIDClientCountMonitor", R"([{"sid": "all", "filter": {}}])"},
    {"DevicesClientCountMonitor", R"([{"sid": "all", "filter": {}},
                                     {"sid": "one", "filter": {"mac": "AA:AA:AA:AA:AA:01"}}])"},
    {"HealthMonitor", R"([{"sid": "all", "filter": {}}])", ""},
    {"wireless_top_monitor", R"([{"sid": "all", "filter": {
        "access_point": {"traffic": {"count": 9, "orderby": "total"}, "clients": {"count": 9}},
        "wireless_networks": {"traffic": {"count": 9, "orderby": "in"}, "clients": {"count": 9}},
        "wireless_clients": {"traffic": {"count": 9, "orderby": "out"}}}}])",
     "{}"},
}};

struct Shortage {
  HeapShortage::Of kind;
  HeapShortage::Lasts lasts;
  int spared;
};

/// Lets the memory of the engine's thread end in a pass.
class ShortClock final : public probe::Clock {
 public:
  explicit ShortClock(time_t start) : clock_(start) {}

  timeval Now() override { return clock_.Now(); }

  unsigned Sleep(unsigned seconds) override {
    has_struck_ = shortage_.has_value() && HeapShortage::HasStruck();
    shortage_.reset();
    const unsigned left = clock_.Sleep(seconds);
    if (wanted_) shortage_.emplace(wanted_->spared, wanted_->kind, wanted_->lasts);
    return left;
  }

  void AwaitSleeper() { clock_.AwaitSleeper(); }

  /// Runs a pass. Tells whether its memory ended.
  bool RunPass(time_t at, std::optional<Shortage> wanted = std::nullopt) {
    clock_.AwaitSleeper();
    wanted_ = wanted;
    clock_.RunPass(at);
    return has_struck_;
  }

 private:
  probe::VirtualClock clock_;
  // Handed from thread to thread by the clock: the engine sleeps while they are set and read.
  std::optional<Shortage> wanted_;
  bool has_struck_ = false;
  std::optional<HeapShortage> shortage_;  // the engine's
};

class PluginShortage : public ::testing::Test {
 protected:
  PluginShortage() {
    EXPECT_NE(library_, nullptr) << dlerror();
    for (int pass = 1; pass <= 6; ++pass) Describe(kMidnight + pass * 60);
    EXPECT_EQ(Find<int()>("RegisterMonitors")(), 1);
    for (const Subscription& each : kSubscriptions) {
      const probe::JsonCHandle request(json_tokener_parse(each.request));
      auto& service = probe::SubscriptionService::Instance();
      service.File(each.topic, probe::ConnectionId{1}, service.Parse(each.topic, request.get()).value());
    }
    for (int pass = 1; pass <= 6; ++pass) Pass();
    messages_.Take();
  }
  ~PluginShortage() override {
    Find<void()>("stop_monitor")();
    probe::SubscriptionService::Instance().Clear();
    RegisterMonitorMemoryCleanup(nullptr);
    dlclose(library_);
  }

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(library_, name));
  }

  /// Two access points whose counters grow.
  void Describe(time_t now) {
    const auto octets = static_cast<std::uint64_t>(now - kMidnight) * static_cast<std::uint64_t>(now - kMidnight);
    for (const std::string mac : {kLobby, "AA:AA:AA:AA:AA:02"}) {
      auto access_point = network_.AccessPoint(mac);
      access_point.Named("ap/" + mac).Cpu(10).Uptime(100).Port("eth0", {octets, 2 * octets});
      access_point.Radio("r2", vexora_probe::models::controller::WIFIBandType::k2_4GHz);
      access_point.Wifi("wlan0", "Guest/1", "r2", {octets, octets}).Clients("wlan0", 2);
      access_point.Configured("Guest/1@r2", {.name = "Guest/1"}).SampledAt(now).PolledAt(now);
      access_point.Neighbours({{.mac = "EE:EE:EE:EE:EE:01", .ssid = "Next door"}});
    }
  }

  bool Pass(std::optional<Shortage> shortage = std::nullopt) {
    now_ += 60;
    Describe(now_);
    return clock_.RunPass(now_, shortage);
  }

  Texts Sent() {
    Texts texts;
    for (test::SentMessage& message : messages_.Take()) texts.push_back(std::move(message.text));
    return texts;
  }

  /// What all topics show now.
  Texts Shown() {
    Sent();
    for (const Subscription& each : kSubscriptions) {
      probe::SubscriptionService::Instance().PushNow(each.topic, probe::ConnectionId{1});
    }
    return Sent();
  }

  /// Calls `attempt` with each kind of shortage, each time a later one, until it tells that memory did not end. Gives
  /// how many did.
  static int WithEachShortage(const std::function<bool(const Shortage&)>& attempt) {
    int failed = 0;
    for (const auto kind : {HeapShortage::Of::kNew, HeapShortage::Of::kMalloc}) {
      for (const auto lasts : {HeapShortage::Lasts::kOnce, HeapShortage::Lasts::kForEver}) {
        for (int spared = 0; !HasFailure(); ++spared, ++failed) {
          SCOPED_TRACE((kind == HeapShortage::Of::kNew ? "new, after " : "malloc, after ") + std::to_string(spared) +
                       " allocations" + (lasts == HeapShortage::Lasts::kOnce ? "" : ", for ever"));
          if (!attempt({.kind = kind, .lasts = lasts, .spared = spared})) break;
        }
      }
    }
    return failed;
  }

  static void ExpectEachIn(const Texts& whole, const Texts& sent) {
    for (const std::string& text : sent) {
      EXPECT_GT(std::count(whole.begin(), whole.end(), text), 0) << "sent: " << text;
    }
  }

  time_t now_ = kMidnight;
  ShortClock clock_{kMidnight};
  probe::ClockInstallation installation_{clock_};
  test::Network network_;
  test::MessageCapture messages_;
  void* library_ = dlopen(VEXORA_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
};

TEST_F(PluginShortage, OfAHostThreadSendsWholeMessagesOnly) {
  const Texts shown = Shown();
  ASSERT_EQ(shown.size(), 7U);
  for (const Subscription& each : kSubscriptions) {
    Texts whole = shown;
    if (each.no_message != nullptr) whole.emplace_back(each.no_message);
    const int failed = WithEachShortage([&](const Shortage& wanted) {
      bool has_struck = false;
      Sent();
      {
        const HeapShortage shortage(wanted.spared, wanted.kind, wanted.lasts);
        try {
          probe::SubscriptionService::Instance().PushNow(each.topic, probe::ConnectionId{1});
        } catch (const std::bad_alloc&) {  // the host's own
        }
        has_struck = HeapShortage::HasStruck();
      }
      ExpectEachIn(whole, Sent());
      return has_struck;
    });
    EXPECT_GT(failed, 10) << each.topic;
  }
  EXPECT_EQ(Shown(), shown);
}

TEST_F(PluginShortage, InAPassSendsWholeMessagesOnly) {
  const int failed = WithEachShortage([&](const Shortage& wanted) {
    Sent();
    const bool has_struck = Pass(wanted);
    const Texts sent = Sent();
    Texts whole = Shown();  // nothing has changed since
    for (const char* text : {"", "{}"}) whole.emplace_back(text);
    ExpectEachIn(whole, sent);
    return has_struck;
  });
  EXPECT_GT(failed, 500);
  Pass();
  EXPECT_EQ(Sent().size(), 7U);
}

}  // namespace
