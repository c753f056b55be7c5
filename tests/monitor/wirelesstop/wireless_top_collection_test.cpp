#include <gmock/gmock.h>

#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/log_capture.h"

namespace {

using probe::log::Level;
using test::Client;
using test::Everything;
using test::Kib;
using test::kLobby;
using test::kRoof;
using test::kYard;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WirelessTopCollection : public test::WirelessTopTest {
 protected:
  std::vector<std::string> AccessPointCounts() { return List(Message(Everything()), "access_points", "client"); }
  std::vector<std::string> NetworkCounts() { return List(Message(Everything()), "wireless_networks", "client"); }
};

constexpr const char* kNothing =
    R"({ "name": "wireless_top_monitor", "data": { "sid": [ "a" ], "access_points": { "traffic": [ ], "client": [ ] }, )"
    R"("wireless_networks": { "traffic": [ ], "client": [ ] }, "wireless_clients": { "traffic": [ ] } } })";

TEST_F(WirelessTopCollection, LeavesEverythingEmptyWithoutOnlineDevices) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)}).Client("wlan0", Client("c")).Online(false);
  Pass();
  EXPECT_EQ(Message(Everything()), kNothing);
}

TEST_F(WirelessTopCollection, IsEmptyBeforeTheFirstPass) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)});
  EXPECT_EQ(Message(Everything()), kNothing);
}

TEST_F(WirelessTopCollection, AddsUpANetworkOverTheAccessPointsThatCarryIt) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(10), Kib(1)}).Clients("wlan0", 3);
  network.AccessPoint(kYard).Wifi("wlan0", "Guest", "r2", {Kib(5), Kib(2)}).Clients("wlan0", 4);
  Pass();
  EXPECT_THAT(NetworkCounts(), ElementsAre(R"({"name":"Guest","clients":7})"));
  EXPECT_THAT(Networks(), ElementsAre(R"({"name":"Guest","in":15,"out":3,"total":18})"));
}

TEST_F(WirelessTopCollection, AddsUpAnAccessPointOverItsNetworks) {
  network.AccessPoint(kLobby)
      .Named("lobby")
      .Wifi("wlan0", "Guest", "r2", {Kib(10), Kib(1)})
      .Clients("wlan0", 3)
      .Wifi("wlan1", "Office", "r5", {Kib(5), Kib(2)})
      .Clients("wlan1", 4);
  Pass();
  EXPECT_THAT(AccessPointCounts(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"lobby","clients":7})"));
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"lobby","in":15,"out":3,"total":18})"));
}

TEST_F(WirelessTopCollection, CutsEachInterfacesCountersToWholeKib) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "Guest", "r2", {1023, 1024})
      .Client("wlan0", Client("00:00:00:00:00:01", {1023, 1024}))
      .Wifi("wlan1", "Guest", "r5", {1023, 2047})
      .Client("wlan1", Client("00:00:00:00:00:01", {1023, 2047}));
  Pass();
  EXPECT_THAT(Networks(), ElementsAre(R"({"name":"Guest","in":0,"out":2,"total":2})"));
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","in":0,"out":2,"total":2})"));
  EXPECT_THAT(Clients(), ElementsAre(R"({"id":"00:00:00:00:00:01","name":"","in":0,"out":2,"total":2})"));
}

TEST_F(WirelessTopCollection, TakesTheInterfacesOwnClientCountWhateverItLists) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "Guest", "r2", {})
      .Client("wlan0", Client("00:00:00:00:00:01"))
      .CountedBy("wlan0", 20);
  Pass();
  EXPECT_THAT(NetworkCounts(), ElementsAre(R"({"name":"Guest","clients":20})"));
  EXPECT_THAT(AccessPointCounts(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","clients":20})"));
  EXPECT_THAT(Clients(), ElementsAre(R"({"id":"00:00:00:00:00:01","name":"","in":0,"out":0,"total":0})"));
}

TEST_F(WirelessTopCollection, IsTheSameClientInWhateverNotationAndOnWhicheverDevice) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "Guest", "r2", {})
      .Client("wlan0", Client("0a-0b-0c-0d-0e-0f", {Kib(1), Kib(2)}, "phone"));
  network.AccessPoint(kYard)
      .Wifi("wlan0", "Office", "r2", {})
      .Client("wlan0", Client("0A0B.0C0D.0E0F", {Kib(10), Kib(20)}, "laptop"));
  Pass();
  EXPECT_THAT(Clients(), ElementsAre(R"({"id":"0A:0B:0C:0D:0E:0F","name":"phone","in":11,"out":22,"total":33})"))
      << "named as it was first met";
}

TEST_F(WirelessTopCollection, KeepsAClientWithoutANameNamelessEvenIfItHasOneElsewhere) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {}).Client("wlan0", Client("00:00:00:00:00:01"));
  network.AccessPoint(kYard)
      .Wifi("wlan0", "Guest", "r2", {})
      .Client("wlan0", Client("00:00:00:00:00:01", {}, "laptop"));
  Pass();
  EXPECT_THAT(Clients(), ElementsAre(R"({"id":"00:00:00:00:00:01","name":"","in":0,"out":0,"total":0})"));
}

TEST_F(WirelessTopCollection, CountsNothingOfAnInterfaceWithoutASsid) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "", "r2", {Kib(10), Kib(10)})
      .Client("wlan0", Client("00:00:00:00:00:01", {Kib(10), Kib(10)}));
  Pass();
  EXPECT_EQ(Message(Everything()), kNothing) << "a device none of whose interfaces has a name is in no ranking";
}

TEST_F(WirelessTopCollection, CountsTheOtherInterfacesOfADeviceWithANamelessOne) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "", "r2", {Kib(10), Kib(10)})
      .Clients("wlan0", 5)
      .Wifi("wlan1", "Guest", "r2", {Kib(1), Kib(2)})
      .Clients("wlan1", 1);
  Pass();
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","in":1,"out":2,"total":3})"));
  EXPECT_THAT(AccessPointCounts(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","clients":1})"));
}

TEST_F(WirelessTopCollection, CountsClientsAndTheirTrafficOnAnInterfaceWithoutStatistics) {
  network.AccessPoint(kLobby)
      .WifiWithoutStatistics("wlan0", "Guest", "r2")
      .Client("wlan0", Client("00:00:00:00:00:01", {Kib(1), Kib(2)}));
  Pass();
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","in":0,"out":0,"total":0})"));
  EXPECT_THAT(Networks(), ElementsAre(R"({"name":"Guest","in":0,"out":0,"total":0})"));
  EXPECT_THAT(NetworkCounts(), ElementsAre(R"({"name":"Guest","clients":1})"));
  EXPECT_THAT(Clients(), ElementsAre(R"({"id":"00:00:00:00:00:01","name":"","in":1,"out":2,"total":3})"));
}

TEST_F(WirelessTopCollection, PassesOverADeviceThatIsUnknownUndrivenOrNotWirelessWithoutALogLine) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)}).Known(false);
  network.AccessPoint(kYard).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)}).Driven(false);
  network.AccessPoint(kRoof).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)}).Wireless(false);
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_EQ(Message(Everything()), kNothing);
}

TEST_F(WirelessTopCollection, StartsAnewWithEveryPass) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(9), Kib(9)}).Clients("wlan0", 3);
  network.AccessPoint(kYard).Wifi("wlan0", "Office", "r2", {Kib(1), Kib(1)});
  Pass();
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(2), Kib(3)}).Clients("wlan0", 1);
  network.AccessPoint(kYard).Online(false);
  Pass();
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","in":2,"out":3,"total":5})"));
  EXPECT_THAT(Networks(), ElementsAre(R"({"name":"Guest","in":2,"out":3,"total":5})"));
  EXPECT_THAT(NetworkCounts(), ElementsAre(R"({"name":"Guest","clients":1})"));
  EXPECT_THAT(Clients(), ElementsAre(R"({"id":"wlan0-client-1","name":"","in":0,"out":0,"total":0})"));
}

TEST_F(WirelessTopCollection, RanksTheStreamWithMoreOfItFirst) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(10), Kib(0)});
  network.AccessPoint(kYard).Wifi("wlan0", "Office", "r2", {Kib(6), Kib(6)});
  Pass();
  const auto order_by = [&](const char* key) {
    return Column(Message(Everything(key)), "wireless_networks", "traffic", "name");
  };
  EXPECT_THAT(order_by("in"), ElementsAre("Guest", "Office"));
  EXPECT_THAT(order_by("out"), ElementsAre("Office", "Guest"));
  EXPECT_THAT(order_by("total"), ElementsAre("Office", "Guest"));
}

TEST_F(WirelessTopCollection, KeepsTwoStreamsWithEqualInInTheOrderOfTheirNamesAfterAnyLargerOne) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "b", "r2", {Kib(5), 0})
      .Wifi("wlan1", "a", "r2", {Kib(5), 0})
      .Wifi("wlan2", "c", "r2", {Kib(6), 0});
  Pass();
  EXPECT_THAT(Column(Message(Everything("in")), "wireless_networks", "traffic", "name"), ElementsAre("c", "a", "b"));
}

TEST_F(WirelessTopCollection, LogsEachInterfaceAtDebugLevel) {
  network.AccessPoint(kLobby).Wifi("wlan0", "", "r2", {}).Wifi("wlan1", "Guest", "r2", {});
  const test::LogCapture log;
  Pass();
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(
          LogLine{Level::kDebug, 2, "WirelessTopMonitor::Collectdata ssid name is empty for device:AA:AA:AA:AA:AA:01"},
          LogLine{Level::kDebug, 2, "WirelessTopMonitor::Collectdata ssid Guest for device:AA:AA:AA:AA:AA:01"}));
}

TEST_F(WirelessTopCollection, CleansUpNothingButLogsAtInfoLevel) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)}).Clients("wlan0", 1);
  Pass();
  const std::string before = Message(Everything());
  const test::LogCapture log;
  monitor.Cleanup(kLobby);
  monitor.Cleanup("");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{Level::kInfo, 2, "[WirelessTopMonitor::Cleanup] Cleanup for mac: AA:AA:AA:AA:AA:01"},
                          LogLine{Level::kInfo, 2, "[WirelessTopMonitor::Cleanup] mac is empty"}));
  EXPECT_EQ(Message(Everything()), before);
}

TEST_F(WirelessTopCollection, HasNoIntervalsToMerge) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(1)});
  Pass();
  const std::string before = Message(Everything());
  const test::LogCapture log;
  monitor.MergeDataForInterval();
  monitor.MergeDifferentInterval("1m", "5m", 5, 5);
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_EQ(Message(Everything()), before);
}

TEST_F(WirelessTopCollection, HasTheNameOfItsTopic) {
  EXPECT_EQ(monitor.GetMonitorName(), "wireless_top_monitor");
}

}  // namespace
