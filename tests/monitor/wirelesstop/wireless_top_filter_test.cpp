#include "monitor/wirelesstop/wireless_top_filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "monitor/engine/json_tree.h"
#include "monitor/engine/push.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"

namespace {

using monitoring::JsonTree;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using namespace vexora_probe::monitor;  // NOLINT(google-build-using-namespace): the parsers

JsonTree Json(const char* text) {
  return JsonTree(json_tokener_parse(text));
}

TrafficFilter ByTraffic(std::int32_t count, const std::string& orderby, const std::string& flag) {
  TrafficFilter filter;
  filter.orderby = orderby;
  filter.count = count;
  filter.flag = flag;
  return filter;
}

ClientsFilter ByClients(std::int32_t count, const std::string& flag) {
  ClientsFilter filter;
  filter.count = count;
  filter.flag = flag;
  return filter;
}

TrafficFilter ParsedTraffic(const char* object) {
  TrafficFilter filter = ByTraffic(7, "before", "as it was");
  WirelessTopMonitorFilterTrafficParser(Json(object).get(), filter);
  return filter;
}

std::int32_t ParsedCount(const std::string& count) {
  return ParsedTraffic((R"({"traffic": {"count": )" + count + "}}").c_str()).count;
}

TEST(WirelessTopFilterRecords, StartEmpty) {
  const WirelessTopFilter filter;
  EXPECT_EQ(filter.access_point, NetWorkFilter{});
  EXPECT_EQ(filter.wireless_clients, ByTraffic(0, "", ""));
  EXPECT_EQ(filter.wireless_networks.clients, ByClients(0, ""));
  EXPECT_EQ(filter.interval, "");
  EXPECT_EQ(filter.mac, "");
}

TEST(WirelessTopFilterRecords, EqualWhenCountFlagAndRankingDo) {
  EXPECT_TRUE(ByClients(1, "desc") == ByClients(1, "desc"));
  EXPECT_FALSE(ByClients(1, "desc") == ByClients(2, "desc"));
  EXPECT_FALSE(ByClients(1, "desc") == ByClients(1, "asc"));
  EXPECT_TRUE(ByTraffic(1, "in", "desc") == ByTraffic(1, "in", "desc"));
  EXPECT_FALSE(ByTraffic(1, "in", "desc") == ByTraffic(2, "in", "desc"));
  EXPECT_FALSE(ByTraffic(1, "in", "desc") == ByTraffic(1, "out", "desc"));
  EXPECT_FALSE(ByTraffic(1, "in", "desc") == ByTraffic(1, "in", ""));
}

TEST(WirelessTopFilterRecords, OfNetworksEqualWhenTrafficAndClientsDo) {
  const NetWorkFilter filter{.traffic = ByTraffic(1, "in", ""), .clients = ByClients(2, "")};
  EXPECT_TRUE(filter == (NetWorkFilter{.traffic = ByTraffic(1, "in", ""), .clients = ByClients(2, "")}));
  EXPECT_FALSE(filter == (NetWorkFilter{.traffic = ByTraffic(1, "out", ""), .clients = ByClients(2, "")}));
  EXPECT_FALSE(filter == (NetWorkFilter{.traffic = ByTraffic(1, "in", ""), .clients = ByClients(3, "")}));
}

/// Whether two filters of any kind are to stand in one group.
bool AskForTheSameViews(const Filter& left, const Filter& right) {
  const auto* one = dynamic_cast<const WirelessTopFilter*>(&left);
  const auto* other = dynamic_cast<const WirelessTopFilter*>(&right);
  return one != nullptr && other != nullptr && *one == *other;
}

TEST(WirelessTopFilterRecords, EqualAsAWholeWhenAllThreeViewsDo) {
  WirelessTopFilter one;
  WirelessTopFilter other;
  EXPECT_TRUE(one == other);
  for (std::int32_t* count :
       {&one.access_point.traffic.count, &one.access_point.clients.count, &one.wireless_clients.count,
        &one.wireless_networks.traffic.count, &one.wireless_networks.clients.count}) {
    *count = 1;
    EXPECT_FALSE(one == other);
    *count = 0;
  }
}

TEST(WirelessTopFilterRecords, AreEquivalentInTheirOrderWhenTheyAreEqual) {
  std::vector<std::unique_ptr<Filter>> filters;
  filters.push_back(std::make_unique<Filter>());
  filters.push_back(std::make_unique<Filter>());
  for (int field = 0; field <= 15; ++field) {
    for (int twin = 0; twin < 2; ++twin) {
      auto filter = std::make_unique<WirelessTopFilter>();
      std::int32_t* const counts[] = {&filter->access_point.traffic.count, &filter->access_point.clients.count,
                                      &filter->wireless_clients.count, &filter->wireless_networks.traffic.count,
                                      &filter->wireless_networks.clients.count};
      std::string* const texts[] = {&filter->access_point.traffic.orderby,   &filter->access_point.traffic.flag,
                                    &filter->access_point.clients.flag,      &filter->wireless_clients.orderby,
                                    &filter->wireless_clients.flag,          &filter->wireless_networks.traffic.orderby,
                                    &filter->wireless_networks.traffic.flag, &filter->wireless_networks.clients.flag};
      if (field < 5) *counts[field] = field - 2;
      if (field >= 5 && field < 13) *texts[field - 5] = "x";
      filter->interval = std::to_string(twin);  // nothing that the monitor looks at
      filters.push_back(std::move(filter));
    }
  }
  for (const auto& one : filters) {
    EXPECT_FALSE(IsWirelessTopFilterBefore(*one, *one));
    for (const auto& other : filters) {
      if (one == other) continue;
      const bool is_before = IsWirelessTopFilterBefore(*one, *other);
      const bool is_behind = IsWirelessTopFilterBefore(*other, *one);
      EXPECT_FALSE(is_before && is_behind);
      EXPECT_EQ(!is_before && !is_behind, AskForTheSameViews(*one, *other));
    }
  }
}

/// A filter of two values for each field, drawn by the bits of a number.
std::shared_ptr<Filter> FilterOfBits(unsigned bits) {
  const auto next = [&bits] { return std::exchange(bits, bits >> 1U) & 1U; };
  auto filter = std::make_shared<WirelessTopFilter>();
  for (NetWorkFilter* networks : {&filter->access_point, &filter->wireless_networks}) {
    networks->traffic = ByTraffic(static_cast<int>(next()), next() != 0 ? "in" : "out", next() != 0 ? "desc" : "");
    networks->clients = ByClients(static_cast<int>(next()), next() != 0 ? "desc" : "");
  }
  filter->wireless_clients = ByTraffic(static_cast<int>(next()), next() != 0 ? "in" : "out", next() != 0 ? "desc" : "");
  return filter;
}

TEST(WirelessTopFilterRecords, AreInAnOrderThatIsTransitive) {
  std::mt19937 random(7);
  std::vector<std::shared_ptr<Filter>> filters;
  while (filters.size() < 90) {
    filters.push_back(FilterOfBits(static_cast<unsigned>(random())));
    filters.push_back(FilterOfBits(static_cast<unsigned>(random()) & 3U));  // with equals among them
    filters.push_back(std::make_shared<Filter>());
  }
  const auto equivalent = [](const Filter& one, const Filter& other) {
    return !IsWirelessTopFilterBefore(one, other) && !IsWirelessTopFilterBefore(other, one);
  };
  for (const auto& one : filters) {
    for (const auto& other : filters) {
      EXPECT_EQ(equivalent(*one, *other), one == other || AskForTheSameViews(*one, *other));
      for (const auto& third : filters) {
        if (IsWirelessTopFilterBefore(*one, *other) && IsWirelessTopFilterBefore(*other, *third)) {
          EXPECT_TRUE(IsWirelessTopFilterBefore(*one, *third));
        }
        if (equivalent(*one, *other) && equivalent(*other, *third)) {
          EXPECT_TRUE(equivalent(*one, *third));
        }
      }
    }
  }
}

TEST(WirelessTopFilterRecords, AreGroupedAsByComparingEachWithAll) {
  std::mt19937 random(8);
  for (int round = 0; round < 50; ++round) {
    subscribes::SubscriptionList subscriptions;
    for (int sid = 0; sid < 40; ++sid) {
      const auto connection = test::Connection(random() % 3 + 1);
      const unsigned bits = static_cast<unsigned>(random()) & (round % 2 == 0 ? 7U : 0x30F0U);
      subscriptions[std::to_string(sid)][connection] =
          random() % 9 == 0 ? std::make_shared<Filter>() : FilterOfBits(bits);
    }
    monitoring::MergedList expected;
    for (const auto& [sid, connections] : subscriptions) {
      for (const auto& [connection, filter] : connections) {
        auto group = std::find_if(expected.begin(), expected.end(), [&, &wanted = *filter](const auto& each) {
          return AskForTheSameViews(*each.first, wanted);
        });
        if (group == expected.end()) group = expected.try_emplace(filter.get()).first;
        group->second[connection].push_back(sid);
      }
    }
    monitoring::MergedList merged;
    monitoring::MergeByFilter(subscriptions, merged, &IsWirelessTopFilterBefore);
    EXPECT_EQ(merged, expected);
  }
}

TEST(WirelessTopFilterTraffic, ReadsCountOrderAndFlag) {
  EXPECT_EQ(ParsedTraffic(R"({"traffic": {"count": 3, "orderby": "total", "flag": "desc"}})"),
            ByTraffic(3, "total", "desc"));
}

TEST(WirelessTopFilterTraffic, LeavesAsItWasWhatIsMissingOrNull) {
  const TrafficFilter before = ByTraffic(7, "before", "as it was");
  for (const char* object : {"null", "{}", R"({"traffic": null})", R"({"traffic": {}})", R"({"clients": {"count": 3}})",
                             R"({"traffic": {"count": null, "orderby": null, "flag": null}})"}) {
    EXPECT_EQ(ParsedTraffic(object), before) << object;
  }
}

TEST(WirelessTopFilterTraffic, LeavesAsItWasWhatIsNoObject) {
  const TrafficFilter before = ByTraffic(7, "before", "as it was");
  for (const char* object : {"3", "\"traffic\"", "[]", R"({"traffic": 3})", R"({"traffic": ["count"]})"}) {
    EXPECT_EQ(ParsedTraffic(object), before) << object;
  }
}

TEST(WirelessTopFilterTraffic, ReadsEachMemberOfItsOwn) {
  EXPECT_EQ(ParsedTraffic(R"({"traffic": {"count": 3}})"), ByTraffic(3, "before", "as it was"));
  EXPECT_EQ(ParsedTraffic(R"({"traffic": {"orderby": "in"}})"), ByTraffic(7, "in", "as it was"));
  EXPECT_EQ(ParsedTraffic(R"({"traffic": {"flag": ""}})"), ByTraffic(7, "before", ""));
}

TEST(WirelessTopFilterTraffic, TakesTheNearestCountThat32BitsCanHold) {
  EXPECT_EQ(ParsedCount("2147483647"), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(ParsedCount("2147483648"), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(ParsedCount("18446744073709551615"), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(ParsedCount("-1"), -1);
  EXPECT_EQ(ParsedCount("-2147483649"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(ParsedCount("1e10"), std::numeric_limits<std::int32_t>::max());
}

TEST(WirelessTopFilterTraffic, TakesACountThatIsNoWholeNumberAsJsonDoes) {
  EXPECT_EQ(ParsedCount("2.9"), 2);
  EXPECT_EQ(ParsedCount("true"), 1);
  EXPECT_EQ(ParsedCount("\"12\""), 12);
  EXPECT_EQ(ParsedCount("\"a dozen\""), 0);
  EXPECT_EQ(ParsedCount("[5]"), 0);
}

TEST(WirelessTopFilterTraffic, TakesTextsThatAreNoneInTheirJsonForm) {
  EXPECT_EQ(ParsedTraffic(R"({"traffic": {"orderby": 5, "flag": true}})"), ByTraffic(7, "5", "true"));
}

TEST(WirelessTopFilterClients, ReadsCountAndFlag) {
  ClientsFilter filter;
  WirelessTopMonitorFilterClientsParser(
      Json(R"({"clients": {"count": -1, "flag": "desc", "orderby": "in"}, "traffic": {"count": 5}})").get(), filter);
  EXPECT_EQ(filter, ByClients(-1, "desc"));
}

TEST(WirelessTopFilterClients, LeavesAsItWasWhatIsMissingOrNull) {
  ClientsFilter filter = ByClients(7, "before");
  WirelessTopMonitorFilterClientsParser(nullptr, filter);
  WirelessTopMonitorFilterClientsParser(Json(R"({"clients": {"count": null}})").get(), filter);
  WirelessTopMonitorFilterClientsParser(Json(R"({"clients": null})").get(), filter);
  EXPECT_EQ(filter, ByClients(7, "before"));
}

constexpr const char* kBoth = R"({"traffic": {"count": 3, "orderby": "in", "flag": "x"}, "clients": {"count": 4}})";

TEST(WirelessTopFilterAccessPointsAndNetworks, ReadTrafficAndClientsOfOneObject) {
  NetWorkFilter access_point;
  NetWorkFilter network;
  WirelessTopMonitorFilterAccessPParser(Json(kBoth).get(), access_point);
  WirelessTopMonitorFilterNetworksParser(Json(kBoth).get(), network);
  EXPECT_EQ(access_point, (NetWorkFilter{.traffic = ByTraffic(3, "in", "x"), .clients = ByClients(4, "")}));
  EXPECT_EQ(network, access_point);
  WirelessTopMonitorFilterAccessPParser(nullptr, access_point);
  WirelessTopMonitorFilterNetworksParser(nullptr, network);
  EXPECT_EQ(network, access_point) << "null leaves it as it was";
  EXPECT_EQ(network.traffic.count, 3);
}

TEST(WirelessTopFilterWirelessClients, ReadsTrafficOnly) {
  TrafficFilter filter;
  WirelessTopMonitorFilterWirelessClientsParser(Json(kBoth).get(), filter);
  EXPECT_EQ(filter, ByTraffic(3, "in", "x"));
  WirelessTopMonitorFilterWirelessClientsParser(nullptr, filter);
  EXPECT_EQ(filter, ByTraffic(3, "in", "x"));
}

class WirelessTopFilterParser : public test::WirelessTopTest {
 protected:
  /// SID -> filter. The monitor's own type, whatever the map says.
  std::map<std::string, WirelessTopFilter> ParsedRequest(const char* request) {
    std::map<std::string, WirelessTopFilter> filters;
    for (const auto& [sid, filter] : monitor.FilterParser(Json(request).get())) {
      filters.emplace(sid, dynamic_cast<WirelessTopFilter&>(*filter));
    }
    return filters;
  }
};

TEST_F(WirelessTopFilterParser, ReadsTheThreeViewsOfEachSid) {
  WirelessTopFilter expected;
  expected.access_point = {.traffic = ByTraffic(1, "in", "desc"), .clients = ByClients(2, "asc")};
  expected.wireless_networks = {.traffic = ByTraffic(3, "out", "a"), .clients = ByClients(4, "b")};
  expected.wireless_clients = ByTraffic(5, "total", "c");
  EXPECT_THAT(ParsedRequest(R"([{"sid": "x", "filter": {
                "access_point": {"traffic": {"count": 1, "orderby": "in", "flag": "desc"},
                                 "clients": {"count": 2, "flag": "asc"}},
                "wireless_networks": {"traffic": {"count": 3, "orderby": "out", "flag": "a"},
                                      "clients": {"count": 4, "flag": "b"}},
                "wireless_clients": {"traffic": {"count": 5, "orderby": "total", "flag": "c"}}}},
              {"sid": "y", "filter": {}}])"),
              ElementsAre(Pair("x", expected), Pair("y", WirelessTopFilter{})));
}

TEST_F(WirelessTopFilterParser, KnowsTheAccessPointsByTheNameOfTheRequestOnly) {
  EXPECT_THAT(ParsedRequest(R"([{"sid": "x", "filter": {"access_points": {"traffic": {"count": 1}}}}])"),
              ElementsAre(Pair("x", WirelessTopFilter{})));
}

TEST_F(WirelessTopFilterParser, LeavesIntervalAndMacOfTheBaseEmpty) {
  const auto filters = ParsedRequest(R"([{"sid": "x", "filter": {"interval": "1m", "mac": "M"}}])");
  EXPECT_EQ(filters.at("x").interval, "");
  EXPECT_EQ(filters.at("x").mac, "");
}

TEST_F(WirelessTopFilterParser, LetsTheLastElementOfASidWin) {
  const auto filters = ParsedRequest(R"([{"sid": "x", "filter": {"wireless_clients": {"traffic": {"count": 1}}}},
                                         {"sid": "x", "filter": {"access_point": {"traffic": {"count": 2}}}}])");
  WirelessTopFilter expected;
  expected.access_point.traffic.count = 2;
  EXPECT_THAT(filters, ElementsAre(Pair("x", expected)));
}

TEST_F(WirelessTopFilterParser, FilesAnElementWithoutASidUnderTheEmptySid) {
  WirelessTopFilter expected;
  expected.wireless_clients.count = 1;
  EXPECT_THAT(ParsedRequest(R"([{"filter": {"wireless_clients": {"traffic": {"count": 1}}}}])"),
              ElementsAre(Pair("", expected)));
  EXPECT_THAT(ParsedRequest(R"([{"sid": null}])"), ElementsAre(Pair("", WirelessTopFilter{})));
}

TEST_F(WirelessTopFilterParser, FilesElementsThatAreNullOrNoObjectUnderTheEmptySid) {
  for (const char* request : {"[null]", "[3]", "[[]]", R"(["sid"])"}) {
    EXPECT_THAT(ParsedRequest(request), ElementsAre(Pair("", WirelessTopFilter{}))) << request;
  }
}

TEST_F(WirelessTopFilterParser, TakesAFilterOrViewThatIsNoObjectAsAnEmptyOne) {
  for (const char* request : {R"([{"sid": "x", "filter": 3}])", R"([{"sid": "x", "filter": null}])",
                              R"([{"sid": "x", "filter": {"access_point": 3, "wireless_clients": null,
                                   "wireless_networks": ["traffic"]}}])"}) {
    EXPECT_THAT(ParsedRequest(request), ElementsAre(Pair("x", WirelessTopFilter{}))) << request;
  }
}

TEST_F(WirelessTopFilterParser, GivesNothingForANullRequestAndLogsIt) {
  const test::LogCapture log;
  EXPECT_THAT(monitor.FilterParser(nullptr), IsEmpty());
  EXPECT_THAT(log.Lines(), ElementsAre(test::LogLine{probe::log::Level::kError, 2,
                                                     "[WirelessTopMonitor::FilterParser] Parameter is "
                                                     "NULL"}));
}

TEST_F(WirelessTopFilterParser, GivesNothingForWhatIsNoArrayWithoutALogLine) {
  const test::LogCapture log;
  EXPECT_THAT(ParsedRequest(R"({"sid": "x", "filter": {}})"), IsEmpty());
  EXPECT_THAT(ParsedRequest("\"x\""), IsEmpty());
  EXPECT_THAT(ParsedRequest("[]"), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
