#include <gmock/gmock.h>

#include "monitor/wirelesstop/wireless_top_filter.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/log_capture.h"

namespace {

using test::Client;
using test::Everything;
using test::Kib;
using test::kLobby;
using test::kYard;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WirelessTopMessage : public test::WirelessTopTest {
 protected:
  /// Five access points, each with a network of its own; their totals are 10, 30, 50, 40 and 20 KiB, and they have as
  /// many clients as tens of KiB.
  void FiveAccessPoints() {
    const std::vector<std::uint64_t> tens{1, 3, 5, 4, 2};
    for (std::size_t number = 0; number < tens.size(); ++number) {
      const std::string digit = std::to_string(number + 1);
      network.AccessPoint("AA:AA:AA:AA:AA:0" + digit)
          .Named("ap" + digit)
          .Wifi("wlan0", "net" + digit, "r2", {Kib(tens[number]), Kib(9 * tens[number])})
          .Clients("wlan0", static_cast<int>(tens[number]));
    }
    Pass();
  }

  /// The host names in one list of the access points.
  std::vector<std::string> AccessPointNames(const std::string& filter, const char* list) {
    return Column(Message(R"({"access_point": )" + filter + "}"), "access_points", list, "name");
  }
  std::vector<std::string> ByTraffic(const std::string& traffic) {
    return AccessPointNames(R"({"traffic": )" + traffic + "}", "traffic");
  }
  std::vector<std::string> ByClients(const std::string& clients) {
    return AccessPointNames(R"({"clients": )" + clients + "}", "client");
  }
};

TEST_F(WirelessTopMessage, HasEmptyListsForAnEmptyFilter) {
  FiveAccessPoints();
  EXPECT_EQ(Message("{}"),
            R"({ "name": "wireless_top_monitor", "data": { "sid": [ "a" ], )"
            R"("access_points": { "traffic": [ ], "client": [ ] }, )"
            R"("wireless_networks": { "traffic": [ ], "client": [ ] }, "wireless_clients": { "traffic": [ ] } } })");
}

TEST_F(WirelessTopMessage, HasItsMembersInThisOrder) {
  network.AccessPoint(kLobby)
      .Named("lobby")
      .Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(2)})
      .Client("wlan0", Client("00:00:00:00:00:01", {Kib(3), Kib(4)}, "phone"));
  Pass();
  const auto filter = std::dynamic_pointer_cast<WirelessTopFilter>(Parsed(Everything()));
  EXPECT_EQ(monitor.GenerateJsonMsg("topic", filter.get(), {"b", "a"}),
            R"({ "name": "topic", "data": { "sid": [ "b", "a" ], )"
            R"("access_points": { "traffic": [ { "id": "AA:AA:AA:AA:AA:01", "name": "lobby", "in": 1, "out": 2, )"
            R"("total": 3 } ], "client": [ { "id": "AA:AA:AA:AA:AA:01", "name": "lobby", "clients": 1 } ] }, )"
            R"("wireless_networks": { "traffic": [ { "name": "Guest", "in": 1, "out": 2, "total": 3 } ], )"
            R"("client": [ { "name": "Guest", "clients": 1 } ] }, )"
            R"("wireless_clients": { "traffic": [ { "id": "00:00:00:00:00:01", "name": "phone", "in": 3, "out": 4, )"
            R"("total": 7 } ] } } })");
}

TEST_F(WirelessTopMessage, HasTheThreeLargestTotalsLargestFirstForDesc) {
  FiveAccessPoints();
  EXPECT_THAT(ByTraffic(R"({"count": 3, "orderby": "total", "flag": "desc"})"), ElementsAre("ap3", "ap4", "ap2"));
}

TEST_F(WirelessTopMessage, HasTheSameThreeSmallestFirstForAnyOtherFlag) {
  FiveAccessPoints();
  for (const char* flag : {R"(, "flag": "asc")", R"(, "flag": "")", "", R"(, "flag": "DESC")", R"(, "flag": "desc ")",
                           R"(, "flag": null)"}) {
    EXPECT_THAT(ByTraffic(R"({"count": 3, "orderby": "total")" + std::string(flag) + "}"),
                ElementsAre("ap2", "ap4", "ap3"))
        << flag;
  }
}

TEST_F(WirelessTopMessage, HasNoMoreEntriesThanTheRanking) {
  FiveAccessPoints();
  network.AccessPoint("AA:AA:AA:AA:AA:05").Online(false);
  Pass();
  EXPECT_THAT(ByTraffic(R"({"count": 10, "orderby": "in", "flag": "desc"})"), ElementsAre("ap3", "ap4", "ap2", "ap1"));
  EXPECT_THAT(ByTraffic(R"({"count": 10, "orderby": "in"})"), ElementsAre("ap1", "ap2", "ap4", "ap3"));
  EXPECT_THAT(ByClients(R"({"count": 10, "flag": "desc"})"), ElementsAre("ap3", "ap4", "ap2", "ap1"));
  EXPECT_THAT(ByClients(R"({"count": 10})"), ElementsAre("ap1", "ap2", "ap4", "ap3"));
}

TEST_F(WirelessTopMessage, HasNoTrafficForACountOfNoneOrLess) {
  FiveAccessPoints();
  for (const char* count : {"0", "-1", "-2147483648"}) {
    EXPECT_THAT(ByTraffic(R"({"orderby": "in", "flag": "desc", "count": )" + std::string(count) + "}"), IsEmpty());
    EXPECT_THAT(ByTraffic(R"({"orderby": "in", "count": )" + std::string(count) + "}"), IsEmpty());
  }
}

TEST_F(WirelessTopMessage, ListsEveryDeviceFewestClientsFirstForANegativeCountWithoutAFlag) {
  FiveAccessPoints();
  const std::vector<std::string> fewest_first{"ap1", "ap5", "ap2", "ap4", "ap3"};
  EXPECT_EQ(ByClients(R"({"count": -1})"), fewest_first);
  EXPECT_EQ(ByClients(R"({"count": -2147483648, "flag": "asc"})"), fewest_first);
  const std::string message = Message(R"({"wireless_networks": {"clients": {"count": -1}}})");
  EXPECT_THAT(Column(message, "wireless_networks", "client", "name"),
              ElementsAre("net1", "net5", "net2", "net4", "net3"));
}

TEST_F(WirelessTopMessage, ListsNoClientCountsForANegativeCountWithDesc) {
  FiveAccessPoints();
  EXPECT_THAT(ByClients(R"({"count": -1, "flag": "desc"})"), IsEmpty());
  const std::string message = Message(R"({"wireless_networks": {"clients": {"count": -1, "flag": "desc"}}})");
  EXPECT_THAT(Column(message, "wireless_networks", "client", "name"), IsEmpty());
}

TEST_F(WirelessTopMessage, ListsNoClientCountsForACountOfNone) {
  FiveAccessPoints();
  EXPECT_THAT(ByClients(R"({"count": 0})"), IsEmpty());
  EXPECT_THAT(ByClients(R"({"count": 0, "flag": "desc"})"), IsEmpty());
}

TEST_F(WirelessTopMessage, HasTheMostClientsInEitherOrder) {
  FiveAccessPoints();
  EXPECT_THAT(ByClients(R"({"count": 2, "flag": "desc"})"), ElementsAre("ap3", "ap4"));
  EXPECT_THAT(ByClients(R"({"count": 2})"), ElementsAre("ap4", "ap3"));
}

TEST_F(WirelessTopMessage, HasNoTrafficForAnUnknownRankingAndKnowsTheOthersAfterwards) {
  FiveAccessPoints();
  const std::string before = Message(Everything());
  for (const char* orderby : {R"("orderby": "speed", )", R"("orderby": "", )", "", R"("orderby": "IN", )"}) {
    EXPECT_THAT(ByTraffic("{" + std::string(orderby) + R"("count": 3, "flag": "desc"})"), IsEmpty()) << orderby;
  }
  EXPECT_EQ(Message(Everything()), before);
}

TEST_F(WirelessTopMessage, CutsEachViewByItsOwnFilter) {
  FiveAccessPoints();
  const std::string message =
      Message(R"({"access_point": {"traffic": {"count": 1, "orderby": "in", "flag": "desc"}, "clients": {"count": 2}},
                  "wireless_networks": {"traffic": {"count": 3, "orderby": "out"}, "clients": {"count": 4}},
                  "wireless_clients": {"traffic": {"count": 2, "orderby": "total", "flag": "desc"}}})");
  EXPECT_THAT(Column(message, "access_points", "traffic", "name"), ElementsAre("ap3"));
  EXPECT_THAT(Column(message, "access_points", "client", "name"), ElementsAre("ap4", "ap3"));
  EXPECT_THAT(Column(message, "wireless_networks", "traffic", "name"), ElementsAre("net2", "net4", "net3"));
  EXPECT_THAT(Column(message, "wireless_networks", "client", "name"), ElementsAre("net5", "net2", "net4", "net3"));
  EXPECT_THAT(Column(message, "wireless_clients", "traffic", "id"), ElementsAre("wlan0-client-1", "wlan0-client-2"));
}

TEST_F(WirelessTopMessage, NamesADeviceOfWhichNothingIsKnownWithAnEmptyText) {
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(2)}).WithoutBasicInfo();
  Pass();
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"","in":1,"out":2,"total":3})"));
}

TEST_F(WirelessTopMessage, NamesDevicesAsTheyAreCalledWhenTheMessageIsBuiltAlsoOfflineOnes) {
  network.AccessPoint(kLobby).Named("old").Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(2)});
  Pass();
  network.AccessPoint(kLobby).Named("new").Online(false);
  EXPECT_THAT(AccessPoints(), ElementsAre(R"({"id":"AA:AA:AA:AA:AA:01","name":"new","in":1,"out":2,"total":3})"));
}

TEST_F(WirelessTopMessage, NamesAClientWithoutANameAsTheManagedDeviceThatItIs) {
  network.AccessPoint(kLobby)
      .Wifi("wlan0", "Guest", "r2", {})
      .Client("wlan0", Client("aa-aa-aa-aa-aa-02", {Kib(2), 0}))
      .Client("wlan0", Client("aa-aa-aa-aa-aa-03", {Kib(1), 0}))
      .Client("wlan0", Client("aa-aa-aa-aa-aa-04", {Kib(3), 0}, "phone"));
  network.Switch(kYard).Named("bridge").Online(false);
  network.Switch("AA:AA:AA:AA:AA:04").Named("not the phone's");
  Pass();
  EXPECT_THAT(Column(Message(Everything()), "wireless_clients", "traffic", "name"), ElementsAre("phone", "bridge", ""));
}

TEST_F(WirelessTopMessage, ShowsTheKibOfTheGreatestCounter) {
  constexpr std::uint64_t kGreatest = ~std::uint64_t{0};
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {kGreatest, kGreatest});
  Pass();
  EXPECT_THAT(Networks(), ElementsAre(R"({"name":"Guest","in":18014398509481983,"out":18014398509481983,)"
                                      R"("total":36028797018963966})"));
}

TEST_F(WirelessTopMessage, KeepsAnSsidWhole) {
  network.AccessPoint(kLobby).Wifi("wlan0", std::string("a\0\"b\xff", 5), "r2", {});
  Pass();
  EXPECT_THAT(Message(Everything()), ::testing::HasSubstr("\"a\\u0000\\\"b\xEF\xBF\xBD\""));
}

TEST_F(WirelessTopMessage, IsAnEmptyObjectWithoutAFilter) {
  EXPECT_EQ(monitor.GenerateJsonMsg("wireless_top_monitor", nullptr, {"a"}), "{}");
}

TEST_F(WirelessTopMessage, IsBuiltWithoutALogLine) {
  FiveAccessPoints();
  const test::LogCapture log;
  Message(Everything());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
