#include <gmock/gmock.h>

#include <new>
#include <stdexcept>

#include "monitor/health/health_status.h"
#include "platform/device_records.h"
#include "probe/host/connection_id.h"
#include "probe/host/sending.h"
#include "probe/host/subscription_service.h"
#include "tests/monitor/engine/expect_defect.h"
#include "tests/monitor/health/health_fixture.h"

namespace {

using nlohmann::json;
using probe::log::Level;
using test::Connection;
using test::FilterOf;
using test::HealthMonitorTest;
using test::kAccessPoint;
using test::kSwitch;
using test::LogCapture;
using test::MessageCapture;
using test::SentMessage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vexora_probe::models::controller::NeighboringAP;

NeighboringAP Neighbour(const std::string& mac, int trusted) {
  NeighboringAP neighbour;
  neighbour.mac = mac;
  neighbour.trusted = trusted;
  return neighbour;
}

json Figure(json value, int level) {
  return {{"value", std::move(value)}, {"level", level}};
}

TEST_F(HealthMonitorTest, IsNamedAsItsTopic) {
  EXPECT_EQ(monitor.GetMonitorName(), "HealthMonitor");
}

TEST_F(HealthMonitorTest, ShowsAWirelessDeviceMemberByMember) {
  network.AccessPoint(kAccessPoint)
      .Named("lobby")
      .Cpu(42)
      .Uptime(301)
      .HealthLevel(3)
      .Notifications({.info = 1, .warning = 2, .alert = 3})
      .Neighbours({Neighbour("11:11:11:11:11:11", 0)})
      .Wifi("wlan0", "Office", "radio0", {0, 0})
      .Clients("wlan0", 2);
  Pass();
  EXPECT_EQ(Message(),
            R"({ "name": "HealthMonitor", "data": { "status": [ { "device": "AA:AA:AA:AA:AA:01", "hostname": "lobby", )"
            R"("actual_cpu": { "value": 42.0, "level": 3 }, "uptime": { "value": 301, "level": 3 }, )"
            R"("deviceclass": "AccessPoint", "notification": { "alert": 3, "warning": 2, "info": 1 }, )"
            R"("clients": { "value": 2, "level": 2 }, "rogue_aps": { "value": 1, "level": 4 }, "level": 3 } ], )"
            R"("name": "HealthMonitor" } })");
}

TEST_F(HealthMonitorTest, ShowsNeitherClientsNorRogueApsOfADeviceWithoutAWirelessSide) {
  network.Switch(kSwitch)
      .HealthLevel(4)
      .Neighbours({Neighbour("11:11:11:11:11:11", 0)})
      .Wifi("wlan0", "X", "r", {0, 0});
  network.Switch(kSwitch).Clients("wlan0", 3);
  Pass();
  const json device = DeviceOf(kSwitch);
  EXPECT_FALSE(device.contains("clients"));
  EXPECT_FALSE(device.contains("rogue_aps"));
  EXPECT_EQ(device.at("level"), 4);
  EXPECT_EQ(device.at("deviceclass"), "Switch");
  // what the wireless query denied was not counted either
  network.Switch(kSwitch).Wireless(true);
  EXPECT_EQ(DeviceOf(kSwitch).at("clients"), Figure(0, 2));
  EXPECT_EQ(DeviceOf(kSwitch).at("rogue_aps"), Figure(0, 2));
}

TEST_F(HealthMonitorTest, SumsTheClientsOfAllSsidInterfacesByTheirLists) {
  network.AccessPoint(kAccessPoint).Wifi("wlan0", "A", "r", {0, 0}).Wifi("wlan1", "B", "r", {0, 0});
  network.AccessPoint(kAccessPoint).Clients("wlan0", 48);
  Pass();
  EXPECT_EQ(DeviceOf(kAccessPoint).at("clients"), Figure(48, 2));
  network.AccessPoint(kAccessPoint).Clients("wlan1", 1);
  Pass();
  EXPECT_EQ(DeviceOf(kAccessPoint).at("clients"), Figure(49, 4));
}

TEST_F(HealthMonitorTest, CountsUntrustedNeighboursOnly) {
  network.AccessPoint(kAccessPoint).Neighbours({Neighbour("11:11:11:11:11:11", 1), Neighbour("22:22:22:22:22:22", -3)});
  Pass();
  EXPECT_EQ(DeviceOf(kAccessPoint).at("rogue_aps"), Figure(0, 2));
  network.AccessPoint(kAccessPoint).Neighbours({Neighbour("11:11:11:11:11:11", 1), Neighbour("22:22:22:22:22:22", 0)});
  const LogCapture log;
  Pass();
  EXPECT_EQ(DeviceOf(kAccessPoint).at("rogue_aps"), Figure(1, 4));
  EXPECT_THAT(log.Texts(Level::kDebug, "SystemStateDe"),
              ElementsAre("[HealthMonitor::SystemStateDe] Mac: AA:AA:AA:AA:AA:01, rogue mac: 11:11:11:11:11:11, "
                          "trusted: trusted",
                          "[HealthMonitor::SystemStateDe] Mac: AA:AA:AA:AA:AA:01, rogue mac: 22:22:22:22:22:22, "
                          "trusted: untrusted"));
}

TEST_F(HealthMonitorTest, GradesTheFiguresOfTheDevice) {
  network.Switch(kSwitch).Cpu(80).Uptime(1799).HealthLevel(1);
  Pass();
  EXPECT_EQ(DeviceOf(kSwitch).at("actual_cpu"), Figure(80.0, 4));
  EXPECT_EQ(DeviceOf(kSwitch).at("uptime"), Figure(1799, 3));
  EXPECT_EQ(DeviceOf(kSwitch).at("level"), 2);
  network.Switch(kSwitch).Cpu(-1).Uptime(-1).HealthLevel(3);
  Pass();
  EXPECT_EQ(DeviceOf(kSwitch).at("actual_cpu"), Figure(-1.0, 1));
  EXPECT_EQ(DeviceOf(kSwitch).at("uptime"), Figure(-1, 1));
  EXPECT_EQ(DeviceOf(kSwitch).at("level"), 3);
  network.Switch(kSwitch).Cpu(20).Uptime(1800);
  Pass();
  EXPECT_EQ(DeviceOf(kSwitch).at("actual_cpu"), Figure(20.0, 2));
  EXPECT_EQ(DeviceOf(kSwitch).at("uptime"), Figure(1800, 2));
}

TEST_F(HealthMonitorTest, ReadsTheHostsJudgementWhenTheMessageIsBuilt) {
  network.Switch(kSwitch).HealthLevel(2);
  Pass();
  network.Switch(kSwitch).HealthLevel(4);
  EXPECT_EQ(DeviceOf(kSwitch).at("level"), 4);
}

TEST_F(HealthMonitorTest, KeepsTheLastSnapshotOfADeviceThatWentOffline) {
  network.Switch(kSwitch).Cpu(33);
  Pass();
  network.Switch(kSwitch).Cpu(77).Online(false);
  Pass();
  EXPECT_EQ(DeviceOf(kSwitch).at("actual_cpu"), Figure(33.0, 3));
}

TEST_F(HealthMonitorTest, ShowsWhatItKnowsOfADeviceThatLostItsDriverOrIsUnknown) {
  network.AccessPoint(kAccessPoint).Cpu(33).HealthLevel(3);
  Pass();
  network.AccessPoint(kAccessPoint).Driven(false);
  json device = DeviceOf(kAccessPoint);
  EXPECT_EQ(device.at("actual_cpu"), Figure(33.0, 3));
  EXPECT_FALSE(device.contains("level"));
  EXPECT_FALSE(device.contains("clients"));
  network.AccessPoint(kAccessPoint).Driven(true).Known(false);
  device = DeviceOf(kAccessPoint);
  EXPECT_EQ(device.at("actual_cpu"), Figure(33.0, 3));
  EXPECT_FALSE(device.contains("level"));
}

TEST_F(HealthMonitorTest, StoresNoDeviceThatIsUnknownOrHasNoDriver) {
  network.Switch(kSwitch).Driven(false);
  network.AccessPoint(kAccessPoint).Known(false);
  Pass();
  EXPECT_EQ(Devices(), json::array());
}

TEST_F(HealthMonitorTest, StoresNoDeviceWithoutAMac) {
  network.Switch("").Cpu(5);
  Pass();
  EXPECT_EQ(Devices(), json::array());
}

TEST_F(HealthMonitorTest, KeepsAnEarlierSnapshotWhenTheDeviceHasLostItsDriver) {
  network.Switch(kSwitch).Cpu(5);
  Pass();
  network.Switch(kSwitch).Cpu(6).Driven(false);
  Pass();
  EXPECT_EQ(DeviceOf(kSwitch).at("actual_cpu"), Figure(5.0, 2));
}

TEST_F(HealthMonitorTest, LeavesARecordAsItIsForADeviceThatIsUnknownOrHasNoDriver) {
  monitoring::HealthStatus status;
  HealthMonitor::SystemStateDe(kSwitch, status);
  EXPECT_EQ(status.cpu, -1.0);
  EXPECT_EQ(status.deviceclass, "");
  network.Switch(kSwitch).Named("core").Cpu(5).Driven(false);
  HealthMonitor::SystemStateDe(kSwitch, status);
  EXPECT_EQ(status.hostname, "");
  EXPECT_EQ(status.cpu, -1.0);
}

TEST_F(HealthMonitorTest, ReadsEveryFigureOfADevice) {
  network.AccessPoint(kAccessPoint)
      .Named("lobby")
      .Cpu(7)
      .Uptime(8)
      .Notifications({.info = 1, .warning = 2, .alert = 3});
  network.AccessPoint(kAccessPoint).Wifi("wlan0", "A", "r", {0, 0}).Clients("wlan0", 3);
  network.AccessPoint(kAccessPoint).Neighbours({Neighbour("11:11:11:11:11:11", 0)}).Address("192.0.2.7");
  monitoring::HealthStatus status;
  HealthMonitor::SystemStateDe(kAccessPoint, status);
  EXPECT_EQ(status.deviceclass, "AccessPoint");
  EXPECT_EQ(status.ip, "192.0.2.7");
  EXPECT_EQ(status.hostname, "lobby");
  EXPECT_EQ(status.uptime, 8);
  EXPECT_EQ(status.clients, 3);
  EXPECT_EQ(status.rogue_aps, 1);
  EXPECT_EQ(status.cpu, 7.0);
  EXPECT_EQ(status.info, 1);
  EXPECT_EQ(status.warning, 2);
  EXPECT_EQ(status.alert, 3);
  // levels belong to messages
  EXPECT_EQ(status.uptime_level, 2);
  EXPECT_EQ(status.rogue_aps_level, 2);
  EXPECT_EQ(status.cpu_level, 2);
  EXPECT_EQ(status.clients_level, 2);
}

TEST_F(HealthMonitorTest, HoldsOnlyTheDeviceThatTheFilterNames) {
  network.Switch(kSwitch);
  network.AccessPoint(kAccessPoint);
  Pass();
  EXPECT_EQ(Devices().size(), 2U);
  ASSERT_EQ(Devices(kSwitch).size(), 1U);
  EXPECT_EQ(DeviceOf(kSwitch).at("device"), kSwitch);
  EXPECT_EQ(Message("11:11:11:11:11:11"),
            R"({ "name": "HealthMonitor", "data": { "status": [ ], "name": "HealthMonitor" } })");
}

TEST_F(HealthMonitorTest, AddsTheCredentialStateOfAWatchedDeviceWithoutACpuReading) {
  network.Switch(kSwitch).Cpu(-1).Credential(R"({"credential": "failed", "since": 5})");
  Pass();
  const LogCapture log;
  const json device = DeviceOf(kSwitch);
  EXPECT_EQ(device.at("credential"), "failed");
  EXPECT_EQ(device.at("since"), 5);
  EXPECT_THAT(log.Texts(Level::kDebug, "DeviceCredentialResultGet"),
              ElementsAre("DeviceCredentialResultGet HealthMonitor mac AA:AA:AA:AA:AA:02,key is credential.",
                          "DeviceCredentialResultGet HealthMonitor mac AA:AA:AA:AA:AA:02,key is since."));
  EXPECT_FALSE(Devices().at(0).contains("credential"));
}

TEST_F(HealthMonitorTest, AddsTheCredentialStateBehindTheLevel) {
  network.Switch(kSwitch).Cpu(-1).HealthLevel(3).Credential(R"({"credential": "failed"})");
  Pass();
  EXPECT_NE(Message(kSwitch).find(R"("level": 3, "credential": "failed" } ])"), std::string::npos) << Message(kSwitch);
}

TEST_F(HealthMonitorTest, AddsNoCredentialStateOnceTheCpuWasRead) {
  network.Switch(kSwitch).Cpu(0).Credential(R"({"credential": "failed"})");
  Pass();
  EXPECT_FALSE(DeviceOf(kSwitch).contains("credential"));
  network.Switch(kSwitch).Cpu(-2);
  Pass();
  EXPECT_FALSE(DeviceOf(kSwitch).contains("credential"));
}

TEST_F(HealthMonitorTest, AddsNothingWhenThereIsNoCredentialResult) {
  network.Switch(kSwitch).Cpu(-1);
  Pass();
  EXPECT_EQ(DeviceOf(kSwitch).size(), 7U) << DeviceOf(kSwitch);
}

TEST_F(HealthMonitorTest, ForgetsADeviceAndSaysSo) {
  network.Switch(kSwitch);
  network.AccessPoint(kAccessPoint);
  Pass();
  const LogCapture log;
  monitor.Cleanup(kSwitch);
  EXPECT_THAT(log.Lines(), ElementsAre(test::LogLine{Level::kInfo, 2,
                                                     "[HealthMonitor::Cleanup] Cleanup for mac: AA:AA:AA:AA:AA:02"}));
  ASSERT_EQ(Devices().size(), 1U);
  EXPECT_EQ(Devices().at(0).at("device"), kAccessPoint);
}

TEST_F(HealthMonitorTest, OnlyLogsAtACleanupWithoutAMac) {
  network.Switch(kSwitch);
  Pass();
  const LogCapture log;
  monitor.Cleanup("");
  EXPECT_THAT(log.Lines(), ElementsAre(test::LogLine{Level::kInfo, 2, "[HealthMonitor::Cleanup] mac is empty"}));
  EXPECT_EQ(Devices().size(), 1U);
}

TEST_F(HealthMonitorTest, MergesNoViews) {
  network.Switch(kSwitch);
  Pass();
  const std::string before = Message();
  const LogCapture log;
  monitor.MergeDataForInterval();
  monitor.MergeDifferentInterval("1m", "5m", 5, 5);
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_EQ(Message(), before);
}

TEST_F(HealthMonitorTest, SendsEachConnectionOneMessageForTheFilterOfItsLastSid) {
  network.Switch(kSwitch);
  network.AccessPoint(kAccessPoint);
  Pass();
  MessageCapture messages;
  monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("", kAccessPoint)}, {Connection(2), FilterOf("", "")}}},
                         {"b", {{Connection(1), FilterOf("1h", kSwitch)}}}});
  EXPECT_THAT(messages.Take(),
              ElementsAre(SentMessage{Connection(1), Message(kSwitch)}, SentMessage{Connection(2), Message()}));
}

TEST_F(HealthMonitorTest, PassesOverSubscriptionsWithoutAFilter) {
  network.Switch(kSwitch);
  Pass();
  MessageCapture messages;
  monitor.PushDataBySID(
      {{"a", {{Connection(1), FilterOf("", kSwitch)}, {Connection(2), nullptr}}}, {"b", {{Connection(1), nullptr}}}});
  EXPECT_THAT(messages.Take(), ElementsAre(SentMessage{Connection(1), Message(kSwitch)}));
}

TEST_F(HealthMonitorTest, SendsNothingWithoutASendFunction) {
  network.Switch(kSwitch);
  Pass();
  const LogCapture log;
  monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("")}}}});
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(HealthMonitorTest, PushesToItsSubscribersInEveryPass) {
  network.Switch(kSwitch).Cpu(5);
  probe::SubscriptionService::Instance().File("HealthMonitor", probe::ConnectionId{1}, {{"a", FilterOf("")}});
  MessageCapture messages;
  Pass();
  EXPECT_THAT(messages.Take(), ElementsAre(SentMessage{Connection(1), Message()}));
  network.Switch(kSwitch).Cpu(6);
  Pass();
  EXPECT_THAT(messages.Take(), ElementsAre(SentMessage{Connection(1), Message()}));
  probe::SubscriptionService::Instance().Clear();
}

TEST_F(HealthMonitorTest, NamesItselfInTheEnvelopeAndInTheBodyAsItIsTold) {
  EXPECT_EQ(monitor.GenerateJsonMsg("Other", ""), R"({ "name": "Other", "data": { "status": [ ], "name": "Other" } })");
}

TEST_F(HealthMonitorTest, HidesTheWirelessFiguresOfADeviceThatHasNoWirelessSideAnyMore) {
  network.AccessPoint(kAccessPoint).Wifi("wlan0", "A", "r", {0, 0}).Clients("wlan0", 3);
  Pass();
  network.AccessPoint(kAccessPoint).Wireless(false);
  EXPECT_FALSE(DeviceOf(kAccessPoint).contains("clients"));
  EXPECT_FALSE(DeviceOf(kAccessPoint).contains("rogue_aps"));
}

TEST_F(HealthMonitorTest, StoresEveryFieldOfARecordAndFallsBackToItsOwnLevels) {
  network.AccessPoint(kAccessPoint);
  monitoring::HealthStatus status;
  status.hostname = "lobby";
  status.deviceclass = "Router";
  status.uptime = 1800;
  status.uptime_level = 5;
  status.clients = 1;
  status.clients_level = 6;
  status.rogue_aps_level = 7;
  status.cpu = 30.0;
  status.info = 1;
  status.warning = 2;
  status.alert = 3;
  monitor.UpdateHealthStatus(kAccessPoint, status);
  const json device = DeviceOf(kAccessPoint);
  EXPECT_EQ(device.at("hostname"), "lobby");
  EXPECT_EQ(device.at("deviceclass"), "Router");
  EXPECT_EQ(device.at("uptime"), Figure(1800, 5));
  EXPECT_EQ(device.at("clients"), Figure(1, 6));
  EXPECT_EQ(device.at("rogue_aps"), Figure(0, 7));
  EXPECT_EQ(device.at("actual_cpu"), Figure(30.0, 3));
  EXPECT_EQ(device.at("notification"), json::parse(R"({"info": 1, "warning": 2, "alert": 3})"));
}

TEST_F(HealthMonitorTest, LosesNoMoreThanTheMessageThatFails) {
  static std::vector<lws*> served;
  served.clear();
  probe::InstallSendFunction([](lws* connection, const std::string&) {
    if (connection == Connection(1)) throw std::bad_alloc();
    served.push_back(connection);
  });
  monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("")}, {Connection(2), FilterOf("")}}}});
  probe::InstallSendFunction(nullptr);
  EXPECT_EQ(served, (std::vector<lws*>{Connection(2)}));
}

TEST_F(HealthMonitorTest, LetsNothingThatASenderThrowsOut) {
  const auto push = [this] { monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("")}}}}); };
  probe::InstallSendFunction([](lws*, const std::string&) { throw std::bad_alloc(); });
  EXPECT_NO_THROW(push());
  probe::InstallSendFunction([](lws*, const std::string&) { throw std::runtime_error("no more"); });
  test::ExpectDefect(push, "[HealthMonitor::PushDataBySID] Unexpected exception std::runtime_error: no more");
  probe::InstallSendFunction(nullptr);
}

/// Speaks under another name, and with other words.
class OtherHealthMonitor : public HealthMonitor {
 public:
  std::string GetMonitorName() override { return "Other"; }
  std::string GenerateJsonMsg(const std::string& name, const std::string& mac) override {
    return mac.empty() ? std::string() : name + " " + mac;
  }
};

TEST(HealthMonitorThatIsDerivedFrom, SendsWhatTheDerivedOneSaysAlsoWhenThatIsNothing) {
  OtherHealthMonitor monitor;
  MessageCapture messages;
  monitor.PushDataBySID({{"a", {{Connection(1), FilterOf("", kSwitch)}, {Connection(2), FilterOf("")}}}});
  EXPECT_THAT(messages.Take(),
              ElementsAre(SentMessage{Connection(1), std::string("Other ") + kSwitch}, SentMessage{Connection(2), ""}));
}

}  // namespace
