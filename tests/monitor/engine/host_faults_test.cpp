// Each call of the contract, answered wrong in each way in which it can be: the passes end, devices that the host
// answers right about are served meanwhile, and all are when the fault is over.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "monitor/engine/constants.h"
#include "monitor/engine/entry_points.h"
#include "monitor/engine/json_tree.h"
#include "monitor/engine/monitoring_manager.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/memory_cleanup.h"
#include "probe/host/subscription_service.h"
#include "tests/support/faulty_host/faulty_host.h"
#include "tests/support/json_numbers.h"
#include "tests/support/local_time.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"
#include "tests/support/schema/schema.h"
#include "tests/support/taken_text.h"

namespace {

using test::FaultKind;
using test::FaultyCall;
using test::kHealthyMac;
using test::TakenText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace records = vexora_probe::models::controller;
using vexora_probe::models::controller::WIFIBandType;
using Json = nlohmann::json;

constexpr time_t kBegin = 1'795'262'400;  // 2026-11-21 12:00:00 UTC
constexpr const char* kAccessPoint = "AA:AA:AA:AA:AA:01";
constexpr const char* kRouter = "AA:AA:AA:AA:AA:03";
constexpr int kPassesPerSample = 5;  // of the network report

/// Topic -> schema.
const std::map<std::string, std::string> kSchemaOf{{"TrafficMonitor", "traffic_monitor"},
                                                   {"HealthMonitor", "health_monitor"},
                                                   {"SSIDClientCountMonitor", "ssid_client_count_monitor"},
                                                   {"DevicesClientCountMonitor", "devices_client_count_monitor"},
                                                   {"wireless_top_monitor", "wireless_top_monitor"}};

constexpr const char* kTopFilter = R"({"access_point": {"traffic": {"count": 9, "orderby": "total", "flag": "desc"},
    "clients": {"count": 9, "flag": "desc"}},
    "wireless_networks": {"traffic": {"count": 9, "orderby": "in", "flag": "desc"}},
    "wireless_clients": {"traffic": {"count": 9, "orderby": "out", "flag": "desc"}}})";

/// Whether a text is JSON, but for numbers that are none, which a host makes null of.
bool IsJson(const std::string& text) {
  return Json::accept(test::WithNullForNoNumbers(text));
}

/// All monitors, driven pass by pass over two access points and a router, one of which the host answers right about.
class HostFaults : public ::testing::Test {
 protected:
  HostFaults() {
    probe::log::SetWriter([](auto...) {});
  }
  ~HostFaults() override { probe::log::SetWriter({}); }

  void Start() {
    MonitoringManager::GetInstance().set_stop_flag(false);
    const test::NotedStart no_task(0);
    EXPECT_EQ(RegisterMonitors(), 1);
    for (const auto& [topic, schema] : kSchemaOf)
      Subscribe(topic, 1, topic == "wireless_top_monitor" ? kTopFilter : R"({"interval": "1m"})");
    // The credentials of a device are asked for where a filter names it.
    Subscribe("TrafficMonitor", 2, R"({"mac": ")" + std::string(kAccessPoint) + "\"}");
  }

  static void Stop() {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }

  static void Subscribe(const std::string& topic, std::uintptr_t connection, const std::string& filter) {
    auto& service = probe::SubscriptionService::Instance();
    const monitoring::JsonTree request(json_tokener_parse((R"([{"sid": "a", "filter": )" + filter + "}]").c_str()));
    service.File(topic, probe::ConnectionId{connection}, *service.Parse(topic, request.get()));
  }

  /// One pass. Topic -> what it sends; with `is_parsed` it has to be JSON, but for a text that the host left empty.
  std::map<std::string, std::string> Pass(bool is_parsed = false) {
    ++pass_;
    for (const char* mac : {kAccessPoint, kHealthyMac, kRouter}) {
      probe::DeviceCentre::Instance().Replace(mac, Reported(mac));
    }
    clock_.Set(kBegin + pass_ * 60);
    EXPECT_NO_THROW(MonitoringManager::GetInstance().DataUpdate(clock_.Now().tv_sec));
    std::map<std::string, std::string> texts;
    for (const test::SentMessage& message : messages_.Take()) {
      const bool is_left_empty = message.text.empty() && is_composing_empty_;
      EXPECT_TRUE(!message.text.empty() || is_left_empty);
      EXPECT_TRUE(!is_parsed || is_left_empty || Json::accept(message.text)) << message.text.substr(0, 200);
      if (message.connection != test::Connection(1)) continue;
      for (const auto& [topic, schema] : kSchemaOf) {
        if (message.text.starts_with(R"({ "name": ")" + topic + '"')) texts[topic] = message.text;
      }
    }
    return texts;
  }

  /// The reports of today.
  static std::map<std::string, std::string> Reports() {
    const char* const request = R"({"report_type": "daily", "period": "2026-11-21"})";
    return {{"wireless_client_report", TakenText(get_wireless_client_report(request))},
            {"wireless_client_report_periods", TakenText(get_wireless_client_report_avail_list(request))},
            {"wireless_network_report", TakenText(get_wireless_network_report(request))},
            {"wireless_network_report_avail_list", TakenText(get_wireless_network_report_avail_list(request))}};
  }

  /// One cell of the matrix: a call, answered wrong for as many passes as take samples for every monitor.
  void Try(const FaultyCall& call, FaultKind kind) {
    SCOPED_TRACE(call.name + ", " + test::NameOf(kind));
    Start();
    pass_ = 0;
    for (int pass = 0; pass < 2; ++pass) Pass();  // a speed takes two readings
    int hits = 0;
    is_composing_empty_ = call.name == "compose_communication_struct" && kind == FaultKind::kEmpty;
    {
      const test::HostFault fault(
          call.name, kind, [this] { clock_.Set(clock_.Now().tv_sec + 5); },
          [](const std::string& mac) {
            probe::DeviceCentre::Instance().Forget(mac.empty() ? std::string(kAccessPoint) : mac);
          });
      for (int pass = 1; pass < kPassesPerSample; ++pass) ExpectServed(call, kind, Pass(), false);
      ExpectServed(call, kind, Pass(true), true);
      for (const auto& [name, text] : Reports()) {
        const bool is_lost = text == "(null)" && call.name == "Strdup";
        EXPECT_TRUE(is_lost || IsJson(text)) << name << ": " << text.substr(0, 200);
      }
      hits = fault.hits();
    }
    is_composing_empty_ = false;
    EXPECT_GT(hits, 0) << "is not called at all";
    ExpectAllWell();
    Stop();
  }

  /// While the host is wrong about the other devices, this one is served, but where a whole monitor lacks memory.
  static void ExpectServed(const FaultyCall& call, FaultKind kind, const std::map<std::string, std::string>& texts,
                           bool is_last) {
    if (!call.is_of_device || kind == FaultKind::kError) return;
    for (const auto& [topic, schema] : kSchemaOf) {
      const auto text = texts.find(topic);
      ASSERT_NE(text, texts.end()) << topic << " is silent";
      const char* const shown = topic == "SSIDClientCountMonitor" ? "Office" : kHealthyMac;
      EXPECT_NE(text->second.find(shown), std::string::npos) << topic << ": " << text->second.substr(0, 500);
      if (kind == FaultKind::kNonsense || !is_last) continue;
      EXPECT_EQ(test::SchemaViolation(schema, text->second), "");
    }
  }

  /// All is as it should be again within the passes that a monitor needs to take two samples.
  void ExpectAllWell() {
    std::map<std::string, std::string> texts;
    for (int pass = 1; pass <= kPassesPerSample; ++pass) texts = Pass(pass == kPassesPerSample);
    for (const auto& [topic, schema] : kSchemaOf) {
      for (const char* mac : {kAccessPoint, kHealthyMac, kRouter}) {
        const char* const shown = topic == "SSIDClientCountMonitor" ? "Office" : mac;
        EXPECT_NE(texts[topic].find(shown), std::string::npos) << topic << ": " << texts[topic].substr(0, 500);
      }
    }
    for (const auto& [name, text] : Reports()) {
      EXPECT_TRUE(IsJson(text)) << name;
      EXPECT_NE(text.find(name.ends_with("report") ? "Office" : "2026-11-21"), std::string::npos) << name << text;
    }
  }

  /// What a wireless device has reported at this pass.
  probe::DeviceSnapshot Reported(const std::string& mac) const {
    const auto octets = static_cast<std::uint64_t>(pass_) * 60'000;
    const auto counters = std::make_shared<records::TrafficStats>(
        records::TrafficStats{.if_index = 1, .in_bytes = octets, .out_bytes = octets});
    probe::DeviceSnapshot state;
    state.is_wireless = true;
    state.sample_time = state.polling_time = kBegin + pass_ * 60;
    state.basic_info->hostname = "device";
    state.basic_info->type = mac == kRouter ? records::DeviceType::kRouter : records::DeviceType::kAccessPoint;
    state.platform_info = records::PlatformInfo{.model = "M", .version = "1"};
    state.credential_json = R"({"credential": "ok"})";
    state.health_level = 2;
    state.radios["r2"].band = WIFIBandType::k2_4GHz;
    state.neighbours.push_back({.mac = "EE:EE:EE:EE:EE:" + mac.substr(15), .ssid = "Next door", .signal = -60});
    const std::string client = "CC:CC:CC:CC:CC:" + mac.substr(15);
    state.portal_users[client] = {.username = "guest", .hostname = "h", .in_bytes = octets, .out_bytes = octets};
    for (const char* name : {"eth0", "wlan0", "wlan1"}) {
      state.interfaces[name] = std::make_shared<records::InterfaceState>(records::InterfaceState{.traffic = counters});
    }
    for (const auto& [name, ssid] : {std::pair{"wlan0", "Office"}, std::pair{"wlan1", "Guests"}}) {
      auto& network = state.ssid_interfaces[name];
      network = {.ssid = ssid, .radio = "r2", .traffic = counters, .client_count = 1, .clients = {}};
      network.clients.push_back({.mac = client, .hostname = "h", .in_bytes = octets, .out_bytes = octets});
    }
    state.ssid_config["Office@r2"].name = "Office";
    state.ssid_config["Guests@BOTH"] = {.name = "Guests", .guest = true};
    return state;
  }

  test::LocalZone zone_{"UTC"};
  probe::VirtualClock clock_{kBegin};
  probe::ClockInstallation installation_{clock_};
  test::Network network_;  // empties the device centre
  test::MessageCapture messages_;
  int pass_ = 0;
  bool is_composing_empty_ = false;  // what the host makes of a message is sent, also when that is nothing
};

TEST_F(HostFaults, EndNoPassAndLeaveTheOtherDevicesServed) {
  std::size_t cells = 0;
  std::size_t passed = 0;
  for (const FaultyCall& call : test::FaultyCalls()) {
    for (const FaultKind kind : call.kinds) {
      const auto failures_before = testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
      Try(call, kind);
      ++cells;
      if (testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count() == failures_before) {
        ++passed;
      }
    }
  }
  std::printf("%zu of %zu cells of %zu calls\n", passed, cells, test::FaultyCalls().size());
  EXPECT_GT(cells, 150U);
}

/// What `RegisterMonitors` asks of the host, in order.
class HostStart : public ::testing::Test {
 protected:
  HostStart() { MonitoringManager::GetInstance().set_stop_flag(false); }
  ~HostStart() override {
    stop_monitor();
    probe::SubscriptionService::Instance().Clear();
  }
};

TEST_F(HostStart, SubscribesTheMonitorsInTheirOrderStartsTheTaskAndThenHearsOfCleanUps) {
  const test::NotedStart noted(0);
  EXPECT_EQ(RegisterMonitors(), 1);
  EXPECT_THAT(
      test::NotedStart::Noted(),
      ElementsAre("HealthMonitor", "SSIDClientCountMonitor", "DevicesClientCountMonitor", "TrafficMonitor",
                  "wireless_top_monitor", "wireless_network_report", "wireless_client_report", "start", "clean-up"));
}

TEST_F(HostStart, LogsARefusalOnlyForANegativeAnswer) {
  for (const int answer : {0, 1, std::numeric_limits<int>::max()}) {
    const test::NotedStart noted(answer);
    const test::LogCapture log;
    EXPECT_EQ(RegisterMonitors(), 1);
    EXPECT_THAT(log.Texts(probe::log::Level::kError), IsEmpty()) << answer;
    stop_monitor();
    MonitoringManager::GetInstance().set_stop_flag(false);
  }
  for (const int answer : {-1, std::numeric_limits<int>::min()}) {
    const test::NotedStart noted(answer);
    const test::LogCapture log;
    EXPECT_EQ(RegisterMonitors(), 1);
    EXPECT_THAT(log.Texts(probe::log::Level::kError),
                ElementsAre("[MonitoringManager::startMonitorEngine] Add monitor merge task failed"));
    stop_monitor();
    MonitoringManager::GetInstance().set_stop_flag(false);
  }
}

TEST_F(HostStart, FailsAndCanBeRepeatedWhenThereIsNoMemoryForASubscriber) {
  const test::NotedStart noted(0);
  {
    const test::HostFault fault(
        "AddSubscriber", FaultKind::kError, [] {}, [](const std::string&) {});
    EXPECT_EQ(RegisterMonitors(), 0);
    EXPECT_EQ(fault.hits(), 1);
  }
  EXPECT_EQ(MonitoringManager::GetInstance().GetMonitor(monitoring::kHealthMonitor), nullptr);
  EXPECT_EQ(RegisterMonitors(), 1);
  EXPECT_NE(MonitoringManager::GetInstance().GetMonitor(monitoring::kHealthMonitor), nullptr);
}

}  // namespace
