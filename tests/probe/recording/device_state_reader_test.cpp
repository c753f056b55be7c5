#include "probe/recording/device_state_reader.h"
#include "platform/device_records.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "probe/recording/json_object_reader.h"

namespace {

using probe::DeviceSnapshot;
using probe::recording::SnapshotOf;
namespace records = vexora_probe::models::controller;

DeviceSnapshot Of(const std::string& state) {
  return SnapshotOf(nlohmann::ordered_json::parse(state));
}

std::string RefusalOfState(const char* state) {
  try {
    Of(state);
  } catch (const probe::recording::MalformedRecording& error) {
    return error.what();
  }
  return {};
}

TEST(DeviceStateReader, HasTheDefaultsOfWhatIsAbsent) {
  const DeviceSnapshot snapshot = Of("{}");
  EXPECT_TRUE(snapshot.online && snapshot.known && snapshot.driver);
  EXPECT_FALSE(snapshot.is_wireless);
  EXPECT_EQ(snapshot.basic_info->hostname, "");
  EXPECT_EQ(snapshot.basic_info->type, records::DeviceType::kUnknown);
  EXPECT_FALSE(snapshot.platform_info || snapshot.sample_time || snapshot.polling_time);
  EXPECT_TRUE(snapshot.interfaces.empty() && snapshot.ssid_interfaces.empty() && snapshot.neighbours.empty());
  EXPECT_EQ(snapshot.cpu, 0);
  EXPECT_EQ(snapshot.credential_json, "");
}

TEST(DeviceStateReader, TellsNoBasicInfoFromAnEmptyOne) {
  EXPECT_FALSE(Of(R"({"basic_info": null})").basic_info.has_value());
  EXPECT_TRUE(Of(R"({"basic_info": {}})").basic_info.has_value());
}

TEST(DeviceStateReader, ReadsInterfaces) {
  const DeviceSnapshot snapshot = Of(R"({"sample_time": 9, "interfaces": {"a": null, "b": {}, "c": {"oper_status": 2,
      "traffic": {"if_index": 3, "in_bytes": 18446744073709551615, "out_bytes": 1}}}})");
  EXPECT_EQ(snapshot.sample_time, 9);
  EXPECT_EQ(snapshot.interfaces.at("a"), nullptr);
  EXPECT_EQ(snapshot.interfaces.at("b")->oper_status, 1);
  EXPECT_EQ(snapshot.interfaces.at("b")->traffic, nullptr);
  EXPECT_EQ(snapshot.interfaces.at("c")->oper_status, 2);
  EXPECT_EQ(snapshot.interfaces.at("c")->traffic->if_index, 3);
  EXPECT_EQ(snapshot.interfaces.at("c")->traffic->in_bytes, 18'446'744'073'709'551'615U);
}

TEST(DeviceStateReader, ReadsTheWirelessSide) {
  const DeviceSnapshot snapshot = Of(R"({"wireless": true, "radios": {"r": {"band": 1}, "s": {}},
      "ssid_interfaces": {"w": {"ssid_hex": "4cFF", "radio": "r", "clients": [{"mac": "m", "hostname": "h", "mode": 8,
        "data_rate": 54, "in_bytes": 1, "out_bytes": 2}]}, "v": {"client_count": 7}},
      "portal_users": {"m": {"username": "u", "in_bytes": 5}},
      "neighbours": [{"mac": "n", "trusted": true, "band": 0, "channel": 6, "signal": -40}, {"ssid": "x"}],
      "ssid_config": {"a@b@BOTH": {"security_mode": 4, "guest": true}}})");
  EXPECT_TRUE(snapshot.is_wireless);
  EXPECT_EQ(snapshot.radios.at("r").band, records::WIFIBandType::k5GHz);
  EXPECT_EQ(snapshot.radios.at("s").band, records::WIFIBandType::kUnknown);
  EXPECT_EQ(snapshot.ssid_interfaces.at("w").ssid, "L\xff");
  EXPECT_EQ(snapshot.ssid_interfaces.at("w").client_count, 1);
  EXPECT_EQ(snapshot.ssid_interfaces.at("w").clients.front().mode, records::WIFIOpMode::k802_11ac);
  EXPECT_EQ(snapshot.ssid_interfaces.at("v").client_count, 7);
  EXPECT_EQ(snapshot.portal_users.at("m").in_bytes, 5U);
  EXPECT_EQ(snapshot.neighbours.front().trusted, 1);
  EXPECT_EQ(snapshot.neighbours.front().signal, -40);
  EXPECT_EQ(snapshot.neighbours.back().ssid, "x");
  EXPECT_EQ(snapshot.neighbours.back().band, records::WIFIBandType::kUnknown);
  EXPECT_EQ(snapshot.ssid_config.at("a@b@BOTH").name, "a@b");
  EXPECT_EQ(snapshot.ssid_config.at("a@b@BOTH").security_mode, records::SecModeType::kWpaEnterprise);
}

TEST(DeviceStateReader, ReadsHealth) {
  const DeviceSnapshot snapshot = Of(R"({"cpu": 80, "uptime": 301, "health": 3, "notifications": {"warning": 2},
      "credential": {"state": "failed"}})");
  EXPECT_EQ(snapshot.cpu, 80);
  EXPECT_EQ(snapshot.uptime, 301);
  EXPECT_EQ(snapshot.health_level, 3);
  EXPECT_EQ(snapshot.notifications.warning, 2);
  EXPECT_EQ(snapshot.credential_json, R"({"state":"failed"})");
}

TEST(DeviceStateReader, KeepsTheOrderOfACredentialsMembers) {
  EXPECT_EQ(Of(R"({"credential": {"z": 1, "a": 2}})").credential_json, R"({"z":1,"a":2})");
}

TEST(DeviceStateReader, IsRefusedWithThePlaceAndTheReason) {
  EXPECT_EQ(RefusalOfState(R"({"cpus": 1})"), "unknown member cpus");
  EXPECT_EQ(RefusalOfState(R"({"online": 1})"), "online must be true or false");
  EXPECT_EQ(RefusalOfState(R"({"interfaces": {"ge1": {"traffic": {"in_bytes": -1}}}})"),
            "interfaces.ge1.traffic.in_bytes must be a whole number from 0 to 18446744073709551615");
  EXPECT_EQ(RefusalOfState(R"({"cpu": 2147483648})"), "cpu must be a whole number from -2147483648 to 2147483647");
  EXPECT_EQ(RefusalOfState(R"({"cpu": 1.5})"), "cpu must be a whole number from -2147483648 to 2147483647");
  EXPECT_EQ(RefusalOfState(R"({"ssid_interfaces": {"w": {"ssid_hex": "4c6"}}})"),
            "ssid_interfaces.w.ssid_hex must be pairs of hex digits");
  EXPECT_EQ(RefusalOfState(R"({"ssid_interfaces": {"w": {"ssid": "x", "ssid_hex": "4c"}}})"),
            "ssid_interfaces.w.ssid stands beside ssid_hex");
  EXPECT_EQ(RefusalOfState(R"({"ssid_interfaces": {"w": {"ssid": "x", "ssid_hex": null}}})"), "");
  EXPECT_EQ(RefusalOfState(R"({"neighbours": {}})"), "neighbours must be an array");
  EXPECT_EQ(RefusalOfState(R"({"neighbours": [{}, 1]})"), "neighbours[1] must be an object");
  EXPECT_EQ(RefusalOfState(R"({"ssid_interfaces": {"w": {"clients": [{"mac": 1}]}}})"),
            "ssid_interfaces.w.clients[0].mac must be a text");
  EXPECT_EQ(RefusalOfState(R"({"interfaces": []})"), "interfaces must be an object");
}

}  // namespace
