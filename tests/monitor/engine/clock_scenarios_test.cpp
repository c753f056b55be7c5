// Clocks that do what no clock should, over all monitors at once: messages and reports stay what they are meant to be
// meanwhile, and when the clocks go right again, so do the figures.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
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
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "tests/support/json_numbers.h"
#include "tests/support/local_time.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"
#include "tests/support/schema/schema.h"

namespace {

namespace records = vexora_probe::models::controller;
using Json = nlohmann::json;

constexpr std::int64_t kNoon = 1'795'262'400;  // 2026-11-21 12:00:00 UTC
constexpr std::int64_t kDay = 86'400;
constexpr std::int64_t kSecondsOf32Bits = std::numeric_limits<std::int32_t>::max();  // until 2038-01-19 03:14:07 UTC
constexpr std::uint64_t kRate = 1'000;                                               // octets per second
constexpr int kClients = 2;
constexpr const char* kClockedDevice = "AA:AA:AA:AA:AA:01";

/// What the clocks show in one pass. In 64 bits: where a `time_t` has 32, it wraps, as such a clock does.
struct Moment {
  std::int64_t host;
  std::int64_t device;
  const char* zone = "UTC";
};

struct Scenario {
  const char* name;
  std::vector<Moment> moments;

  friend std::ostream& operator<<(std::ostream& out, const Scenario& scenario) { return out << scenario.name; }
};

/// Passes a minute apart from these times on.
std::vector<Moment> Minutes(std::int64_t host, std::int64_t device, int count, const char* zone = "UTC") {
  std::vector<Moment> moments;
  for (int minute = 0; minute < count; ++minute) moments.push_back({host + minute * 60, device + minute * 60, zone});
  return moments;
}

std::vector<Moment> Joined(const std::vector<std::vector<Moment>>& parts) {
  std::vector<Moment> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

/// Ten steps of the host's clock within one minute, to and fro.
std::vector<Moment> TenStepsInAMinute() {
  std::vector<Moment> moments;
  for (const int second : {5, 50, 10, 45, 15, 40, 20, 35, 25, 30}) {
    moments.push_back({kNoon + 3'600 + second, kNoon + 3'600 + 60 * static_cast<std::int64_t>(moments.size())});
  }
  return moments;
}

/// The host's clock a day ahead in every second pass.
std::vector<Moment> ToAndFroByADay() {
  std::vector<Moment> moments = Minutes(kNoon, kNoon, 40);
  for (std::size_t pass = 1; pass < moments.size(); pass += 2) moments[pass].host += kDay;
  return moments;
}

/// A device's clock that does not move.
std::vector<Moment> Stuck(std::int64_t device) {
  std::vector<Moment> moments = Minutes(kNoon, 0, 12);
  for (Moment& moment : moments) moment.device = device;
  return moments;
}

std::vector<Scenario> Scenarios() {
  const auto before = Minutes(kNoon - 600, kNoon - 600, 10);
  return {
      {"To1901", Joined({before, Minutes(-kSecondsOf32Bits - 1, kNoon, 12), Minutes(kNoon + 720, kNoon + 720, 6)})},
      {"To1970", Joined({before, Minutes(0, kNoon, 12)})},
      {"From1901", Joined({Minutes(-kSecondsOf32Bits - 1, kNoon, 12), Minutes(kNoon + 720, kNoon + 720, 6)})},
      {"Over2038", Minutes(kSecondsOf32Bits - 300, kSecondsOf32Bits - 300, 16)},
      {"Over2038AndBack", Joined({before, Minutes(kSecondsOf32Bits - 60, kNoon, 6), Minutes(kNoon, kNoon + 360, 6)})},
      {"TenStepsInAMinute", Joined({before, TenStepsInAMinute()})},
      {"ToAndFroByADay", ToAndFroByADay()},
      {"ZoneChangedWhileRunning",
       Joined({before, Minutes(kNoon, kNoon, 6, "Asia/Tokyo"), Minutes(kNoon + 360, kNoon + 360, 6, "Pacific/Honolulu"),
               Minutes(kNoon + 720, kNoon + 720, 6, "Asia/Kathmandu"), Minutes(kNoon + 1'080, kNoon + 1'080, 6)})},
      {"DeviceStuck", Joined({before, Stuck(kNoon)})},
      {"DeviceStuckAtTheEpoch", Stuck(0)},
      {"DeviceAheadByADay", Joined({before, Minutes(kNoon, kNoon + kDay, 12)})},
      {"DeviceBehindByTenYears", Joined({before, Minutes(kNoon, kNoon - 3'650 * kDay, 12)})},
      {"DeviceReset", Joined({before, Minutes(kNoon, 0, 12)})},
      {"DeviceIn1901", Joined({before, Minutes(kNoon, -kSecondsOf32Bits - 1, 12)})},
  };
}

class ClockScenarios : public ::testing::TestWithParam<Scenario> {
 protected:
  ClockScenarios() {
    probe::log::SetWriter([](auto...) {});
    manager_.set_stop_flag(false);
    manager_.RegisterMonitor(std::make_shared<HealthMonitor>());
    manager_.RegisterMonitor(std::make_shared<ClientCountMonitor>());
    manager_.RegisterMonitor(std::make_shared<TrafficMonitor>());
    manager_.RegisterMonitor(std::make_shared<WirelessTopMonitor>());
    manager_.RegisterMonitor(std::make_shared<vexora_probe::monitor::WirelessNetworkReport>());
    manager_.RegisterMonitor(std::make_shared<WirelessClientReport>());
    for (const auto& [topic, schema] : kSchemas) {
      const monitoring::JsonTree request(json_tokener_parse(R"([{"sid": "a", "filter": {"interval": "1m"}}])"));
      auto& service = probe::SubscriptionService::Instance();
      service.File(topic, probe::ConnectionId{1}, *service.Parse(topic, request.get()));
    }
  }
  ~ClockScenarios() override {
    manager_.stopMonitorEngine();
    probe::SubscriptionService::Instance().Clear();
    manager_.set_stop_flag(false);
    probe::log::SetWriter({});
  }

  /// A pass, after which everything is looked at that the monitors say.
  void Pass(const Moment& moment) {
    SCOPED_TRACE("pass " + std::to_string(pass_));
    zone_.Set(moment.zone);
    Describe(static_cast<time_t>(moment.device));
    ++pass_;
    clock_.Set(static_cast<time_t>(moment.host));
    manager_.DataUpdate(static_cast<long>(clock_.Now().tv_sec));
    for (const test::SentMessage& message : messages_.Take()) {
      shown_[Json::parse(message.text).at("name")] = message.text;
    }
    for (const auto& [topic, schema] : kSchemas) EXPECT_EQ(test::SchemaViolation(schema, shown_[topic]), "");
    for (const auto& [direction, speed] : NewestSpeed()) EXPECT_LE(speed, kRate) << direction;
    const std::string day = Monitor::GetDateStr(static_cast<long>(clock_.Now().tv_sec));
    EXPECT_EQ(test::SchemaViolation("wireless_client_report", Report(monitoring::kWirelessClientReport, day)), "");
    EXPECT_EQ(test::SchemaViolation("wireless_network_report", Report(monitoring::kWirelessNetworkReport, day)), "");
    EXPECT_EQ(test::SchemaViolation("wireless_client_report_periods", Periods(monitoring::kWirelessClientReport)), "");
    EXPECT_EQ(test::SchemaViolation("wireless_network_report_avail_list", Periods(monitoring::kWirelessNetworkReport)),
              "");
  }

  std::map<std::string, unsigned long long> NewestSpeed() const {
    std::map<std::string, unsigned long long> speeds;
    const auto monitor = manager_.GetMonitor(monitoring::kTrafficMonitor);
    std::dynamic_pointer_cast<TrafficMonitor>(monitor)->GetInterfaceTrafficData(kClockedDevice, "eth0", speeds);
    return speeds;
  }

  /// The report of a day.
  std::string Report(const char* monitor, const std::string& day) const {
    return test::WithNullForNoNumbers(manager_.GetMonitor(monitor)->GetWirelessReport("daily", day));
  }

  std::string Periods(const char* monitor) const { return manager_.GetMonitor(monitor)->GetAvailableTypePeriod(); }

  /// An access point whose counters go up by the same in each pass, whatever the clocks show.
  void Describe(time_t device_time) const {
    const auto counters = std::make_shared<records::TrafficStats>(
        records::TrafficStats{.if_index = 1, .in_bytes = kRate * 60 * pass_, .out_bytes = kRate * 60 * pass_});
    probe::DeviceSnapshot state;
    state.is_wireless = true;
    state.sample_time = state.polling_time = device_time;
    state.basic_info->type = records::DeviceType::kAccessPoint;
    state.basic_info->hostname = "ap";
    state.interfaces["eth0"] = std::make_shared<records::InterfaceState>(records::InterfaceState{.traffic = counters});
    state.radios["r5"].band = records::WIFIBandType::k5GHz;
    auto& network = state.ssid_interfaces["wlan0"];
    network = {.ssid = "Office", .radio = "r5", .traffic = counters, .client_count = kClients, .clients = {}};
    for (int client = 0; client < kClients; ++client) {
      network.clients.push_back({.mac = "CC:CC:CC:CC:CC:0" + std::to_string(client), .hostname = "c"});
    }
    state.ssid_config["Office@r5"].name = "Office";
    state.neighbours.push_back({.mac = "EE:EE:EE:EE:EE:01", .ssid = "Next door", .signal = -60});
    probe::DeviceCentre::Instance().Replace(kClockedDevice, state);
  }

  const std::map<std::string, std::string> kSchemas{{"TrafficMonitor", "traffic_monitor"},
                                                    {"HealthMonitor", "health_monitor"},
                                                    {"SSIDClientCountMonitor", "ssid_client_count_monitor"},
                                                    {"DevicesClientCountMonitor", "devices_client_count_monitor"},
                                                    {"wireless_top_monitor", "wireless_top_monitor"}};
  test::LocalZone zone_{"UTC"};
  probe::VirtualClock clock_{static_cast<time_t>(kNoon - 3'600)};
  probe::ClockInstallation installation_{clock_};
  test::Network network_;  // empties the device centre
  test::MessageCapture messages_;
  MonitoringManager& manager_ = MonitoringManager::GetInstance();
  std::map<std::string, std::string> shown_;  // by topic: the last message
  std::uint64_t pass_ = 0;
};

TEST_P(ClockScenarios, LeaveMessagesAndReportsWholeAndAreGotOver) {
  for (const Moment& moment : GetParam().moments) {
    Pass(moment);
    if (HasFailure()) return;
  }
  // A whole day later, all clocks go right.
  for (const Moment& moment : Minutes(kNoon + 2 * kDay, kNoon + 2 * kDay, 11)) Pass(moment);

  EXPECT_EQ(NewestSpeed(), (std::map<std::string, unsigned long long>{{"input", kRate}, {"output", kRate}}));
  const Json traffic =
      Json::parse(shown_["TrafficMonitor"])["data"]["1m"]["traffic_data"][kClockedDevice]["eth0"]["traffic"];
  EXPECT_EQ(traffic.back(), (Json{{"time", (kNoon + 2 * kDay) / 60 + 10}, {"input", kRate}, {"output", kRate}}));
  const Json counts = Json::parse(shown_["SSIDClientCountMonitor"])["data"]["1m"];
  EXPECT_EQ(counts["current_ssid_clients_counts"]["Office"]["count"], kClients);
  EXPECT_EQ(counts["ssids_clients_counts"]["Office"][std::to_string((kNoon + 2 * kDay) / 60 + 10)], kClients);
  EXPECT_EQ(Json::parse(shown_["HealthMonitor"])["data"]["status"][0]["clients"]["value"], kClients);

  const Json clients = Json::parse(Report(monitoring::kWirelessClientReport, "2026-11-23"));
  ASSERT_EQ(clients["wireless_clients"].size(), kClients);
  EXPECT_EQ(clients["wireless_clients"][0]["last_seen"], "2026-11-23 12:10:00");
  EXPECT_EQ(clients["wireless_clients"][0]["time_online"], 600);
  const Json networks = Json::parse(Report(monitoring::kWirelessNetworkReport, "2026-11-23"));
  EXPECT_EQ(networks["wireless_network"][0]["client_count"]["peak"], kClients);
  EXPECT_EQ(networks["rogue_ap"].size(), 1U);
  EXPECT_THAT(Json::parse(Periods(monitoring::kWirelessClientReport))["daily"], ::testing::Contains("2026-11-23"));
  EXPECT_THAT(Json::parse(Periods(monitoring::kWirelessNetworkReport))["daily"], ::testing::Contains("2026-11-23"));
}

INSTANTIATE_TEST_SUITE_P(Clocks, ClockScenarios, ::testing::ValuesIn(Scenarios()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
