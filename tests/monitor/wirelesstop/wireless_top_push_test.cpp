#include <gmock/gmock.h>

#include "monitor/wirelesstop/wireless_top_filter.h"
#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "tests/monitor/wirelesstop/wireless_top_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/message_capture.h"

namespace {

using test::Connection;
using test::Everything;
using test::Kib;
using test::kLobby;
using test::SentMessage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr const char* kTopClient = R"({"wireless_clients": {"traffic": {"count": 1, "orderby": "in"}}})";

class WirelessTopPush : public test::WirelessTopTest {
 protected:
  WirelessTopPush() {
    network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(1), Kib(2)}).Clients("wlan0", 2);
    Pass();
  }

  SentMessage For(std::uintptr_t connection, const std::string& filter, const std::vector<std::string>& sids) {
    const auto wanted = std::dynamic_pointer_cast<WirelessTopFilter>(Parsed(filter));
    return {Connection(connection), monitor.GenerateJsonMsg("wireless_top_monitor", wanted.get(), sids)};
  }

  test::MessageCapture messages;
};

TEST_F(WirelessTopPush, SendsOneMessageForTwoSidsOfOneConnectionWithEqualFilters) {
  monitor.PushDataBySID({{"b", {{Connection(1), Parsed(kTopClient)}}}, {"a", {{Connection(1), Parsed(kTopClient)}}}});
  EXPECT_THAT(messages.Take(), ElementsAre(For(1, kTopClient, {"a", "b"})));
}

TEST_F(WirelessTopPush, SendsAMessageToEachOfTwoConnectionsWithEqualFilters) {
  monitor.PushDataBySID({{"a", {{Connection(1), Parsed(kTopClient)}}}, {"b", {{Connection(2), Parsed(kTopClient)}}}});
  EXPECT_THAT(messages.Take(), ElementsAre(For(1, kTopClient, {"a"}), For(2, kTopClient, {"b"})));
}

TEST_F(WirelessTopPush, KeepsFiltersApartThatDifferInOneMember) {
  const std::vector<std::string> filters{"{}",
                                         R"({"access_point": {"traffic": {"count": 1}}})",
                                         R"({"access_point": {"traffic": {"orderby": "in"}}})",
                                         R"({"access_point": {"traffic": {"flag": "desc"}}})",
                                         R"({"access_point": {"clients": {"count": 1}}})",
                                         R"({"access_point": {"clients": {"flag": "desc"}}})",
                                         R"({"wireless_networks": {"traffic": {"count": 1}}})",
                                         R"({"wireless_networks": {"clients": {"count": 1}}})",
                                         R"({"wireless_clients": {"traffic": {"count": 1}}})",
                                         R"({"wireless_clients": {"traffic": {"orderby": "in"}}})"};
  subscribes::SubscriptionList subscriptions;
  std::vector<SentMessage> expected;
  for (std::size_t number = 0; number < filters.size(); ++number) {
    const std::string sid = std::to_string(number);
    subscriptions[sid][Connection(1)] = Parsed(filters[number]);
    subscriptions["twin of " + sid][Connection(1)] = Parsed(filters[number]);
    expected.push_back(For(1, filters[number], {sid, "twin of " + sid}));
  }
  monitor.PushDataBySID(subscriptions);
  EXPECT_THAT(messages.Take(), ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(WirelessTopPush, PassesOverASubscriptionWithoutAFilterOrWithOneOfAnotherMonitor) {
  monitor.PushDataBySID({{"a", {{Connection(1), nullptr}, {Connection(2), Parsed(kTopClient)}}},
                         {"b", {{Connection(1), test::FilterOf("1m")}}}});
  EXPECT_THAT(messages.Take(), ElementsAre(For(2, kTopClient, {"a"})));
}

TEST_F(WirelessTopPush, SendsToTheSubscribersAfterEachRebuild) {
  auto& service = probe::SubscriptionService::Instance();
  service.File("wireless_top_monitor", probe::ConnectionId{1}, {{"a", Parsed(Everything())}});
  network.AccessPoint(kLobby).Wifi("wlan0", "Guest", "r2", {Kib(7), Kib(8)});
  Pass();
  service.Clear();
  const auto sent = messages.Take();
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent.front(), For(1, Everything(), {"a"}));
  EXPECT_THAT(List(sent.front().text, "wireless_networks", "traffic"),
              ElementsAre(R"({"name":"Guest","in":7,"out":8,"total":15})"));
}

TEST_F(WirelessTopPush, SendsNothingWithoutSubscribers) {
  Pass();
  monitor.PushDataBySID({});
  EXPECT_THAT(messages.Take(), IsEmpty());
}

class WirelessTopPushWithoutSender : public test::WirelessTopTest {};

TEST_F(WirelessTopPushWithoutSender, IsDroppedWithoutALogLine) {
  const test::LogCapture log;
  monitor.PushDataBySID({{"a", {{Connection(1), Parsed(kTopClient)}}}});
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
