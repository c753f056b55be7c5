#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "platform/device_records.h"
#include "tests/monitor/clientcount/client_count_fixture.h"

namespace {

using nlohmann::json;
using probe::log::Level;
using test::kAttic;
using test::kDevices;
using test::kLobby;
using test::kSsids;
using test::LogCapture;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class ClientCountCollect : public test::ClientCountMonitorTest {
 protected:
  /// SSID -> clients of a device now.
  std::map<std::string, int> Now(const std::string& mac) {
    std::map<std::string, int> counts;
    const json all = Body(kDevices).at("current_devices_counts");
    if (!all.contains(mac)) return counts;
    for (const auto& [ssid, current] : all.at(mac).items()) counts[ssid] = current.at("count");
    return counts;
  }
};

using Now = std::map<std::string, int>;

TEST_F(ClientCountCollect, IsNamedByItsClass) {
  EXPECT_EQ(monitor.GetMonitorName(), "ClientCountMonitor");
}

TEST_F(ClientCountCollect, CountsAnSsidOnTwoInterfacesOfADeviceAsOne) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Office", "radio0", {0, 0}).Clients("wlan0", 3);
  network.AccessPoint(kLobby).Wifi("wlan1", "Office", "radio1", {0, 0}).Clients("wlan1", 2);
  Pass();
  EXPECT_EQ(Now(kLobby), (::Now{{"Office", 5}}));
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 5}}));
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 5}}));
}

TEST_F(ClientCountCollect, SumsADeviceOverItsSsidsAndAnSsidOverItsDevices) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Office", "radio0", {0, 0}).Clients("wlan0", 2);
  network.AccessPoint(kLobby).Wifi("wlan1", "Guest", "radio1", {0, 0}).Clients("wlan1", 4);
  network.AccessPoint(kAttic).Wifi("wlan0", "Office", "radio0", {0, 0}).Clients("wlan0", 10);
  Pass();
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 6}}));
  EXPECT_EQ(OfDevice(kAttic), (Counts{{1, 10}}));
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 12}}));
  EXPECT_EQ(OfSsid("Guest"), (Counts{{1, 4}}));
}

TEST_F(ClientCountCollect, CountsTheListOfClientsNotTheDevicesOwnCount) {
  Office(kLobby, 2);
  network.AccessPoint(kLobby).CountedBy("wlan0", 9);
  Pass();
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 2}}));
}

TEST_F(ClientCountCollect, GivesAZeroToADeviceThatLostAllClients) {
  Office(kLobby, 2);
  Pass();
  Office(kLobby, 0);
  Pass();
  EXPECT_EQ(Now(kLobby), ::Now{});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 2}, {2, 0}}));
  EXPECT_EQ(Body(kSsids).at("current_ssid_clients_counts"), json::object());  // in this very pass
}

TEST_F(ClientCountCollect, GivesAZeroInEveryPassToAnSsidThatNobodyCarriesAnyMore) {
  Office(kLobby, 2);
  Pass();
  network.AccessPoint(kLobby).WithoutWifi("wlan0").Wifi("wlan0", "Other", "radio0", {0, 0});
  Pass();
  Pass();
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 2}, {2, 0}, {3, 0}}));
  EXPECT_EQ(Body(kSsids).at("current_ssid_clients_counts"), json::object());
}

TEST_F(ClientCountCollect, CountsNobodyOnADeviceWithoutSsidInterfaces) {
  Office(kLobby, 2);
  Pass();
  network.AccessPoint(kLobby).WithoutWifi("wlan0");
  const LogCapture log;
  Pass();
  EXPECT_EQ(Now(kLobby), ::Now{});
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 2}, {2, 0}}));
  EXPECT_THAT(log.Texts(Level::kDebug, "ConvertDriverStruct"), ElementsAre());
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre());
}

TEST_F(ClientCountCollect, NeitherResetsNorRecountsADeviceWhoseWirelessQueryIsDenied) {
  Office(kLobby, 2);
  Pass();
  Office(kLobby, 5).Wireless(false);
  Pass();
  EXPECT_EQ(Now(kLobby), (::Now{{"Office", 2}}));
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 2}, {2, 2}}));
}

TEST_F(ClientCountCollect, KeepsTheCountsOfADeviceThatIsOfflineUnknownOrWithoutDriver) {
  Office(kLobby, 2);
  Pass();
  Office(kLobby, 3).Online(false);
  Pass();
  Office(kLobby, 4).Online(true).Driven(false);
  Pass();
  Office(kLobby, 5).Driven(true).Known(false);
  Pass();
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 2}, {2, 2}, {3, 2}, {4, 2}}));
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 2}, {2, 2}, {3, 2}, {4, 2}}));
}

TEST_F(ClientCountCollect, ResetsOnlyTheDevicesThatItRecounts) {
  Office(kLobby, 2);
  Office(kAttic, 3);
  Pass();
  Office(kLobby, 0).Online(false);
  Office(kAttic, 1);
  Pass();
  EXPECT_EQ(OfSsid("Office"), (Counts{{1, 5}, {2, 3}}));
}

TEST_F(ClientCountCollect, TakesTheSecondPassOfAMinuteInPlaceOfTheFirst) {
  Office(kLobby, 2);
  Pass();
  Office(kLobby, 7);
  Pass(0);
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 7}}));
  Office(kLobby, 0);
  Pass(0);
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 0}}));
}

TEST_F(ClientCountCollect, KeepsThirtyMinutes) {
  for (int minute = 1; minute <= 29; ++minute) PassWith({minute});
  EXPECT_EQ(OfDevice(kLobby).size(), 29U);
  PassWith({30});
  EXPECT_EQ(OfDevice(kLobby).size(), 30U);
  PassWith({31});
  const Counts counts = OfDevice(kLobby);
  EXPECT_EQ(counts.size(), 30U);
  EXPECT_EQ(counts.begin()->first, 2);
  EXPECT_EQ(counts.rbegin()->second, 31);
}

TEST_F(ClientCountCollect, KnowsAnEmptySsidToo) {
  network.AccessPoint(kLobby).Wifi("wlan0", "", "radio0", {0, 0}).Clients("wlan0", 2);
  Pass();
  EXPECT_EQ(OfSsid(""), (Counts{{1, 2}}));
  EXPECT_EQ(OfDevice(kLobby), (Counts{{1, 2}}));
  EXPECT_EQ(Body(kSsids).at("current_ssid_clients_counts"), json::object());
}

TEST_F(ClientCountCollect, CreatesNothingForAnSsidWithoutClients) {
  Office(kLobby, 0);
  Pass();
  EXPECT_EQ(Body(kSsids).at("ssids_clients_counts"), json::parse(R"({"ssid_client_count_all": {}})"));
  EXPECT_EQ(Body(kDevices).at("devices_client_counts"), json::parse(R"({"device_client_count_all": {}})"));
  EXPECT_EQ(Body(kDevices).at("current_devices_counts"), json::object());
}

/// What is logged of the only interface of `kLobby`.
std::vector<std::string> LobbyLines(int clients) {
  const std::string begin = "[ClientCountMonitor::ConvertDriverStruct] ";
  return {begin + "Interface name:wlan0",
          begin + "mac: AA:AA:AA:AA:AA:01, ssid name:Office, client count: " + std::to_string(clients)};
}

TEST_F(ClientCountCollect, LogsEveryInterfaceAndItsSsid) {
  Office(kLobby, 2);
  const LogCapture log;
  Pass();
  EXPECT_THAT(log.Texts(Level::kDebug, "ConvertDriverStruct"), ElementsAreArray(LobbyLines(2)));
  EXPECT_THAT(log.Texts(Level::kDebug, "MergeCurrentCount"),
              ElementsAre("[ClientCountMonitor::MergeCurrentCount] debug"));
}

TEST_F(ClientCountCollect, AddsTheClientsOfAllInterfacesThatCarryAnSsid) {
  monitor.ConvertDriverStruct(kLobby, {{.interface = "wlan0", .ssid = "Guest", .clients = 1},
                                       {.interface = "wlan1", .ssid = "Office", .clients = 2},
                                       {.interface = "wlan2", .ssid = "Office", .clients = 1}});
  EXPECT_EQ(Now(kLobby), (::Now{{"Guest", 1}, {"Office", 3}}));
}

TEST_F(ClientCountCollect, LogsAnInterfaceWithoutClientsToo) {
  Office(kLobby, 0);
  const LogCapture log;
  Pass();
  EXPECT_THAT(log.Texts(Level::kDebug, "ConvertDriverStruct"), ElementsAreArray(LobbyLines(0)));
}

TEST_F(ClientCountCollect, StampsSamplesWithTheMinuteThatThePassTimeLiesIn) {
  Office(kLobby, 2);
  monitor.set_current_time(test::kStart + 5 * 60 + 59);  // whatever the clock says
  monitor.DataUpdate();
  EXPECT_EQ(OfDevice(kLobby), (Counts{{5, 2}}));
}

}  // namespace
