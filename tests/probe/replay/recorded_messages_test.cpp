#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "probe/text/strict_json.h"
#include "tests/support/schema/schema.h"

namespace {

using nlohmann::json;

/// Topic or entry point -> the schema that its texts follow; an empty name for one that has none.
const std::map<std::string, std::string> kSchemas{
    {"HealthMonitor", "health_monitor"},
    {"SSIDClientCountMonitor", "ssid_client_count_monitor"},
    {"DevicesClientCountMonitor", "devices_client_count_monitor"},
    {"TrafficMonitor", "traffic_monitor"},
    {"wireless_top_monitor", "wireless_top_monitor"},
    {"get_wireless_client_report", "wireless_client_report"},
    {"get_wireless_client_report_avail_list", "wireless_client_report_periods"},
    {"get_wireless_network_report", "wireless_network_report"},
    {"get_wireless_network_report_avail_list", "wireless_network_report_avail_list"},
};

/// Checks a text against the schema of its topic or entry point; tells whether there was something to check.
bool Check(const std::string& name, const std::string& text) {
  const auto schema = kSchemas.find(name);
  EXPECT_NE(schema, kSchemas.end()) << name << " has no schema";
  if (schema == kSchemas.end()) return false;
  EXPECT_EQ(test::SchemaViolation(schema->second, text), "");
  return true;
}

/// The same for one line of expected output.
bool Check(const json& line) {
  if (line.contains("return")) {
    const json& returned = line.at("return");
    // the speeds of an interface are a map and not a text; "{}" is the answer of a monitor that there is not
    if (!returned.contains("text") || returned.at("text") == "{}") return false;
    // the network report may hold numbers that JSON does not have; the schema is that of what the probe serves
    return Check(returned.at("entry"), probe::StrictJson(returned.at("text").get<std::string>()));
  }
  if (!line.contains("push")) return false;
  const std::string text = line.at("push").at("text");
  EXPECT_EQ(test::SchemaViolation("envelope", text), "");
  return Check(json::parse(text).at("name"), text);
}

// What the recordings print is what the plug-in sends: the replay is compared with it, octet by octet.
TEST(RecordedMessages, FollowTheSchemaOfTheirTopic) {
  int checked = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VEXORA_RECORDINGS)) {
    if (!entry.path().string().ends_with(".expected.jsonl")) continue;
    SCOPED_TRACE(entry.path().filename());
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) checked += Check(json::parse(line)) ? 1 : 0;
  }
  EXPECT_GT(checked, 30);
}

/// A message of the shape of its topic, and ways to spoil it.
struct Spoiled {
  const char* schema;
  const char* text;
};

std::ostream& operator<<(std::ostream& out, const Spoiled& spoiled) {
  return out << spoiled.schema;
}

class SpoiledMessage : public ::testing::TestWithParam<Spoiled> {};

TEST_P(SpoiledMessage, IsRefusedByItsSchema) {
  EXPECT_NE(test::SchemaViolation(GetParam().schema, GetParam().text), "") << GetParam().text;
}

constexpr const char* kHealth = "health_monitor";
INSTANTIATE_TEST_SUITE_P(
    OfHealth, SpoiledMessage,
    ::testing::Values(
        Spoiled{kHealth, R"({"name":"HealthMonitor","data":{"name":"HealthMonitor"}})"},
        Spoiled{kHealth, R"({"name":"HealthMonitor","data":{"status":[{"device":"A"}],"name":"HealthMonitor"}})"},
        // a level beyond the scale, then a wireless figure without the other
        Spoiled{kHealth, R"({"name":"HealthMonitor","data":{"name":"HealthMonitor","status":[{"device":"A",)"
                         R"("hostname":"","actual_cpu":{"value":1.0,"level":5},"uptime":{"value":1,"level":4},)"
                         R"("deviceclass":"Switch","notification":{"alert":0,"warning":0,"info":0}}]}})"},
        Spoiled{kHealth, R"({"name":"HealthMonitor","data":{"name":"HealthMonitor","status":[{"device":"A",)"
                         R"("hostname":"","actual_cpu":{"value":1.0,"level":2},"uptime":{"value":1,"level":4},)"
                         R"("deviceclass":"Switch","notification":{"alert":0,"warning":0,"info":0},)"
                         R"("clients":{"value":1,"level":2},"level":2}]}})"}));

constexpr const char* kBySsid = "ssid_client_count_monitor";
INSTANTIATE_TEST_SUITE_P(
    OfClientsBySsid, SpoiledMessage,
    ::testing::Values(Spoiled{kBySsid, R"({"name":"SSIDClientCountMonitor","data":{}})"},
                      Spoiled{kBySsid, R"({"name":"SSIDClientCountMonitor","data":{"1m":{"sid":["a"]}}})"},
                      Spoiled{kBySsid,
                              R"({"name":"SSIDClientCountMonitor","data":{"1m":{"sid":["a"],"ssids_clients_counts":{},)"
                              R"("current_ssid_clients_counts":{}}}})"},
                      Spoiled{kBySsid, R"({"name":"SSIDClientCountMonitor","data":{"1m":{"sid":["a"],)"
                                       R"("ssids_clients_counts":{"ssid_client_count_all":{},"Office":{"soon":1}},)"
                                       R"("current_ssid_clients_counts":{}}}})"}));

constexpr const char* kByDevice = "devices_client_count_monitor";
INSTANTIATE_TEST_SUITE_P(
    OfClientsByDevice, SpoiledMessage,
    ::testing::Values(Spoiled{kByDevice, R"({"name":"DevicesClientCountMonitor","data":{"1m":{"sid":["a"]}}})"},
                      Spoiled{kByDevice, R"({"name":"DevicesClientCountMonitor","data":{"1m":{"sid":["a"],)"
                                         R"("devices_client_counts":{"device_client_count_all":{"1":-1}},)"
                                         R"("current_devices_counts":{}}}})"},
                      Spoiled{kByDevice, R"({"name":"DevicesClientCountMonitor","data":{"1m":{"sid":["a"],)"
                                         R"("devices_client_counts":{"device_client_count_all":{}},)"
                                         R"("current_devices_counts":{"A":{"Office":{"count":1}}}}}})"}));

}  // namespace
