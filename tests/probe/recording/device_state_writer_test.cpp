#include "probe/recording/device_state_writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "probe/recording/device_state_reader.h"

namespace {

using nlohmann::json;
using probe::DeviceSnapshot;

DeviceSnapshot ReadBack(const std::string& state) {
  return probe::recording::SnapshotOf(nlohmann::ordered_json::parse(state));
}

/// The state of a snapshot, whatever the order of its members.
json Described(const DeviceSnapshot& snapshot) {
  return json::parse(probe::recording::StateOf(snapshot).dump());
}

TEST(DeviceStateWriter, DescribesASnapshotSoThatItIsTheSameAgain) {
  const json state = json::parse(R"({"online": false, "known": false, "driver": false, "wireless": true,
      "basic_info": {"hostname": "ap", "ip": "192.0.2.1", "type": 2}, "platform_info": {"model": "M", "version": "1"},
      "sample_time": 5, "polling_time": 6,
      "interfaces": {"a": null, "b": {"oper_status": 2, "traffic": null},
        "c": {"oper_status": 1, "traffic": {"if_index": 3, "in_bytes": 4, "out_bytes": 5}}},
      "ssid_interfaces": {"w": {"ssid_hex": "4cff", "radio": "r", "client_count": 9,
        "traffic": {"if_index": 0, "in_bytes": 1, "out_bytes": 2},
        "clients": [{"mac": "m", "hostname": "h", "mode": 8, "data_rate": 54, "in_bytes": 1, "out_bytes": 2}]}},
      "radios": {"r": {"band": 1}},
      "portal_users": {"m": {"username": "u", "hostname": "h", "in_bytes": 5, "out_bytes": 6}},
      "neighbours": [{"mac": "n", "ssid": "x", "trusted": true, "band": 0, "channel": 6, "signal": -40}],
      "ssid_config": {"x@r": {"security_mode": 4, "guest": true}},
      "cpu": 80, "uptime": 301, "health": 3, "notifications": {"info": 1, "warning": 2, "alert": 3},
      "credential": {"state": "failed", "code": null}})");
  EXPECT_EQ(Described(ReadBack(state.dump())), state);
  EXPECT_EQ(Described(ReadBack(R"({"basic_info": null})")).at("basic_info"), nullptr);
  EXPECT_EQ(Described(ReadBack(Described(ReadBack("{}")).dump())), Described(ReadBack("{}")));
}

TEST(DeviceStateWriter, IsWrittenWithoutWhatHasNoTextForAName) {
  DeviceSnapshot snapshot;
  for (const char* name : {"Office@r", "\xff@r", "\xfe@r"}) snapshot.ssid_config[name] = {};
  for (const char* name : {"ge1", "\xff"}) snapshot.interfaces[name] = nullptr;
  const json described = Described(snapshot);
  EXPECT_EQ(described["ssid_config"].size(), 1U);
  EXPECT_EQ(described["interfaces"].size(), 1U);
  EXPECT_EQ(ReadBack(described.dump()).ssid_config.begin()->first, "Office@r");
}

TEST(DeviceStateWriter, WritesAnSsidThatIsNotUtf8AsItsOctets) {
  DeviceSnapshot snapshot;
  snapshot.ssid_interfaces["a"].ssid = "Caf\xc3\xa9";
  snapshot.ssid_interfaces["b"].ssid = "\xff\x01";
  const json interfaces = Described(snapshot)["ssid_interfaces"];
  EXPECT_EQ(interfaces["a"]["ssid"], "Caf\xc3\xa9");
  EXPECT_FALSE(interfaces["a"].contains("ssid_hex"));
  EXPECT_EQ(interfaces["b"]["ssid_hex"], "ff01");
  EXPECT_FALSE(interfaces["b"].contains("ssid"));
}

}  // namespace
