#include "tests/plain/history/history.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/entry_points.h"
#include "monitor/engine/monitoring_manager.h"
#include "monitor/health/health_monitor.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/traffic/traffic_monitor.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "tests/plain/history/names.h"
#include "tests/plain/history/random_network.h"
#include "tests/plain/history/random_requests.h"
#include "tests/plain/history/random_time.h"
#include "tests/plain/history/recorder.h"
#include "tests/plain/json.h"
#include "tests/plain/monitors.h"
#include "tests/support/local_time.h"
#include "tests/support/message_capture.h"

namespace history {
namespace {

using Answers = std::vector<std::string>;
using Newest = std::map<std::string, unsigned long long>;

/// The plug-in's monitors, registered with its manager. Not the engine's task: each pass is ours.
class Product {
 public:
  explicit Product(const std::vector<std::string>& names) {
    for (const std::string& name : names) MonitoringManager::GetInstance().RegisterMonitor(NewMonitor(name));
  }

  static void Stop() {
    probe::SubscriptionService::Instance().Clear();
    stop_monitor();
  }

  static std::shared_ptr<Monitor> Find(const std::string& name) {
    return MonitoringManager::GetInstance().GetMonitor(name);
  }

  /// The text that an entry point hands to its caller.
  static std::string Taken(char* text) {
    std::string taken = text;
    std::free(text);  // NOLINT(cppcoreguidelines-no-malloc): the contract's word
    return taken;
  }

 private:
  static std::shared_ptr<Monitor> NewMonitor(const std::string& name) {
    if (name == "ClientCountMonitor") return std::make_shared<ClientCountMonitor>();
    if (name == "HealthMonitor") return std::make_shared<HealthMonitor>();
    if (name == "TrafficMonitor") return std::make_shared<TrafficMonitor>();
    if (name == "wireless_top_monitor") return std::make_shared<WirelessTopMonitor>();
    if (name == "wireless_client_report") return std::make_shared<WirelessClientReport>();
    return std::make_shared<vexora_probe::monitor::WirelessNetworkReport>();
  }
};

std::string Shown(const FilterBase& filter) {
  return std::to_string(filter.count) + " " + filter.flag;
}

std::string Shown(const TrafficFilter& filter) {
  return filter.orderby + " " + Shown(static_cast<const FilterBase&>(filter));
}

/// All that a request was parsed to.
Answers Shown(const subscribes::ParsedRequest& parsed) {
  Answers shown;
  for (const auto& [sid, filter] : parsed) {
    std::string text = sid + ": " + filter->interval + ", " + filter->mac;
    if (const auto* top = dynamic_cast<const WirelessTopFilter*>(filter.get())) {
      for (const NetWorkFilter* part : {&top->access_point, &top->wireless_networks}) {
        text += ", " + Shown(part->traffic) + ", " + Shown(static_cast<const FilterBase&>(part->clients));
      }
      text += ", " + Shown(top->wireless_clients);
    }
    shown.push_back(text);
  }
  return shown;
}

std::string Shown(const Newest& newest) {
  std::string shown;
  for (const auto& [key, speed] : newest) shown += key + ": " + std::to_string(speed) + " ";
  return shown;
}

/// One history.
class History {
 public:
  History(unsigned seed, std::vector<std::string> names)
      : dice_(seed),
        names_(std::move(names)),
        is_dense_(seed % 20 == 10),
        time_(dice_, is_dense_),
        zone_(time_.Zone()),
        clock_(time_.Now()),
        network_(dice_, dice_.OneOf<int>({0, 2, 10, 10, 30, 70})),
        fivefold_percent_(is_dense_ ? 100 : dice_.OneOf<int>({0, 20, 100})) {}

  std::string Difference() {
    product_ = std::make_unique<Product>(names_);
    for (const std::string& name : names_) plain_.Add(name);
    if (is_dense_ || dice_.Percent(50)) SetDebugLogged(false);
    if (dice_.Percent(40)) SubscribeToAll();
    constexpr int kTwoDays = 2 * 288;
    const int steps = is_dense_ ? kTwoDays : 20 + dice_.Below(dice_.Percent(30) ? 300 : 80);
    for (step_ = 0; step_ < steps && difference_.empty(); ++step_) Step();
    Compare(
        "stop", [] { return Product::Stop(), Answers{}; }, [&] { return plain_.Stop(), Answers{}; });
    return difference_;
  }

 private:
  using Act = std::function<Answers()>;

  /// Has both do the same and compares what they answer, log and send.
  void Compare(const std::string& what, const Act& product, const Act& plain) {
    if (!difference_.empty() && what != "stop") return;
    Answers answers = product();
    Answers events = recorder_.Take();
    events.insert(events.end(), answers.begin(), answers.end());
    answers = plain();
    Answers expected = recorder_.Take();
    expected.insert(expected.end(), answers.begin(), answers.end());
    const std::string found = history::Difference(events, expected);
    if (found.empty() || !difference_.empty()) return;
    difference_ = "step " + std::to_string(step_) + ", " + what + " at " + std::to_string(time_.Now()) + " in " +
                  time_.Zone() + ": " + found;
  }

  void SetDebugLogged(bool is_logged) {
    is_debug_logged_ = is_logged;
    probe::log::SetLevel(is_logged ? probe::log::Level::kDebug : probe::log::Level::kInfo);
  }

  /// Now and then somebody begins or ends to look at debug lines; on dense days nobody looks for long.
  void ChangeLevel() {
    const int chance = !is_dense_ ? 3 : is_debug_logged_ ? 40 : 1;
    if (dice_.Percent(chance)) SetDebugLogged(!is_debug_logged_);
  }

  void Step() {
    ChangeLevel();
    const int kind = dice_.Below(20);
    if (kind < 3) Subscribe();
    if (kind == 3) Unsubscribe();
    if (kind == 4) PushAtOnce();
    if (kind == 5) Cleanup();
    if (kind == 6) Recorder::InstallSendFunction(!dice_.Percent(30));
    time_.Advance();
    clock_.Set(time_.Now());
    network_.Step(time_.Now());
    // The network report takes samples in every fifth pass: at times these five are of one moment.
    const int passes = dice_.Percent(fivefold_percent_) ? 5 : 1;
    for (int pass = 0; pass < passes; ++pass) Pass();
    AskForSpeeds();
    AskForReports();
  }

  void Pass() {
    Compare(
        "pass", [&] { return MonitoringManager::GetInstance().DataUpdate(static_cast<long>(time_.Now())), Answers{}; },
        [&] { return plain_.Pass(time_.Now()), Answers{}; });
  }

  std::vector<std::string> TopicsOf(const std::string& name) const {
    if (name == "ClientCountMonitor") return {"SSIDClientCountMonitor", "DevicesClientCountMonitor"};
    return {name};
  }

  probe::ConnectionId AnyConnection() { return probe::ConnectionId{static_cast<std::uintptr_t>(1 + dice_.Below(3))}; }

  /// A parsed request, after a comparison of what both make of its text.
  subscribes::ParsedRequest Parsed(const std::string& name) {
    const std::string text = SubscriptionRequest(dice_, name == "wireless_top_monitor", network_.Macs());
    const plain::Json request(json_tokener_parse(text.c_str()));
    subscribes::ParsedRequest parsed;
    Compare(
        "parse " + text,
        [&] {
          parsed = Product::Find(name)->FilterParser(request.get());
          return Shown(parsed);
        },
        [&] { return Shown(plain_.ParseRequest(name, request.get())); });
    if (dice_.Percent(3)) parsed["null"] = nullptr;
    if (dice_.Percent(3)) parsed["other"] = test::FilterOf("5m", "");
    return parsed;
  }

  void Subscribe() {
    const std::string& name = dice_.OneOf(names_);
    const auto parsed = Parsed(name);
    for (const std::string& topic : TopicsOf(name)) {
      if (dice_.Percent(80)) probe::SubscriptionService::Instance().File(topic, AnyConnection(), parsed);
    }
  }

  /// Every view of one device, and of all together.
  void SubscribeToAll() {
    subscribes::ParsedRequest filters;
    for (const std::string& view : names::Views()) {
      filters[view] = test::FilterOf(view);
      filters[view + " of one"] = test::FilterOf(view, dice_.OneOf(network_.Macs()));
    }
    for (const std::string& name : names_) {
      if (name == "wireless_top_monitor") continue;
      for (const std::string& topic : TopicsOf(name)) {
        probe::SubscriptionService::Instance().File(topic, AnyConnection(), filters);
      }
    }
  }

  void Unsubscribe() { probe::SubscriptionService::Instance().Disconnect(AnyConnection()); }

  /// As a host does for a new subscriber.
  void PushAtOnce() {
    const std::string& name = dice_.OneOf(names_);
    subscribes::SubscriptionList list;
    for (int count = dice_.Below(3); count >= 0; --count) {
      for (const auto& [sid, filter] : Parsed(name)) list[sid][probe::ToHandle(AnyConnection())] = filter;
    }
    Compare(
        "push", [&] { return Product::Find(name)->PushDataBySID(list), Answers{}; },
        [&] { return plain_.Push(name, list), Answers{}; });
  }

  void Cleanup() {
    const std::string mac = dice_.Percent(85) ? dice_.OneOf(network_.Macs()) : dice_.OneOf(names::HostileMacs());
    Compare(
        "clean-up", [&] { return MonitoringManager::GetInstance().Cleanup(mac), Answers{}; },
        [&] { return plain_.Cleanup(mac), Answers{}; });
  }

  void AskForSpeeds() {
    Answers product;
    Answers plain;
    for (const std::string& mac : network_.Macs()) {
      for (const std::string& interface : names::HostileInterfaces()) {
        Newest newest{{"input", 7}};  // stays for an interface that there is not
        Newest expected = newest;
        GetInterfaceTraffic(mac, interface, newest);
        plain_.InterfaceTraffic(mac, interface, expected);
        product.push_back(Shown(newest));
        plain.push_back(Shown(expected));
      }
    }
    Compare(
        "newest speeds", [&] { return product; }, [&] { return plain; });
  }

  void AskForReports() {
    const time_t now = time_.Now();
    for (const std::string& period : {plain::DayKey(now), plain::WeekKey(now)}) {
      if (std::find(periods_.begin(), periods_.end(), period) == periods_.end()) periods_.push_back(period);
    }
    Compare(
        "periods",
        [] {
          return Answers{Product::Taken(get_wireless_client_report_avail_list(nullptr)),
                         Product::Taken(get_wireless_network_report_avail_list("x"))};
        },
        [&] {
          return Answers{plain_.AvailablePeriods("wireless_client_report"),
                         plain_.AvailablePeriods("wireless_network_report")};
        });
    // The current day and week each time, and some other.
    AskForReport(R"({"report_type": "daily", "period": ")" + plain::DayKey(now) + "\"}");
    AskForReport(R"({"report_type": "weekly", "period": ")" + plain::WeekKey(now) + "\"}");
    for (int count = dice_.Below(4); count > 0; --count) AskForReport(ReportRequest(dice_, periods_));
  }

  void AskForReport(const std::string& request) {
    const char* text = request.empty() ? nullptr : request.c_str();
    Compare(
        "report " + request,
        [&] {
          return Answers{Product::Taken(get_wireless_client_report(text)),
                         Product::Taken(get_wireless_network_report(text))};
        },
        [&] {
          return Answers{plain_.Report("wireless_client_report", text), plain_.Report("wireless_network_report", text)};
        });
  }

  Dice dice_;
  const std::vector<std::string> names_;
  const bool is_dense_;  // one in twenty has whole days of samples
  RandomTime time_;
  const test::LocalZone zone_;
  probe::VirtualClock clock_;
  const probe::ClockInstallation installation_{clock_};
  Recorder recorder_;
  RandomNetwork network_;
  const int fivefold_percent_;
  std::unique_ptr<Product> product_;
  plain::Monitors plain_;
  std::vector<std::string> periods_;  // that passes were in
  std::string difference_;
  bool is_debug_logged_ = true;
  int step_ = 0;
};

}  // namespace

std::string DifferenceIn(unsigned seed, const std::vector<std::string>& monitors) {
  return History(seed, monitors).Difference();
}

}  // namespace history
