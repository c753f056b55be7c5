// Every message, as it really goes over the wire, follows its schema in docs/schemas/.

#include "tests/support/schema/schema.h"

#include <gmock/gmock.h>

#include "monitor/traffic/traffic_monitor.h"
#include "tests/probe/server/served.h"
#include "tests/support/network.h"

namespace {

using test::SchemaViolation;
using test::SubscribeText;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class SchemaTest : public test::Served {
 protected:
  /// Sends a request and gives the answer, both as they go over the wire.
  std::string AnswerTo(const std::string& request) {
    auto client = Connect();
    return Ask(client, request);
  }
};

TEST_F(SchemaTest, RequestsAreWhatTheServerTakes) {
  Serve();
  const std::string subscribe = SubscribeText({"a", "b"}, true);
  EXPECT_EQ(SchemaViolation("subscribe", subscribe), "");
  const std::string unsubscribe = R"({"unsubscribe":{"topic":"Topic","sid":"a"}})";
  EXPECT_EQ(SchemaViolation("unsubscribe", unsubscribe), "");
  auto client = Connect();
  const std::string subscribed = Ask(client, subscribe);
  EXPECT_EQ(SchemaViolation("subscribed", subscribed), "");
  const std::string unsubscribed = Ask(client, unsubscribe);
  EXPECT_EQ(SchemaViolation("unsubscribed", unsubscribed), "");
}

TEST_F(SchemaTest, RequestsThatTheServerRefusesAreNone) {
  Serve();
  for (const char* request : {"{}", "[]", R"({"subscribe":[]})", R"({"subscribe":{"topic":7,"request":[{"sid":"a"}]}})",
                              R"({"subscribe":{"topic":"Topic","request":[]}})", R"({"subscribe":{"topic":"Topic"}})",
                              R"({"subscribe":{"topic":"Topic","request":[{"sid":"a"}],"more":1}})"}) {
    EXPECT_THAT(SchemaViolation("subscribe", request), Not(IsEmpty())) << request;
    EXPECT_EQ(SchemaViolation("error", AnswerTo(request)), "");
  }
  EXPECT_THAT(SchemaViolation("unsubscribe", R"({"unsubscribe":{"topic":"Topic"}})"), Not(IsEmpty()));
}

TEST_F(SchemaTest, EveryErrorFollowsTheSchema) {
  settings.limits.sids_per_connection = 1;
  settings.limits.distinct_filters = 1;
  settings.limits.messages_per_second = 6;
  Serve();
  const std::string too_deep(17, '[');
  for (const std::string& request :
       {std::string(70'000, ' '), too_deep, std::string("{"), std::string("{}"), std::string(R"({"subscribe":1})"),
        std::string(R"({"subscribe":{"topic":"?","request":[]}})"),
        std::string(R"({"subscribe":{"topic":"Topic","request":[]}})"),
        std::string(R"({"unsubscribe":{"topic":"Topic","sid":"a"}})"), SubscribeText({"a", "b"}, true)})
    EXPECT_EQ(SchemaViolation("error", AnswerTo(request)), "");
  auto client = Subscribed("a");
  auto other = Connect();
  EXPECT_EQ(SchemaViolation("error", Ask(other, SubscribeText({"x"}, true))), "");
  client.SendBinary("x");
  EXPECT_EQ(SchemaViolation("error", Next(client)), "");
  std::string answer;
  for (int i = 0; i < 10 && answer.find("too_fast") == std::string::npos; ++i) answer = Ask(client, "{}");
  EXPECT_THAT(answer, HasSubstr("too_fast"));
  EXPECT_EQ(SchemaViolation("error", answer), "");
  EXPECT_THAT(SchemaViolation("error", R"({"error":{"code":"unheard_of","message":"x"}})"), Not(IsEmpty()));
}

class TrafficOverTheWireTest : public SchemaTest {
 protected:
  static constexpr const char* kSwitch = "AA:AA:AA:AA:AA:01";

  TrafficOverTheWireTest() { service.AddSubscriber("TrafficMonitor", traffic); }

  /// A pass in which each port has moved 60,000 octets in and 6,000 out.
  void Pass() {
    now += 60;
    octets += 60'000;
    network.Switch(kSwitch).Port("ge1", {octets, octets / 10}).Port("idle", {5, 5}).SampledAt(now);
    traffic->set_current_time(now);
    traffic->DataUpdate();
  }

  /// What a client gets who asks for this filter.
  std::string PushedFor(const std::string& filter) {
    auto client = Connect();
    const std::string request = R"({"subscribe":{"topic":"TrafficMonitor","request":[{"sid":"w","filter":)" + filter +
                                R"(},{"sid":"v","filter":)" + filter + "}]}}";
    EXPECT_EQ(SchemaViolation("subscribe", request), "");
    EXPECT_THAT(Ask(client, request), HasSubstr("subscribed"));
    EXPECT_TRUE(test::Eventually([&] { return !service.GetSubscribeList("TrafficMonitor").empty(); }));
    traffic->PushDataBySID(service.GetSubscribeList("TrafficMonitor"));
    const std::string text = Next(client);
    client.Close();
    EXPECT_TRUE(test::Eventually([&] { return service.GetSubscribeList("TrafficMonitor").empty(); }));
    return text;
  }

  test::Network network;
  std::shared_ptr<TrafficMonitor> traffic = std::make_shared<TrafficMonitor>();
  long now = 1'795'219'200;
  std::uint64_t octets = 0;
};

TEST_F(TrafficOverTheWireTest, TrafficMessagesFollowTheirSchema) {
  Serve();
  for (int pass = 0; pass < 3; ++pass) Pass();
  const std::string text = PushedFor(R"({"interval":"1m"})");
  EXPECT_EQ(SchemaViolation("envelope", text), "");
  EXPECT_EQ(SchemaViolation("traffic_monitor", text), "");
  EXPECT_THAT(text, HasSubstr(R"("ge1")"));
  EXPECT_THAT(text, HasSubstr(R"("input": 1000, "output": 100)"));
  EXPECT_THAT(text, Not(HasSubstr("idle")));
}

TEST_F(TrafficOverTheWireTest, MessagesForOneDeviceAndForAViewThatDoesNotExistFollowItToo) {
  Serve();
  network.Switch(kSwitch).Credential(R"({"state":"failed","ifIndex":7,"detail":{"a":1}})");
  for (int pass = 0; pass < 3; ++pass) Pass();
  const std::string of_device = PushedFor(R"({"interval":"1m","mac":")" + std::string(kSwitch) + R"("})");
  EXPECT_THAT(of_device, HasSubstr("failed"));
  EXPECT_EQ(SchemaViolation("traffic_monitor", of_device), "");
  const std::string of_nothing = PushedFor(R"({"interval":"3m"})");
  EXPECT_THAT(of_nothing, Not(HasSubstr("traffic_data")));
  EXPECT_EQ(SchemaViolation("traffic_monitor", of_nothing), "");
  EXPECT_THAT(PushedFor("{}"), HasSubstr(R"("10m")"));
}

TEST(TrafficSchema, RefusesOtherShapes) {
  const auto with = [](const std::string& view) { return R"({"name":"TrafficMonitor","data":)" + view + "}"; };
  EXPECT_EQ(SchemaViolation("traffic_monitor", with(R"({"1m":{"sid":["a"]}})")), "");
  for (
      const char* wrong : {
          R"({})",
          R"({"1m":{"sid":["a"]},"5m":{"sid":["a"]}})",
          R"({"1m":{}})",
          R"({"1m":{"sid":[]}})",
          R"({"1m":{"sid":["a"],"traffic_data":{"M":{}}}})",
          R"({"1m":{"sid":["a"],"traffic_data":{"M":{"ge1":{"ifIndex":1,"traffic":[]}}}}})",
          R"({"1m":{"sid":["a"],"traffic_data":{"M":{"ge1":{"traffic":[{"time":1,"input":1,"output":1}]}}}}})",
          R"({"1m":{"sid":["a"],"traffic_data":{"M":{"ge1":{"ifIndex":1,"traffic":[{"time":1,"input":1.5,"output":1}]}}}}})",
          R"({"1m":{"sid":["a"],"traffic_data":{"M":{"ge1":{"ifIndex":1,"traffic":[{"time":1,"input":1}]}}}}})",
      })
    EXPECT_THAT(SchemaViolation("traffic_monitor", with(wrong)), Not(IsEmpty())) << wrong;
}

}  // namespace
