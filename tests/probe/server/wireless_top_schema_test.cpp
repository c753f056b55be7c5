// The messages of the wireless top monitor, as they really go over the wire, follow their schemas in docs/schemas/.

#include <gmock/gmock.h>

#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "tests/probe/server/served.h"
#include "tests/support/network.h"
#include "tests/support/schema/schema.h"

namespace {

using test::SchemaViolation;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kTopic = "wireless_top_monitor";

/// A request for one subscription with this filter.
std::string Request(const std::string& filter) {
  return R"({"subscribe":{"topic":"wireless_top_monitor","request":[{"sid":"w","filter":)" + filter + "}]}}";
}

class WirelessTopOverTheWireTest : public test::Served {
 protected:
  WirelessTopOverTheWireTest() {
    service.AddSubscriber(kTopic, top);
    network.AccessPoint("AA:AA:AA:AA:AA:01")
        .Named("lobby")
        .Wifi("wlan0", "Guest", "r2", {4096, 1024})
        .Clients("wlan0", 2);
    network.AccessPoint("AA:AA:AA:AA:AA:02").Wifi("wlan0", "Lab\xff", "r2", {2048, 1024});
    top->DataUpdate();
  }

  /// What a client gets who sends this request.
  std::string PushedFor(const std::string& request) {
    auto client = Connect();
    EXPECT_THAT(Ask(client, request), HasSubstr("subscribed"));
    EXPECT_TRUE(test::Eventually([&] { return !service.GetSubscribeList(kTopic).empty(); }));
    top->PushDataBySID(service.GetSubscribeList(kTopic));
    const std::string text = Next(client);
    client.Close();
    EXPECT_TRUE(test::Eventually([&] { return service.GetSubscribeList(kTopic).empty(); }));
    return text;
  }

  test::Network network;
  std::shared_ptr<WirelessTopMonitor> top = std::make_shared<WirelessTopMonitor>();
};

TEST_F(WirelessTopOverTheWireTest, RequestAndMessageFollowTheirSchemas) {
  Serve();
  const std::string request =
      Request(R"({"access_point":{"traffic":{"count":5,"orderby":"total","flag":"desc"},"clients":{"count":-1}},)"
              R"("wireless_networks":{"traffic":{"count":5,"orderby":"in"},"clients":{"count":5,"flag":"desc"}},)"
              R"("wireless_clients":{"traffic":{"count":5,"orderby":"out","flag":"asc"}}})");
  EXPECT_EQ(SchemaViolation("wireless_top_subscribe", request), "");
  EXPECT_EQ(SchemaViolation("subscribe", request), "");
  const std::string text = PushedFor(request);
  EXPECT_EQ(SchemaViolation("envelope", text), "");
  EXPECT_EQ(SchemaViolation("wireless_top_monitor", text), "");
  EXPECT_THAT(text, HasSubstr(R"("name": "lobby", "in": 4, "out": 1, "total": 5)"));
  EXPECT_THAT(text, HasSubstr(R"("name": "Guest", "clients": 2)"));
  EXPECT_THAT(text, HasSubstr(R"("id": "wlan0-client-2")"));
}

TEST_F(WirelessTopOverTheWireTest, AMessageForAnEmptyFilterFollowsItToo) {
  Serve();
  const std::string text = PushedFor(Request("{}"));
  EXPECT_EQ(SchemaViolation("wireless_top_monitor", text), "");
  EXPECT_THAT(text, HasSubstr(R"("access_points": { "traffic": [ ], "client": [ ] })"));
}

TEST(WirelessTopSchema, RefusesOtherRequests) {
  for (const char* filter :
       {"3", R"({"access_point":3})", R"({"access_point":{"traffic":[]}})",
        R"({"access_point":{"clients":{"count":"3"}}})", R"({"wireless_networks":{"traffic":{"count":1.5}}})",
        R"({"wireless_clients":{"traffic":{"orderby":1}}})", R"({"wireless_clients":{"traffic":{"flag":null}}})"}) {
    EXPECT_THAT(SchemaViolation("wireless_top_subscribe", Request(filter)), Not(IsEmpty())) << filter;
  }
  EXPECT_THAT(
      SchemaViolation("wireless_top_subscribe", R"({"subscribe":{"topic":"TrafficMonitor","request":[{"sid":"w"}]}})"),
      Not(IsEmpty()));
}

/// A message with these lists of traffic and clients in place of the access points'.
std::string MessageWith(const std::string& traffic, const std::string& client) {
  return R"({"name":"wireless_top_monitor","data":{"sid":["w"],"access_points":{"traffic":[)" + traffic +
         R"(],"client":[)" + client +
         R"(]},"wireless_networks":{"traffic":[],"client":[]},"wireless_clients":{"traffic":[]}}})";
}

TEST(WirelessTopSchema, RefusesOtherMessages) {
  const std::string traffic = R"({"id":"M","name":"","in":1,"out":1,"total":2})";
  const std::string client = R"({"id":"M","name":"","clients":-1})";
  EXPECT_EQ(SchemaViolation("wireless_top_monitor", MessageWith(traffic, client)), "");
  for (const char* wrong :
       {R"({"name":"","in":1,"out":1,"total":2})", R"({"id":"M","name":"","in":1,"out":1})",
        R"({"id":"M","name":"","in":1.5,"out":1,"total":2})", R"({"id":"M","name":null,"in":1,"out":1,"total":2})"}) {
    EXPECT_THAT(SchemaViolation("wireless_top_monitor", MessageWith(wrong, client)), Not(IsEmpty())) << wrong;
  }
  for (const char* wrong : {R"({"id":"M","clients":1})", R"({"id":"M","name":"","clients":"1"})",
                            R"({"id":"M","name":"","clients":1,"more":1})"}) {
    EXPECT_THAT(SchemaViolation("wireless_top_monitor", MessageWith(traffic, wrong)), Not(IsEmpty())) << wrong;
  }
  EXPECT_THAT(SchemaViolation("wireless_top_monitor", R"({"name":"wireless_top_monitor","data":{"sid":["w"]}})"),
              Not(IsEmpty()));
  EXPECT_THAT(SchemaViolation("wireless_top_monitor", R"({"name":"TrafficMonitor","data":{}})"), Not(IsEmpty()));
}

}  // namespace
