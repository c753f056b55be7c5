#include "probe/api/device_answers.h"
#include "platform/device_records.h"
#include "probe/api/plugin_calls.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_details.h"
#include "probe/server/http/http_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/schema/schema.h"

namespace probe {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace records = vexora_probe::models::controller;

constexpr const char* kLobby = "AA:BB:CC:00:00:01";
constexpr const char* kYard = "AA:BB:CC:00:00:02";

class DeviceAnswersTest : public ::testing::Test {
 protected:
  DeviceAnswersTest() {
    plugin.interface_traffic = [](const std::string& mac, const std::string& interface,
                                  std::map<std::string, unsigned long long>& out) {
      if (mac == kLobby && interface == "5Ghz - Office") out = {{"input", 7}, {"output", 8}};
    };
  }

  static DeviceSnapshot AccessPoint(const std::string& name) {
    DeviceSnapshot snapshot;
    snapshot.basic_info->hostname = name;
    snapshot.is_wireless = true;
    snapshot.polling_time = 50;
    snapshot.radios["radio1"].band = records::WIFIBandType::k5GHz;
    snapshot.details.channels["radio1"] = 36;
    snapshot.ssid_interfaces["wlan1"].ssid = "Office";
    snapshot.ssid_interfaces["wlan1"].radio = "radio1";
    return snapshot;
  }

  static void AddClient(DeviceSnapshot& snapshot, const std::string& mac) {
    records::AssocClientState client;
    client.mac = mac;
    client.hostname = "phone \xff";
    client.in_bytes = 1;
    client.out_bytes = 2;
    snapshot.ssid_interfaces["wlan1"].clients.push_back(client);
    ++snapshot.ssid_interfaces["wlan1"].client_count;
  }

  /// The answer, which has to follow its schema.
  static json Told(const HttpAnswer& answer, const std::string& schema) {
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(test::SchemaViolation(schema, *answer.body), "");
    return json::parse(*answer.body);
  }

  static HttpRequest With(std::map<std::string, std::string> arguments) { return {"", std::move(arguments)}; }

  json Clients(const std::map<std::string, std::string>& arguments = {}) {
    return Told(ClientsAnswer(centre, With(arguments)), "clients_now")["clients"];
  }
  json Notifications(const std::map<std::string, std::string>& arguments = {}) {
    return Told(NotificationsAnswer(centre, With(arguments)), "notifications")["notifications"];
  }
  json Ports(const std::map<std::string, std::string>& arguments) {
    return Told(PortsAnswer(centre, plugin, With(arguments)), "ports")["ports"];
  }

  VirtualClock clock{1000};
  ClockInstallation installation{clock};
  DeviceCentre centre;
  PluginCalls plugin;
};

TEST_F(DeviceAnswersTest, TellsWhoIsHereAndSinceWhen) {
  centre.Replace(kLobby, AccessPoint("lobby"));
  clock.Set(1100);
  DeviceSnapshot lobby = AccessPoint("lobby");
  AddClient(lobby, "02-00-00-00-00-0a");
  lobby.details.client_signals["02-00-00-00-00-0a"] = -61;
  lobby.portal_users["02-00-00-00-00-0a"].username = "guest";
  centre.Replace(kLobby, lobby);
  EXPECT_EQ(Clients(), json::parse(R"([{"mac": "02:00:00:00:00:0A", "hostname": "phone �", "user": "guest",
    "device": "AA:BB:CC:00:00:01", "device_name": "lobby", "interface": "wlan1", "ssid": "Office", "band": "5GHz",
    "channel": 36, "since": 1100, "or_earlier": false, "signal": -61, "rate": null, "received": 2, "sent": 1}])"));
}

TEST_F(DeviceAnswersTest, ListsAClientWhoRoamedOnceWhereItCameLast) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  AddClient(lobby, "02:00:00:00:00:0A");
  centre.Replace(kLobby, lobby);
  centre.Replace(kYard, AccessPoint("yard"));
  clock.Set(1200);
  DeviceSnapshot yard = AccessPoint("yard");
  AddClient(yard, "02-00-00-00-00-0a");
  centre.Replace(kYard, yard);
  ASSERT_EQ(Clients().size(), 1U);
  EXPECT_EQ(Clients()[0]["device_name"], "yard");
  EXPECT_THAT(Clients({{"mac", kLobby}}), IsEmpty()) << "it is not there any more";
  EXPECT_EQ(Clients({{"mac", kYard}}).size(), 1U);
}

TEST_F(DeviceAnswersTest, PutsAClientWhoIsListedTwiceWhereItsTrafficIs) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  DeviceSnapshot yard = AccessPoint("yard");
  AddClient(lobby, "02:00:00:00:00:0A");
  AddClient(yard, "02-00-00-00-00-0a");
  const auto reading = [&](const char* mac, DeviceSnapshot& device, bool transfers, time_t time) {
    clock.Set(time);
    if (transfers) ++device.ssid_interfaces["wlan1"].clients.front().in_bytes;
    centre.Replace(mac, device);
    const json clients = Clients();
    return clients.size() == 1 ? clients[0]["device_name"].get<std::string>() : "not once";
  };
  reading(kYard, yard, false, 1000);
  EXPECT_EQ(reading(kLobby, lobby, false, 1010), "lobby") << "nothing is known: the lower MAC";
  EXPECT_EQ(reading(kYard, yard, false, 1060), "lobby");
  EXPECT_EQ(reading(kYard, yard, true, 1120), "yard");
  EXPECT_EQ(reading(kLobby, lobby, false, 1130), "yard") << "the order of the readings must not decide";
  EXPECT_EQ(reading(kLobby, lobby, true, 1190), "lobby") << "it came back to where it was listed all the time";
  EXPECT_EQ(reading(kYard, yard, true, 1200), "lobby") << "what it transferred since 1120, before it left";
  EXPECT_EQ(reading(kYard, yard, false, 1260), "lobby");
}

TEST_F(DeviceAnswersTest, PutsAClientWhoIsOnTwoRadiosOfADeviceWhereItsTrafficIs) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  AddClient(lobby, "02:00:00:00:00:0A");
  lobby.ssid_interfaces["wlan2"] = lobby.ssid_interfaces["wlan1"];
  lobby.ssid_interfaces["wlan2"].ssid = "Staff";
  const auto ssid_at = [&](time_t time) {
    clock.Set(time);
    centre.Replace(kLobby, lobby);
    const json clients = Clients();
    return clients.size() == 1 ? clients[0]["ssid"].get<std::string>() : "not once";
  };
  EXPECT_EQ(ssid_at(1000), "Office") << "nothing is known: the first by name";
  ++lobby.ssid_interfaces["wlan2"].clients.front().in_bytes;
  EXPECT_EQ(ssid_at(1060), "Staff");
  EXPECT_EQ(ssid_at(1120), "Staff");
  ++lobby.ssid_interfaces["wlan1"].clients.front().in_bytes;
  EXPECT_EQ(ssid_at(1180), "Office");
}

TEST_F(DeviceAnswersTest, DoesNotSayThatAClientCameWithTheFirstListAfterTheFirstReading) {
  DeviceSnapshot counters = AccessPoint("lobby");
  counters.details.lists_clients = false;
  centre.Replace(kLobby, counters);
  clock.Set(1060);
  DeviceSnapshot lobby = AccessPoint("lobby");
  AddClient(lobby, "02:00:00:00:00:0A");
  centre.Replace(kLobby, lobby);
  ASSERT_EQ(Clients().size(), 1U);
  EXPECT_TRUE(Clients()[0]["or_earlier"]);
}

TEST_F(DeviceAnswersTest, DoesNotSayThatAClientCameWhoIsKnownFromBeforeTheRestart) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  AddClient(lobby, "02:00:00:00:00:0A");
  centre.ReplaceWith(kLobby, std::make_shared<const DeviceSnapshot>(lobby));
  ASSERT_EQ(Clients().size(), 1U);
  EXPECT_EQ(Clients()[0]["since"], 50);
  EXPECT_TRUE(Clients()[0]["or_earlier"]);
}

TEST_F(DeviceAnswersTest, HasNobodyAtADeviceThatIsOffline) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  AddClient(lobby, "02:00:00:00:00:0A");
  centre.Replace(kLobby, lobby);
  EXPECT_EQ(Clients().size(), 1U);
  EXPECT_TRUE(Clients()[0]["or_earlier"]) << "it was there before the first reading";
  lobby.online = false;
  centre.Replace(kLobby, lobby);
  EXPECT_THAT(Clients(), IsEmpty());
}

TEST_F(DeviceAnswersTest, TellsNotificationsThatAreOpenAndThoseThatEnded) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  lobby.details.notifications = {{.severity = Severity::kInfo, .text = "Saved.", .since = 900},
                                 {.severity = Severity::kAlert, .text = "<b>hot</b> \xff", .since = 950}};
  centre.Replace(kLobby, lobby);
  clock.Set(1060);
  lobby.details.notifications = {{.severity = Severity::kAlert, .text = "<b>hot</b> \xff", .since = 1060}};
  centre.Replace(kLobby, lobby);
  DeviceSnapshot yard = AccessPoint("yard");
  yard.details.notifications = {{.severity = Severity::kWarning, .text = "Loud.", .since = 1000}};
  centre.Replace(kYard, yard);
  const json all = Notifications();
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0]["text"], "Loud.") << "the newest that is open";
  EXPECT_EQ(all[1], json::parse(R"({"mac": "AA:BB:CC:00:00:01", "hostname": "lobby", "severity": "alert",
                                    "text": "<b>hot</b> �", "since": 950, "until": null})"))
      << "since it was first told";
  EXPECT_EQ(all[2]["text"], "Saved.");
  EXPECT_EQ(all[2]["until"], 1060);
  EXPECT_EQ(Notifications({{"mac", kYard}}).size(), 1U);
  EXPECT_EQ(Notifications({{"mac", kLobby}}).size(), 2U);
}

TEST_F(DeviceAnswersTest, ANotificationHoldsSinceItWasToldAlsoWhenReadingsHadToWait) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  centre.Replace(kLobby, lobby);
  centre.Hold();
  for (const time_t time : {1010, 1020}) {
    lobby.details.notifications = {{.severity = Severity::kAlert, .text = "hot", .since = time}};
    centre.Replace(kLobby, lobby);
  }
  lobby.details.notifications.clear();
  clock.Set(1030);
  centre.Replace(kLobby, lobby);
  centre.Release();
  const json all = Notifications();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0]["since"], 1010);
  EXPECT_EQ(all[0]["until"], 1030);
}

TEST_F(DeviceAnswersTest, NotificationsOfADeviceThatWasRemovedAreForgotten) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  lobby.details.notifications = {{.severity = Severity::kInfo, .text = "Saved.", .since = 900}};
  centre.Replace(kLobby, lobby);
  lobby.details.notifications.clear();
  centre.Replace(kLobby, lobby);
  EXPECT_EQ(centre.PastNotifications().size(), 1U);
  centre.Forget(kLobby);
  EXPECT_THAT(centre.PastNotifications(), IsEmpty());
  centre.Replace(kLobby, lobby);
  EXPECT_THAT(Notifications(), IsEmpty());
}

TEST_F(DeviceAnswersTest, TellsEveryPortWithStateAndSpeed) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  const auto port = [](std::int32_t status, bool counts) {
    auto state = std::make_shared<records::InterfaceState>();
    state->oper_status = status;
    if (counts) state->traffic = std::make_shared<records::TrafficStats>(records::TrafficStats{1, 10, 20});
    return state;
  };
  lobby.interfaces = {{"eth0", port(1, true)},
                      {"eth1", port(2, false)},
                      {"eth2", nullptr},
                      {"odd", port(9, false)},
                      {"wlan1", port(1, true)}};
  lobby.details.port_speeds["eth0"] = 1'000'000'000;
  centre.Replace(kLobby, lobby);
  EXPECT_EQ(Ports({{"mac", kLobby}}), json::parse(R"([
    {"interface": "eth0", "name": "eth0", "ssid": null, "state": "up", "speed": 1000000000, "input": null,
     "output": null, "received": 10, "sent": 20},
    {"interface": "eth1", "name": "eth1", "ssid": null, "state": "down", "speed": null, "input": null, "output": null,
     "received": null, "sent": null},
    {"interface": "eth2", "name": "eth2", "ssid": null, "state": "unknown", "speed": null, "input": null,
     "output": null, "received": null, "sent": null},
    {"interface": "odd", "name": "odd", "ssid": null, "state": "unknown", "speed": null, "input": null, "output": null,
     "received": null, "sent": null},
    {"interface": "5Ghz - Office", "name": "wlan1", "ssid": "Office", "state": "up", "speed": null, "input": 7,
     "output": 8, "received": 10, "sent": 20}])"));
  for (const char* name : {"wlan1", "5Ghz - Office"}) {
    const json one = Ports({{"mac", kLobby}, {"interface", name}});
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0]["name"], "wlan1");
  }
  lobby.online = false;
  centre.Replace(kLobby, lobby);
  EXPECT_EQ(Ports({{"mac", kLobby}, {"interface", "wlan1"}})[0]["input"], nullptr) << "nobody measures it";
}

TEST_F(DeviceAnswersTest, TellsRadiosWithChannelAndNetworks) {
  DeviceSnapshot lobby = AccessPoint("lobby");
  lobby.ssid_interfaces["wlan9"].ssid = "Lost";
  AddClient(lobby, "02:00:00:00:00:0A");
  centre.Replace(kLobby, lobby);
  EXPECT_EQ(Told(RadiosAnswer(centre, With({{"mac", kLobby}})), "radios")["radios"], json::parse(R"([
    {"name": "radio1", "band": "5GHz", "channel": 36, "ssids": [{"interface": "wlan1", "ssid": "Office", "clients": 1}]},
    {"name": "", "band": null, "channel": null, "ssids": [{"interface": "wlan9", "ssid": "Lost", "clients": 0}]}])"));
}

TEST_F(DeviceAnswersTest, SaysWhatIsWrongWithTheDeviceThatIsAskedFor) {
  centre.Replace(kLobby, AccessPoint("lobby"));
  const auto codes = [&](const std::map<std::string, std::string>& arguments) {
    std::vector<std::string> told;
    for (const HttpAnswer& answer :
         {RadiosAnswer(centre, With(arguments)), PortsAnswer(centre, plugin, With(arguments)),
          ClientsAnswer(centre, With(arguments)), NotificationsAnswer(centre, With(arguments))}) {
      told.push_back(answer.status == 200 ? "" : json::parse(*answer.body)["error"]["code"]);
      if (answer.status == 200) continue;
      EXPECT_EQ(test::SchemaViolation("problem", *answer.body), "");
    }
    return told;
  };
  EXPECT_THAT(codes({}), ElementsAre("missing_argument", "missing_argument", "", ""));
  EXPECT_THAT(codes({{"mac", kYard}}),
              ElementsAre("unknown_device", "unknown_device", "unknown_device", "unknown_device"));
  EXPECT_THAT(codes({{"mac", "lobby"}}), ElementsAre("invalid_mac", "invalid_mac", "invalid_mac", "invalid_mac"));
  const HttpAnswer none = PortsAnswer(centre, plugin, With({{"mac", kLobby}, {"interface", "eth9"}}));
  EXPECT_EQ(none.status, 404U);
  EXPECT_EQ(json::parse(*none.body)["error"]["code"], "unknown_interface");
}

}  // namespace
}  // namespace probe
