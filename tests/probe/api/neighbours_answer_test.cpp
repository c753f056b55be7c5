#include "probe/api/neighbours_answer.h"
#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/schema/schema.h"

namespace probe {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
namespace records = vexora_probe::models::controller;

constexpr const char* kHearing = "AA:BB:CC:00:00:01";
constexpr const char* kOther = "AA:BB:CC:00:00:02";

class NeighboursAnswerTest : public ::testing::Test {
 protected:
  static DeviceSnapshot AccessPoint(const std::string& ssid) {
    DeviceSnapshot snapshot;
    snapshot.is_wireless = true;
    snapshot.ssid_interfaces["wlan1"].ssid = ssid;
    return snapshot;
  }

  static records::NeighboringAP Heard(const char* bssid, const char* ssid, std::int32_t signal,
                                      std::int32_t trusted = 0) {
    records::NeighboringAP heard;
    heard.mac = bssid;
    heard.ssid = ssid;
    heard.signal = signal;
    heard.trusted = trusted;
    heard.band = records::WIFIBandType::k2_4GHz;
    heard.channel = 6;
    return heard;
  }

  /// The answer for the device in the lobby, which has to follow its schema.
  json Told() {
    const HttpAnswer answer = NeighboursAnswer(centre, {"", {{"mac", kHearing}}});
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(test::SchemaViolation("neighbours", *answer.body), "");
    return json::parse(*answer.body);
  }
  json Neighbours() { return Told()["neighbours"]; }

  VirtualClock clock{1000};
  ClockInstallation installation{clock};
  DeviceCentre centre;
};

TEST_F(NeighboursAnswerTest, TellsWhatIsHeardTheStrongestFirst) {
  DeviceSnapshot lobby = AccessPoint("Office");
  lobby.neighbours = {Heard("02-00-00-00-00-0a", "caf\xE9", -80), Heard("02:00:00:00:00:0B", "", 0),
                      Heard("02:00:00:00:00:0C", "Branch", -50, 1)};
  lobby.neighbours.front().band = records::WIFIBandType::kUnknown;
  lobby.neighbours.front().channel = 0;
  centre.Replace(kHearing, lobby);
  EXPECT_EQ(Neighbours(), json::parse(R"([
    {"bssid": "02:00:00:00:00:0C", "ssid": "Branch", "band": "2.4GHz", "channel": 6, "signal": -50, "trusted": true,
     "own_ssid": false},
    {"bssid": "02:00:00:00:00:0A", "ssid": "caf�", "band": null, "channel": null, "signal": -80, "trusted": false,
     "own_ssid": false},
    {"bssid": "02:00:00:00:00:0B", "ssid": "", "band": "2.4GHz", "channel": 6, "signal": null, "trusted": false,
     "own_ssid": false}])"));
}

TEST_F(NeighboursAnswerTest, MarksTheSsidsThatAnyDeviceOfTheProbeCarries) {
  DeviceSnapshot lobby = AccessPoint("Office");
  lobby.neighbours = {Heard("02:00:00:00:00:0A", "Yard", -50), Heard("02:00:00:00:00:0B", "yard", -60),
                      Heard("02:00:00:00:00:0C", "", -70), Heard("02:00:00:00:00:0D", "Office", -80, 1)};
  DeviceSnapshot yard = AccessPoint("Yard");
  yard.ssid_interfaces["wlan2"].ssid = "";
  yard.online = false;
  centre.Replace(kHearing, lobby);
  centre.Replace(kOther, yard);
  std::vector<bool> own;
  for (const json& heard : Neighbours()) own.push_back(heard["own_ssid"]);
  EXPECT_THAT(own, ElementsAre(true, false, false, true)) << "also one that only pretends to be; a name is no proof";
}

TEST_F(NeighboursAnswerTest, TellsNoneHeardFromNoTable) {
  centre.Replace(kHearing, AccessPoint("Office"));
  EXPECT_EQ(Neighbours(), json::array());
  DeviceSnapshot silent = AccessPoint("Office");
  silent.details.tells_neighbours = false;
  centre.Replace(kHearing, silent);
  EXPECT_EQ(Neighbours(), nullptr) << "its source has no such table";
  DeviceSnapshot wired = AccessPoint("Office");
  wired.is_wireless = false;
  centre.Replace(kHearing, wired);
  EXPECT_EQ(Neighbours(), nullptr) << "it has no radio that could hear";
  wired.neighbours = {Heard("02:00:00:00:00:0A", "Yard", -50)};
  centre.Replace(kHearing, wired);
  EXPECT_EQ(Neighbours().size(), 1U);
}

TEST_F(NeighboursAnswerTest, SaysWhetherTheDeviceIsThere) {
  DeviceSnapshot lobby = AccessPoint("Office");
  lobby.online = false;
  centre.Replace(kHearing, lobby);
  EXPECT_EQ(Told()["online"], false);
}

TEST_F(NeighboursAnswerTest, NeedsADevice) {
  const HttpAnswer none = NeighboursAnswer(centre, {"", {}});
  EXPECT_EQ(none.status, 400U);
  EXPECT_EQ(json::parse(*none.body)["error"]["code"], "missing_argument");
  const HttpAnswer unknown = NeighboursAnswer(centre, {"", {{"mac", kHearing}}});
  EXPECT_EQ(unknown.status, 404U);
  EXPECT_EQ(json::parse(*unknown.body)["error"]["code"], "unknown_device");
}

}  // namespace
}  // namespace probe
