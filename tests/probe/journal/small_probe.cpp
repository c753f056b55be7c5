#include "tests/probe/journal/small_probe.h"

#include <json-c/json.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <thread>

#include "platform/tasks.h"
#include "platform/topics.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/segment_format.h"
#include "probe/text/json_c_handle.h"
#include "tests/support/taken_text.h"

namespace test {
namespace {

using nlohmann::json;
using probe::DeviceCentre;
using probe::SubscriptionService;

std::string AllReports(const std::string& name, char* (*periods)(const char*), char* (*report)(const char*)) {
  const std::string available = TakenText(periods(""));
  std::string text = name + " " + available + "\n";
  const json types = json::parse(available);
  for (const auto& [type, list] : types.items()) {
    for (const json& period : list) {
      const std::string request = json{{"report_type", type}, {"period", period}}.dump();
      text += request + " " + TakenText(report(request.c_str())) + "\n";
    }
  }
  return text;
}

}  // namespace

std::set<std::string> InterfaceNames(const probe::DeviceSnapshot& snapshot) {
  std::set<std::string> names;
  for (const auto& [name, state] : snapshot.interfaces) names.insert(name);
  for (const auto& [name, state] : snapshot.ssid_interfaces) {
    for (const char* band : {"2.4Ghz - ", "5Ghz - ", ""}) names.insert(band + state.ssid);
  }
  return names;
}

std::vector<std::pair<std::string, std::string>> Requests() {
  std::vector<std::pair<std::string, std::string>> requests{{monitoring::kHealthMonitor, R"([{"sid": "a"}])"}};
  for (const char* topic :
       {monitoring::kTrafficMonitor, monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor}) {
    for (const char* view : monitoring::kViews) {
      requests.emplace_back(topic, json{{{"sid", "a"}, {"filter", {{"interval", view}}}}}.dump());
    }
  }
  for (const char* orderby : {"total", "in", "out"}) {
    const json traffic{{"count", 50}, {"orderby", orderby}, {"flag", "desc"}};
    const json filter{{"access_point", {{"traffic", traffic}, {"clients", {{"count", 50}}}}},
                      {"wireless_networks", {{"traffic", traffic}, {"clients", {{"count", 50}}}}},
                      {"wireless_clients", {{"traffic", traffic}}}};
    requests.emplace_back(monitoring::kWirelessTopMonitor, json{{{"sid", "a"}, {"filter", filter}}}.dump());
  }
  return requests;
}

SmallProbe::SmallProbe(const Options& options) : clock_(options.start) {
  namespace journal = probe::journal;
  DeviceCentre& centre = DeviceCentre::Instance();
  // Odd histories make the plug-in complain without end.
  probe::log::SetWriter([](probe::log::Level, int, const std::string&) {});
  std::vector<journal::Segment> segments;
  if (!options.journal.empty()) {
    segments = journal::ListSegments(options.journal);
    journal_ = std::make_unique<journal::JournalWriter>(std::make_unique<journal::JournalFolder>(options.journal),
                                                        segments, options.bounds, centre,
                                                        journal::SegmentHead{options.start, true, "", ""});
    std::vector<probe::recording::PassObserver*> observers{journal_.get()};
    observers.insert(observers.end(), options.observers.begin(), options.observers.end());
    passes_ = std::make_unique<probe::recording::PassClock>(centre, observers);
  }
  probe::SetCleanUpObserver([this](const std::string& mac, probe::CleanUpReason /*reason*/) {
    if (journal_) journal_->OnCleanUp(mac);
  });
  warm_start_ = std::make_unique<journal::WarmStart>(
      journal::WarmStart::Plan{std::move(segments), std::chrono::seconds(600)}, centre);
  plugin_.emplace(options.plugin);
  if (warm_start_->is_empty()) {
    plugin_->RegisterMonitors();
  } else {
    std::atomic<bool> is_ready{false};
    warm_start_->InReplayedTime([this] { plugin_->RegisterMonitors(); });
    warm_start_->Begin({}, [&](const auto& /*last*/) { is_ready.store(true); });
    while (!is_ready.load()) std::this_thread::yield();
  }
  clock_.AwaitSleeper();
}

SmallProbe::~SmallProbe() {
  warm_start_->Stop();
  if (journal_) journal_->Close();
  probe::SetCleanUpObserver({});
  plugin_->stop_monitor();
  SubscriptionService::Instance().Clear();
  RegisterMonitorMemoryCleanup(nullptr);
  DeviceCentre::Instance().Clear();
}

void SmallProbe::Report(const HistoryStep& step) {
  for (const auto& [mac, snapshot] : step.changes) {
    if (snapshot == nullptr) {
      DeviceCentre::Instance().Forget(mac);
    } else {
      DeviceCentre::Instance().ReplaceWith(mac, snapshot);
    }
  }
}

void SmallProbe::RunPass(const HistoryStep& step) {
  Flush();
  clock_.RunPass(step.at);
}

void SmallProbe::CleanUp(const HistoryStep& step) {
  for (const std::string& mac : step.clean_ups) probe::CleanUpDevice(mac);
}

std::string SmallProbe::Reports() {
  std::string text =
      AllReports("clients", plugin_->get_wireless_client_report_avail_list, plugin_->get_wireless_client_report) +
      AllReports("networks", plugin_->get_wireless_network_report_avail_list, plugin_->get_wireless_network_report);
  const std::vector<std::string> macs = DeviceCentre::Instance().NamedFrom(0);
  const auto newest = DeviceCentre::Instance().Newest();
  for (std::size_t place = 0; place < macs.size(); ++place) {
    if (newest[place] == nullptr) continue;
    for (const std::string& interface : InterfaceNames(*newest[place])) {
      std::map<std::string, unsigned long long> traffic;
      plugin_->GetInterfaceTraffic(macs[place], interface, traffic);
      text += macs[place] + " " + interface + " " + json(traffic).dump(-1, ' ', false, json::error_handler_t::replace) +
              "\n";
    }
  }
  return text;
}

std::string SmallProbe::FirstMessages(time_t at) {
  auto& service = SubscriptionService::Instance();
  std::uintptr_t connection = 0;
  for (const auto& [topic, request] : Requests()) {
    const probe::JsonCHandle tree(json_tokener_parse(request.c_str()));
    const auto filters = service.Parse(topic, tree.get());
    if (!filters) throw std::runtime_error("nobody feeds " + topic);
    service.File(topic, probe::ConnectionId{++connection}, *filters);
  }
  Flush();
  messages_.Take();
  clock_.RunPass(at);
  std::vector<std::string> sent;
  for (const SentMessage& message : messages_.Take()) {
    sent.push_back(std::to_string(reinterpret_cast<std::uintptr_t>(message.connection)) + " " + message.text + "\n");
  }
  // The plug-in groups subscriptions by address, so the messages of a pass come in any order.
  std::sort(sent.begin(), sent.end());
  std::string text;
  for (const std::string& message : sent) text += message;
  for (std::uintptr_t one = 1; one <= connection; ++one) service.Disconnect(probe::ConnectionId{one});
  return text;
}

}  // namespace test
