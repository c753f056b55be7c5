#include "monitor/clientcount/client_count_show.h"
#include "monitor/clientcount/client_count_records.h"

#include <gmock/gmock.h>

#include <new>
#include <stdexcept>
#include <string>

#include "probe/host/connection_id.h"
#include "probe/host/sending.h"
#include "tests/monitor/clientcount/client_count_fixture.h"
#include "tests/monitor/engine/expect_defect.h"

namespace {

using nlohmann::json;
using probe::log::Level;
using test::Connection;
using test::FilterOf;
using test::kAttic;
using test::kDevices;
using test::kLobby;
using test::kSsids;
using test::LogCapture;
using test::MessageCapture;
using test::SentMessage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClientCountShow : public test::ClientCountMonitorTest {
 protected:
  ClientCountShow() { probe::SubscriptionService::Instance().Clear(); }
  ~ClientCountShow() override { probe::SubscriptionService::Instance().Clear(); }
};

TEST_F(ClientCountShow, BySsidHoldsSeriesTheirSumPresentCountsAndSids) {
  Office(kLobby, 2);
  network.AccessPoint(kAttic).Wifi("wlan0", "Guest", "radio0", {0, 0}).Clients("wlan0", 3);
  Pass();
  Office(kLobby, 1);
  Pass();
  EXPECT_EQ(monitor.GenerateJsonMsg(kSsids, *FilterOf("1m"), {"a", "b"}),
            R"({ "name": "SSIDClientCountMonitor", "data": { "1m": { "ssids_clients_counts": { )"
            R"("Guest": { "29920321": 3, "29920322": 3 }, "Office": { "29920321": 2, "29920322": 1 }, )"
            R"("ssid_client_count_all": { "29920321": 5, "29920322": 4 } }, )"
            R"("current_ssid_clients_counts": { "Guest": { "count": 3 }, "Office": { "count": 1 } }, )"
            R"("sid": [ "a", "b" ] } } })");
}

TEST_F(ClientCountShow, ByDeviceHoldsPresentCountsSeriesTheirSumAndSids) {
  Office(kLobby, 2);
  network.AccessPoint(kAttic).Wifi("wlan0", "Guest", "radio0", {0, 0}).Clients("wlan0", 3);
  Pass();
  EXPECT_EQ(monitor.GenerateJsonMsg(kDevices, *FilterOf("1m"), {"a"}),
            R"({ "name": "DevicesClientCountMonitor", "data": { "1m": { "current_devices_counts": { )"
            R"("AA:AA:AA:AA:AA:01": { "Office": { "ssid": "Office", "count": 2 } }, )"
            R"("AA:AA:AA:AA:AA:02": { "Guest": { "ssid": "Guest", "count": 3 } } }, )"
            R"("devices_client_counts": { "AA:AA:AA:AA:AA:01": { "29920321": 2 }, )"
            R"("AA:AA:AA:AA:AA:02": { "29920321": 3 }, "device_client_count_all": { "29920321": 5 } }, )"
            R"("sid": [ "a" ] } } })");
}

TEST_F(ClientCountShow, OfAnyOtherTopicHoldsOnlyTheSids) {
  EXPECT_EQ(monitor.GenerateJsonMsg("ClientCountMonitor", *FilterOf("1m"), {"a"}),
            R"({ "name": "ClientCountMonitor", "data": { "1m": { "sid": [ "a" ] } } })");
}

TEST_F(ClientCountShow, IsThatOfAnHourForAFilterWithoutAView) {
  for (int minute = 1; minute <= 60; ++minute) PassWith({minute});
  EXPECT_EQ(monitor.GenerateJsonMsg(kSsids, *FilterOf(""), {"a"}), Message(kSsids, "1h"));
  EXPECT_EQ(monitor.GenerateJsonMsg(kDevices, *FilterOf(""), {"a"}), Message(kDevices, "1h"));
  EXPECT_EQ(OfSsid("Office", "1h"), (Counts{{60, 60}}));
}

TEST_F(ClientCountShow, HoldsPresentCountsButNoSeriesForAnUnknownView) {
  Office(kLobby, 2);
  Pass();
  EXPECT_EQ(Message(kSsids, "3m"),
            R"({ "name": "SSIDClientCountMonitor", "data": { "3m": { )"
            R"("ssids_clients_counts": { "ssid_client_count_all": { } }, )"
            R"("current_ssid_clients_counts": { "Office": { "count": 2 } }, "sid": [ "a" ] } } })");
}

TEST_F(ClientCountShow, CountsAnSsidOnTheDeviceOfTheFilterNowButSumsItsSeriesOverAll) {
  Office(kLobby, 2);
  Office(kAttic, 3);
  network.AccessPoint(kAttic).Wifi("wlan1", "Guest", "radio0", {0, 0}).Clients("wlan1", 4);
  Pass();
  const json body = Body(kSsids, "1m", kLobby);
  EXPECT_EQ(body.at("current_ssid_clients_counts"), json::parse(R"({"Guest": {"count": 0}, "Office": {"count": 2}})"));
  EXPECT_EQ(SeriesIn(body.at("ssids_clients_counts"), "Office"), (Counts{{1, 5}}));
}

TEST_F(ClientCountShow, HoldsOnlyTheDeviceOfTheFilterAndItsSum) {
  Office(kLobby, 2);
  Office(kAttic, 3);
  Pass();
  EXPECT_EQ(Message(kDevices, "1m", kAttic),
            R"({ "name": "DevicesClientCountMonitor", "data": { "1m": { "current_devices_counts": { )"
            R"("AA:AA:AA:AA:AA:02": { "Office": { "ssid": "Office", "count": 3 } } }, )"
            R"("devices_client_counts": { "AA:AA:AA:AA:AA:02": { "29920321": 3 }, )"
            R"("device_client_count_all": { "29920321": 3 } }, "sid": [ "a" ] } } })");
}

TEST_F(ClientCountShow, LeavesOutASeriesOfThirtyZeroesButNotOfTwentyNine) {
  Office(kAttic, 4);
  Office(kLobby, 1);
  Pass();
  Office(kLobby, 0);
  for (int minute = 2; minute <= 30; ++minute) Pass();
  EXPECT_EQ(OfDevice(kLobby).size(), 30U);  // one of them, and 29 zeroes
  network.AccessPoint(kAttic).WithoutWifi("wlan0").Wifi("wlan0", "Guest", "radio0", {0, 0}).Clients("wlan0", 4);
  for (int minute = 31; minute <= 60; ++minute) Pass();
  EXPECT_THAT(OfDevice(kLobby), IsEmpty());
  EXPECT_THAT(OfSsid("Office"), IsEmpty());
  EXPECT_EQ(OfSsid("Guest").size(), 30U);
}

TEST_F(ClientCountShow, SumsSeriesOfThirtyZeroesTooAndKeepsThirtyMinutesOfTheSum) {
  Office(kLobby, 1);
  Pass();
  Office(kLobby, 0);
  for (int minute = 2; minute <= 31; ++minute) Pass();
  EXPECT_THAT(OfSsid("Office"), IsEmpty());
  Counts zeroes;
  for (int minute = 2; minute <= 31; ++minute) zeroes[minute] = 0;
  EXPECT_EQ(OfSsid("ssid_client_count_all"), zeroes);
  EXPECT_EQ(OfDevice("device_client_count_all"), zeroes);
}

TEST_F(ClientCountShow, AddsTheCredentialStateOfAWatchedDeviceOfWhichThereIsNothing) {
  network.AccessPoint(kLobby).Credential(R"({"credential": "failed"})");
  Pass();
  const LogCapture log;
  EXPECT_EQ(Message(kDevices, "1m", kLobby),
            R"({ "name": "DevicesClientCountMonitor", "data": { "1m": { "current_devices_counts": { }, )"
            R"("credential": "failed", "devices_client_counts": { "device_client_count_all": { } }, )"
            R"("sid": [ "a" ] } } })");
  EXPECT_THAT(
      log.Texts(Level::kDebug),
      ElementsAre("[ClientCountMonitor::GenerateJsonMsg] start",
                  "[void ClientCountMonitor::GenerateDeviceClientMsg(json_object*, const Filter*, timeval&)] device: "
                  "AA:AA:AA:AA:AA:01 clients all is empty",
                  "DeviceCredentialResultGet ClientCountMonitor mac AA:AA:AA:AA:AA:01,key is credential."));
}

TEST_F(ClientCountShow, AddsNoCredentialStateWithoutAFilterForADeviceOrWithSeriesOrWithClients) {
  network.AccessPoint(kLobby).Credential(R"({"credential": "failed"})");
  Pass();
  EXPECT_FALSE(Body(kDevices).contains("credential"));
  EXPECT_FALSE(Body(kSsids, "1m", kLobby).contains("credential"));
  Office(kLobby, 1);
  Pass();
  EXPECT_FALSE(Body(kDevices, "5m", kLobby).contains("credential"));  // no series, but clients
  Office(kLobby, 0);
  Pass();
  EXPECT_FALSE(Body(kDevices, "1m", kLobby).contains("credential"));  // no clients, but a series
  EXPECT_TRUE(Body(kDevices, "5m", kLobby).contains("credential"));
}

TEST_F(ClientCountShow, GoesToTheSubscribersOfBothTopicsByFilterWhateverTheListSays) {
  Office(kLobby, 1);
  auto& subscriptions = probe::SubscriptionService::Instance();
  subscriptions.File(kSsids, probe::ConnectionId{1}, {{"a", FilterOf("1m")}, {"b", FilterOf("1m")}});
  subscriptions.File(kDevices, probe::ConnectionId{2}, {{"c", FilterOf("5m", kLobby)}});
  subscriptions.File(kDevices, probe::ConnectionId{3}, {{"c", FilterOf("5m", kLobby)}});
  MessageCapture messages;
  Pass();
  const auto by_device = monitor.GenerateJsonMsg(kDevices, *FilterOf("5m", kLobby), {"c"});
  const std::vector<SentMessage> all{
      {Connection(1), monitor.GenerateJsonMsg(kSsids, *FilterOf("1m"), {"a", "b"})},
      {Connection(2), by_device},
      {Connection(3), by_device},
  };
  EXPECT_EQ(messages.Take(), all);
  monitor.PushDataBySID({{"x", {{Connection(9), FilterOf("1m")}}}});
  EXPECT_EQ(messages.Take(), all);
}

TEST_F(ClientCountShow, IsNotSentWithoutASubscriber) {
  MessageCapture messages;
  Pass();
  EXPECT_THAT(messages.Take(), IsEmpty());
}

TEST_F(ClientCountShow, IsDroppedWithoutASendFunction) {
  probe::SubscriptionService::Instance().File(kSsids, probe::ConnectionId{1}, {{"a", FilterOf("1m")}});
  const LogCapture log;
  Pass();
  EXPECT_THAT(log.Texts(Level::kError), IsEmpty());
  EXPECT_THAT(log.Texts(Level::kInfo), IsEmpty());
}

TEST_F(ClientCountShow, LetsNothingThatASenderThrowsOut) {
  probe::SubscriptionService::Instance().File(kSsids, probe::ConnectionId{1}, {{"a", FilterOf("1m")}});
  probe::InstallSendFunction([](lws*, const std::string&) { throw std::bad_alloc(); });
  EXPECT_NO_THROW(monitor.PushDataBySID({}));
  probe::InstallSendFunction([](lws*, const std::string&) { throw std::runtime_error("no more"); });
  test::ExpectDefect([this] { monitor.PushDataBySID({}); },
                     "[ClientCountMonitor::PushDataBySID] Unexpected exception std::runtime_error: no more");
  probe::InstallSendFunction(nullptr);
}

TEST_F(ClientCountShow, OfADeviceOfThirtyZeroesHasNoCredentialState) {
  Office(kLobby, 1).Credential(R"({"credential": "failed"})");
  Pass();
  Office(kLobby, 0);
  for (int minute = 2; minute <= 31; ++minute) Pass();
  const json body = Body(kDevices, "1m", kLobby);
  EXPECT_FALSE(body.at("devices_client_counts").contains(kLobby));
  EXPECT_FALSE(body.contains("credential"));
}

TEST_F(ClientCountShow, SaysNothingOfAnEmptyDeviceWhenTheFilterNamesNone) {
  const LogCapture log;
  Message(kDevices);
  EXPECT_THAT(log.Texts(Level::kDebug, "clients all is empty"), IsEmpty());
}

// From here on the unit alone, with plain values.

using monitoring::clientcount::CountById;
using monitoring::clientcount::CurrentCounts;
using monitoring::clientcount::Series;
using monitoring::clientcount::SeriesWriter;

TEST(ClientCountShowUnit, WritesASeriesByMinute) {
  std::string text;
  monitoring::clientcount::AppendSamples(text, {{100, 3}, {101, 0}});
  EXPECT_EQ(text, R"({ "100": 3, "101": 0 })");
  monitoring::clientcount::AppendSamples(text, Series());
  EXPECT_EQ(text, R"({ "100": 3, "101": 0 }{ })");
}

TEST(ClientCountShowUnit, WritesTheGreatestNumbersOfASeries) {
  std::string text;
  monitoring::clientcount::AppendSamples(text, {{-2'147'483'648, -2'147'483'647}, {2'147'483'647, 2'147'483'647}});
  EXPECT_EQ(text, R"({ "-2147483648": -2147483647, "2147483647": 2147483647 })");
}

TEST(ClientCountShowUnit, WritesTheSumBehindTheSeries) {
  std::string text;
  SeriesWriter writer(text, "all");
  writer.Add("a", "{ }");
  writer.Add("b", R"({ "1": 2 })");
  writer.Close({{1, 2}});
  EXPECT_EQ(text, R"({ "a": { }, "b": { "1": 2 }, "all": { "1": 2 } })");
}

TEST(ClientCountShowUnit, WritesTheSumInPlaceOfASeriesOfItsName) {
  std::string text;
  SeriesWriter writer(text, "all");
  writer.Add("a", "{ }");
  writer.Add("all", R"({ "1": 2 })");
  writer.Add(std::string("all\0x", 5), R"({ "1": 3, "2": 4 })");
  writer.Add("b", "{ }");
  writer.Close({{7, 8}});
  EXPECT_EQ(text, R"({ "a": { }, "all": { "7": 8 }, "b": { } })");
}

TEST(ClientCountShowUnit, WritesPresentCountsBySsid) {
  EXPECT_EQ(monitoring::clientcount::CurrentSsidsText(CountById{{"Guest", 4}, {"Office", 0}}),
            R"({ "Guest": { "count": 4 }, "Office": { "count": 0 } })");
}

TEST(ClientCountShowUnit, WritesPresentCountsByDeviceAlsoOfTheEmptySsid) {
  EXPECT_EQ(monitoring::clientcount::CurrentDevicesText(CurrentCounts{{"A", {{"", {1, 0}}, {"Lab", {2, 0}}}}}),
            R"({ "A": { "": { "ssid": "", "count": 1 }, "Lab": { "ssid": "Lab", "count": 2 } } })");
}

}  // namespace
