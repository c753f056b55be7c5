// Everything that a host may do at once with the loaded libmonitor.so, for some seconds: passes of the engine, eight
// threads that ask for reports and speeds, two that change subscriptions and filters, two that clean devices up, one
// that changes the devices' states, and in the end the stop, while all of them go on. Each message and report is held
// against its schema and against what the network can have shown. Exit status 0: nothing was wrong.
//
//   storm [--seconds N] [--seed N]

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/tasks.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/sending.h"
#include "probe/host/subscription_service.h"
#include "probe/plugin/loaded_plugin.h"
#include "probe/text/json_c_handle.h"
#include "tests/plugin/storm_checks.h"
#include "tests/plugin/storm_network.h"
#include "tests/support/taken_text.h"

namespace {

using storm::kTopics;
using test::TakenText;
using Random = std::mt19937;

constexpr int kReaders = 8;
constexpr int kChangers = 2;
constexpr int kCleaners = 2;
constexpr probe::ConnectionId kSteady{1};  // whose subscriptions nobody changes

storm::Checks checks;                   // that of the send function
std::atomic<int> steady_messages{0};    // that the connection got
std::atomic<int> changing_messages{0};  // that all others got

void Send(lws* connection, const std::string& text) {
  ++(probe::FromHandle(connection) == kSteady ? steady_messages : changing_messages);
  checks.Message(text);
}

int Draw(Random& random, int sides) {
  return std::uniform_int_distribution<int>(0, sides - 1)(random);
}

template <typename Choice, std::size_t kSize>
const Choice& One(Random& random, const std::array<Choice, kSize>& choices) {
  return choices[static_cast<std::size_t>(Draw(random, kSize))];
}

/// Local dates and weeks as texts, of a time in UTC.
std::string Formatted(time_t time) {
  tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 16> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
  return text.data();
}

std::string WeekOf(time_t time) {
  constexpr time_t kDay = 86'400;
  const time_t weekday = (time / kDay + 4) % 7;  // 1970 began on a Thursday
  return Formatted(time - weekday * kDay) + "/" + Formatted(time + (6 - weekday) * kDay);
}

/// What must have been seen with content for the storm to have been one.
std::vector<std::string> ExpectedContents() {
  std::vector<std::string> expected = kTopics;
  for (const char* name : {"wireless_client_report", "wireless_client_report_periods", "wireless_network_report",
                           "wireless_network_report_avail_list", "GetInterfaceTraffic"}) {
    expected.emplace_back(name);
  }
  return expected;
}

bool HasShownAll() {
  auto filled = checks.Filled();
  return std::ranges::all_of(ExpectedContents(), [&](const std::string& name) { return filled[name] > 0; });
}

void ExpectAllFilled() {
  auto filled = checks.Filled();
  for (const std::string& name : ExpectedContents()) {
    if (filled[name] == 0) checks.Fault("nothing was ever seen of " + name);
    std::printf("%8d with content: %s\n", filled[name], name.c_str());
  }
}

/// One subscription request: filters of every kind, and some that make no sense.
std::string Request(const std::string& topic, const std::string& sid, Random& random) {
  static const std::array<const char*, 6> top{
      R"({"access_point": {"traffic": {"count": 5, "orderby": "total", "flag": "desc"},
                           "clients": {"count": 3, "flag": "desc"}}})",
      R"({"wireless_networks": {"traffic": {"count": 5, "orderby": "total", "flag": "desc"}}})",
      R"({"wireless_clients": {"traffic": {"count": 5, "orderby": "total", "flag": "desc"}}})",
      R"({"wireless_clients": {"traffic": {"count": 0, "orderby": "nothing"}}})",
      "{}",
      "null"};
  static const std::array<const char*, 9> views{"1m", "5m", "10m", "1h", "2h", "1day", "1m", "", "no such view"};
  std::string filter;
  if (topic == "wireless_top_monitor") {
    filter = One(random, top);
  } else {
    const std::string mac = Draw(random, 3) == 0 ? storm::MacOf(Draw(random, storm::kDevices + 1)) : "";
    filter = R"({"interval": ")" + std::string(One(random, views)) + R"(", "mac": ")" + mac + "\"}";
  }
  return R"([{"sid": ")" + sid + R"(", "filter": )" + filter + "}]";
}

void Subscribe(const std::string& topic, probe::ConnectionId connection, const std::string& request) {
  auto& service = probe::SubscriptionService::Instance();
  const probe::JsonCHandle tree(json_tokener_parse(request.c_str()));
  // No value: the stop has released the monitors.
  if (const auto filters = service.Parse(topic, tree.get())) service.File(topic, connection, *filters);
}

class Storm {
 public:
  explicit Storm(unsigned seed) : seed_(seed) {
    probe::log::SetWriter([](probe::log::Level, int, const std::string&) {});
    probe::InstallSendFunction(&Send);
    Random random(seed_);
    for (int device = 0; device < storm::kDevices; ++device) Change(device, random);
    plugin_.StartMonitors();
    for (const std::string& topic : kTopics) Subscribe(topic, kSteady, R"([{"sid": "steady", "filter": {}}])");
  }
  ~Storm() {
    probe::SubscriptionService::Instance().Clear();
    RegisterMonitorMemoryCleanup(nullptr);
    probe::InstallSendFunction(nullptr);
    probe::DeviceCentre::Instance().Clear();
  }
  Storm(const Storm&) = delete;
  Storm& operator=(const Storm&) = delete;

  void Run(std::chrono::seconds length) {
    MakePass();  // the first one makes the views, without which messages have no data
    {
      std::vector<std::jthread> callers;
      const auto start = [&](int count, void (Storm::*call)(Random&)) {
        for (; count > 0; --count) {
          callers.emplace_back(
              [this, call, random = Random(seed_ + static_cast<unsigned>(callers.size()) + 1)]() mutable {
                while (!is_over_) {
                  (this->*call)(random);
                  // Checking takes the callers longer than a pass takes the engine, which is to have its share.
                  std::this_thread::sleep_for(std::chrono::microseconds(Draw(random, 5'000)));
                }
              });
        }
      };
      start(kReaders, &Storm::Read);
      start(kChangers, &Storm::ChangeSubscription);
      start(kCleaners, &Storm::CleanUp);
      start(1, &Storm::ChangeDevice);
      MakePasses(std::chrono::steady_clock::now() + length);
      checks.AllowNothing();
      is_stopping_ = true;
      plugin_.stop_monitor();
      AwaitCalls();
      is_over_ = true;
    }
    if (TakenText(plugin_.get_wireless_client_report("{}")) != "{}") checks.Fault("a report after the stop");
  }

  int passes() const { return passes_; }
  int calls() const { return calls_; }

 private:
  void MakePasses(std::chrono::steady_clock::time_point end) {
    // Somewhat longer where a slow machine has not shown everything yet.
    const auto at_the_latest = end + std::chrono::minutes(2);
    const auto is_over = [&](auto now) { return now >= end && (HasShownAll() || now >= at_the_latest); };
    while (!is_over(std::chrono::steady_clock::now()) && MakePass()) {
    }
  }

  /// Each pass gives the steady connection one message of each topic, whatever the others do. False when it did not.
  bool MakePass() {
    clock_.RunPass(storm::kStart + ++passes_ * 60);
    const int expected = passes_ * static_cast<int>(kTopics.size());
    if (steady_messages == expected) return true;
    checks.Fault(std::to_string(steady_messages) + " messages in place of " + std::to_string(expected));
    return false;
  }

  /// Waits until there were calls by all threads after the stop, to all appearances.
  void AwaitCalls() const {
    const int enough = calls_ + 20 * (kReaders + kChangers + kCleaners);
    const int enough_clean_ups = clean_ups_ + 20 * kCleaners;
    while (calls_ < enough || clean_ups_ < enough_clean_ups) std::this_thread::yield();
  }

  void Read(Random& random) {
    ++calls_;
    const time_t now = clock_.Now().tv_sec;
    const std::string daily = R"({"report_type": "daily", "period": ")" + Formatted(now) + "\"}";
    const std::string weekly = R"({"report_type": "weekly", "period": ")" + WeekOf(now) + "\"}";
    switch (Draw(random, 8)) {
      case 0:
        return checks.Report("wireless_client_report", TakenText(plugin_.get_wireless_client_report(daily.c_str())));
      case 1:
        return checks.Report("wireless_client_report", TakenText(plugin_.get_wireless_client_report(weekly.c_str())));
      case 2:
        return checks.Report("wireless_client_report_periods",
                             TakenText(plugin_.get_wireless_client_report_avail_list("")));
      case 3:
        return checks.Report("wireless_network_report", TakenText(plugin_.get_wireless_network_report(daily.c_str())));
      case 4:
        return checks.Report("wireless_network_report", TakenText(plugin_.get_wireless_network_report(weekly.c_str())));
      case 5:
        return checks.Report("wireless_network_report_avail_list",
                             TakenText(plugin_.get_wireless_network_report_avail_list(nullptr)));
      case 6:
        return ReadNonsense(random);
      default:
        return ReadSpeed(random);
    }
  }

  void ReadNonsense(Random& random) {
    static const std::array<const char*, 5> requests{nullptr, "", "{", R"({"report_type": 7})",
                                                     R"({"period": "never"})"};
    checks.Report("wireless_client_report", TakenText(plugin_.get_wireless_client_report(One(random, requests))));
    checks.Report("wireless_network_report", TakenText(plugin_.get_wireless_network_report(One(random, requests))));
  }

  void ReadSpeed(Random& random) {
    const int device = Draw(random, storm::kDevices);
    const std::string interface = "ge" + std::to_string(1 + Draw(random, storm::kPorts));
    std::map<std::string, unsigned long long> speeds;
    plugin_.GetInterfaceTraffic(storm::MacOf(device), interface, speeds);
    checks.Speed(device, interface, speeds);
  }

  void ChangeSubscription(Random& random) {
    ++calls_;
    auto& service = probe::SubscriptionService::Instance();
    const std::string& topic = kTopics[static_cast<std::size_t>(Draw(random, static_cast<int>(kTopics.size())))];
    const auto connection = probe::ConnectionId{static_cast<std::uintptr_t>(2 + Draw(random, 4))};
    const std::string sid = std::to_string(Draw(random, 3));
    switch (Draw(random, 6)) {
      case 0:
        service.Unsubscribe(topic, connection, sid);
        break;
      case 1:
        service.Disconnect(connection);
        break;
      case 2:
        service.PushNow(topic, connection);
        break;
      default:
        Subscribe(topic, connection, Request(topic, sid, random));
    }
  }

  void CleanUp(Random& random) {
    ++calls_;
    probe::CleanUpDevice(storm::MacOf(Draw(random, storm::kDevices + 1)));
    ++clean_ups_;
    // Devices live for some passes in between, and go at any moment of one.
    for (const int next = passes_ + Draw(random, 4); passes_ < next && !is_stopping_;) {
      std::this_thread::sleep_for(std::chrono::microseconds(Draw(random, 2'000)));
    }
  }

  void Change(int device, Random& random) {
    const time_t now = clock_.Now().tv_sec;
    if (Draw(random, 50) == 0) probe::DeviceCentre::Instance().Forget(storm::MacOf(device));
    probe::DeviceCentre::Instance().Replace(storm::MacOf(device), storm::StateOf(device, now, random));
  }

  void ChangeDevice(Random& random) { Change(Draw(random, storm::kDevices), random); }

  const unsigned seed_;
  probe::VirtualClock clock_{storm::kStart};
  probe::ClockInstallation installation_{clock_};
  probe::LoadedPlugin plugin_{VEXORA_PLUGIN_FILE};
  std::atomic<int> passes_{0};
  std::atomic<int> calls_{0};
  std::atomic<int> clean_ups_{0};
  std::atomic<bool> is_stopping_{false};
  std::atomic<bool> is_over_{false};
};

/// Fills the table of characters that libstdc++ shares among threads and fills at first use, without a lock: the
/// regular expressions of schemas read it.
void FillCharacterTable() {
  const auto& characters = std::use_facet<std::ctype<char>>(std::locale());
  for (int character = 0; character <= std::numeric_limits<unsigned char>::max(); ++character) {
    characters.narrow(static_cast<char>(character), '\0');
  }
}

/// The value of an option; `fallback` when it is not given.
int Option(int argc, char** argv, const char* name, int fallback) {
  for (int at = 1; at + 1 < argc; at += 2) {
    if (std::strcmp(argv[at], name) == 0) return std::atoi(argv[at + 1]);  // NOLINT(cert-err34-c): 0 is refused below
  }
  return fallback;
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = Option(argc, argv, "--seconds", 3);
  const int seed = Option(argc, argv, "--seed", 1);
  if (argc % 2 == 0 || seconds < 1 || seed < 1) {
    std::fprintf(stderr, "usage: storm [--seconds N] [--seed N]\n");
    return 2;
  }
  setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any other thread
  FillCharacterTable();
  {
    Storm storm(static_cast<unsigned>(seed));
    storm.Run(std::chrono::seconds(seconds));
    ExpectAllFilled();
    std::printf("%d s: %d passes, %d calls, %d messages, %d faults\n", seconds, storm.passes(), storm.calls(),
                steady_messages.load() + changing_messages.load(), checks.faults());
  }
  return checks.faults() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
