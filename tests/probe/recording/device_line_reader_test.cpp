#include "probe/recording/device_line_reader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "probe/host/device_centre.h"
#include "probe/recording/device_state_reader.h"
#include "probe/recording/device_state_writer.h"
#include "probe/recording/json_object_reader.h"
#include "probe/recording/recording_line.h"
#include "probe/recording/recording_writer.h"
#include "probe/sources/simulated/simulated_network.h"

namespace {

using probe::recording::DeviceLine;
using probe::recording::DeviceLineReader;
using probe::recording::StateOf;

std::optional<DeviceLine> DeviceOf(const std::string& line) {
  DeviceLineReader reader;
  return reader.Read(line);
}

/// The line with this state of device "A".
std::string LineSetting(const std::string& state) {
  return R"({"device": {"mac": "A", "set": )" + state + "}}";
}

/// What `ParseLine` makes of a line: the state that it sets, written down again; empty when it sets none.
std::string StateByParser(const std::string& line) {
  try {
    const probe::recording::Line parsed = probe::recording::ParseLine(line);
    const auto* set = std::get_if<probe::recording::SetDevice>(&parsed);
    return set == nullptr ? "" : StateOf(probe::recording::SnapshotOf(set->state)).dump();
  } catch (const probe::recording::MalformedRecording&) {
    return {};
  }
}

/// That a line is read, and as `ParseLine` reads it.
void ExpectAsParsed(const std::string& line) {
  const auto device = DeviceOf(line);
  ASSERT_TRUE(device.has_value()) << line;
  EXPECT_EQ(StateOf(device->snapshot).dump(), StateByParser(line)) << line;
}

TEST(DeviceLineReader, ReadsWhatTheSimulatedNetworkTells) {
  auto& centre = probe::DeviceCentre::Instance();
  centre.Clear();
  probe::SimulatedNetwork network(centre, {});
  DeviceLineReader reader;
  int lines = 0;
  for (time_t now = 1'795'219'200; now < 1'795'219'200 + 86'400; now += 3'000) {
    network.Advance(now);
    for (const std::string& mac : network.DeviceMacs()) {
      std::ostringstream line;
      probe::recording::RecordingWriter(line).Device(mac, *centre.Snapshot(mac));
      const auto device = reader.Read(line.str());
      ASSERT_TRUE(device.has_value()) << line.str();
      EXPECT_EQ(device->mac, mac);
      EXPECT_EQ(StateOf(device->snapshot), StateOf(*centre.Snapshot(mac)));
      ++lines;
    }
  }
  EXPECT_EQ(lines, 9 * 29);
  centre.Clear();
}

TEST(DeviceLineReader, ReadsTheDevicesOfAllRecordings) {
  int lines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VEXORA_RECORDINGS)) {
    if (entry.path().string().ends_with(".expected.jsonl")) continue;
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) {
      if (!line.starts_with(R"({"device")") || line.find(R"("set")") == std::string::npos) continue;
      ExpectAsParsed(line);
      ++lines;
    }
  }
  EXPECT_GT(lines, 10);
}

TEST(DeviceLineReader, ReadsEveryMember) {
  for (const char* state :
       {"{}", R"({"online": false, "known": false, "driver": false, "wireless": true})",
        R"({"basic_info": null, "platform_info": null, "sample_time": null, "interfaces": null})",
        R"({"basic_info": {"hostname": "h", "ip": "i", "type": 2}, "platform_info": {"model": "m", "version": "v"}})",
        R"({"sample_time": -5, "polling_time": 9223372036854775807})",
        R"({"interfaces": {"a": null, "b": {}, "c": {"oper_status": 2, "traffic": {"if_index": 3,
            "in_bytes": 18446744073709551615, "out_bytes": 1}}, "d": {"traffic": null}}})",
        R"({"radios": {"r": {"band": 1}, "s": {}}, "ssid_config": {"a@b@r": {"security_mode": 4, "guest": true}}})",
        R"({"ssid_interfaces": {"w": {"ssid": "x", "radio": "r", "traffic": {}, "clients": [{"mac": "m",
            "hostname": "h", "mode": 8, "data_rate": 7, "in_bytes": 1, "out_bytes": 2}, {}]},
            "v": {"client_count": 9, "clients": [{}]}, "u": {"ssid_hex": "Ff00e9"}, "t": {"client_count": null}}})",
        R"({"portal_users": {"m": {"username": "u", "hostname": "h", "in_bytes": 1, "out_bytes": 2}}})",
        R"({"neighbours": [{"mac": "m", "ssid": "s", "trusted": true, "band": 0, "channel": 6, "signal": -60}, {}]})",
        R"({"cpu": -1, "uptime": 2147483647, "health": 4, "notifications": {"info": 1, "warning": 2, "alert": 3}})",
        R"({"credential": {}})", R"({"credential": {"b": [1, 2.50, 1e3, "\u00e9\n"], "a": {"c": null, "d": true}}})"}) {
    ExpectAsParsed(LineSetting(state));
  }
}

TEST(DeviceLineReader, LeavesOtherLinesToTheParser) {
  for (const char* line : {R"({"pass": {}})", R"({"device": {"mac": "A", "merge": {}}})",
                           R"({"device": {"mac": "A", "forget": true}})", R"({"stop": {}})", "{\"device", ""}) {
    EXPECT_FALSE(DeviceOf(line).has_value()) << line;
  }
}

TEST(DeviceLineReader, LeavesWhatIsMalformedToTheParser) {
  const std::vector<std::string> lines{
      LineSetting("null"),
      LineSetting("5"),
      LineSetting("{}") + "x",
      LineSetting("{}}"),
      LineSetting(R"({"colour": 1})"),
      LineSetting(R"({"cpu": 1, "cpu": 1})"),
      LineSetting(R"({"cpu": 1.0})"),
      LineSetting(R"({"cpu": 2147483648})"),
      LineSetting(R"({"cpu": "1"})"),
      LineSetting(R"({"online": 1})"),
      LineSetting(R"({"basic_info": 5})"),
      LineSetting(R"({"basic_info": {"type": -2147483649}})"),
      LineSetting(R"({"interfaces": []})"),
      LineSetting(R"({"interfaces": {"a": 1}})"),
      LineSetting(R"({"interfaces": {"a": {}, "a": {}}})"),
      LineSetting(R"({"interfaces": {"a": {"traffic": {"in_bytes": -1}}}})"),
      LineSetting(R"({"interfaces": {"a": {"traffic": {"in_bytes": -0}}}})"),
      LineSetting(R"({"radios": {"a": null}})"),
      LineSetting(R"({"interfaces": {"a": {"traffic": {"in_bytes": 18446744073709551616}}}})"),
      LineSetting(R"({"ssid_interfaces": {"a": {"ssid": "x", "ssid_hex": "00"}}})"),
      LineSetting(R"({"ssid_interfaces": {"a": {"ssid_hex": "0"}}})"),
      LineSetting(R"({"ssid_interfaces": {"a": {"ssid_hex": "0g"}}})"),
      LineSetting(R"({"ssid_interfaces": {"a": {"clients": [null]}}})"),
      LineSetting(R"({"neighbours": {}})"),
      LineSetting(R"({"credential": []})"),
      LineSetting(R"({"credential": {"a": 1, "a": 2}})"),
      LineSetting(R"({"basic_info": {"ip": "\ud800"}})"),
      LineSetting(R"({"basic_info": {"ip": "\udc00"}})"),
      LineSetting("{\"basic_info\": {\"ip\": \"\xff\"}}"),
      LineSetting(R"({"credential": {"a": )" + std::string(40, '[') + std::string(40, ']') + "}}"),
      R"({"device": {"set": {}}})",
      R"({"device": {"mac": null, "set": {}}})",
      R"({"device": {"mac": 5, "set": {}}})",
      R"({"device": {"mac": "A", "mac": "A", "set": {}}})",
      R"({"device": {"mac": "A", "set": {}, "merge": {}}})",
      R"({"device": {"mac": "A", "set": {}}, "stop": {}})"};
  for (const std::string& line : lines) {
    EXPECT_EQ(StateByParser(line), "") << line;
    EXPECT_FALSE(DeviceOf(line).has_value()) << line;
  }
}

TEST(DeviceLineReader, DepthOfACredentialEndsWhereThatOfALineDoes) {
  const auto nested = [](std::size_t depth) {
    return LineSetting(R"({"credential": {"a": )" + std::string(depth, '[') + std::string(depth, ']') + "}}");
  };
  ExpectAsParsed(nested(28));
  EXPECT_EQ(StateByParser(nested(29)), "");
  EXPECT_FALSE(DeviceOf(nested(29)).has_value());
}

}  // namespace
