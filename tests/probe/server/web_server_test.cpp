#include "probe/server/web_server.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "probe/server/server_counts.h"
#include "tests/probe/server/raw_client.h"
#include "tests/probe/server/served.h"

namespace {

using test::Envelope;
using test::Eventually;
using test::SubscribeText;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::chrono_literals;

class WebServerTest : public test::Served {};

std::string MessageOf(const std::string& error) {
  return nlohmann::json::parse(error)["error"]["message"];
}

TEST_F(WebServerTest, AnswersASubscriptionWithItsSidsAndFilesIt) {
  Serve();
  auto client = Connect();
  EXPECT_EQ(Ask(client, SubscribeText({"b", "a"})), R"({"subscribed":{"sids":["a","b"],"topic":"Topic"}})");
  EXPECT_TRUE(Eventually([&] { return Handles("a").size() == 1 && Handles("b").size() == 1; }));
  EXPECT_THAT(subscriber->Requests(),
              ElementsAre(R"([{"filter":{"interval":"1m"},"sid":"b"},{"filter":{"interval":"1m"},"sid":"a"}])"));
}

TEST_F(WebServerTest, PushesAMessageToItsConnectionOnly) {
  Serve();
  auto first = Subscribed("a");
  auto second = Subscribed("b");
  ASSERT_TRUE(Eventually([&] { return Handles("a").size() == 1 && Handles("b").size() == 1; }));
  Push(Handles("a").front(), Envelope("a", 1));
  Push(Handles("b").front(), Envelope("b", 2));
  EXPECT_EQ(Next(first), Envelope("a", 1));
  EXPECT_EQ(Next(second), Envelope("b", 2));
}

TEST_F(WebServerTest, CountsConnectionsSubscriptionsAndFilters) {
  Serve();
  const probe::ServerCounts& counts = server->counts();
  {
    auto first = Connect();
    EXPECT_THAT(Ask(first, SubscribeText({"a", "b"}, true)), HasSubstr("subscribed"));
    auto second = Subscribed("a");
    test::RawClient waiting(server->port());
    EXPECT_TRUE(Eventually([&] { return counts.websockets == 2U && counts.http_connections == 1U; }));
    EXPECT_TRUE(Eventually([&] { return counts.subscriptions == 3U; }));
    EXPECT_EQ(counts.filters, 3U);
    EXPECT_THAT(Ask(first, R"({"unsubscribe":{"topic":"Topic","sid":"a"}})"), HasSubstr("unsubscribed"));
    EXPECT_TRUE(Eventually([&] { return counts.subscriptions == 2U; }));
  }
  EXPECT_TRUE(Eventually([&] { return counts.websockets + counts.http_connections == 0U; }));
  EXPECT_EQ(counts.subscriptions + counts.filters, 0U);
}

TEST_F(WebServerTest, ServesBothLoopbackAddressesUnderOnePort) {
  Serve();
  auto options = Options();
  options.host = "::1";
  probe::WebsocketClient client(options);
  EXPECT_THAT(Ask(client, SubscribeText({"a"})), HasSubstr("subscribed"));
}

TEST_F(WebServerTest, EndsASubscriptionOnRequest) {
  Serve();
  auto client = Subscribed("a");
  EXPECT_EQ(Ask(client, R"({"unsubscribe":{"topic":"Topic","sid":"a"}})"),
            R"({"unsubscribed":{"sid":"a","topic":"Topic"}})");
  EXPECT_THAT(Handles("a"), IsEmpty());
  EXPECT_EQ(ErrorFor(client, R"({"unsubscribe":{"topic":"Topic","sid":"a"}})"), "unknown_subscription");
}

TEST_F(WebServerTest, RefusesAnUnknownTopic) {
  Serve();
  auto client = Connect();
  EXPECT_EQ(ErrorFor(client, R"({"subscribe":{"topic":"Weather","request":[{"sid":"a"}]}})"), "unknown_topic");
  ExpectServed(client);
}

TEST_F(WebServerTest, RefusesARequestThatNamesNoSubscription) {
  Serve();
  auto client = Connect();
  EXPECT_EQ(ErrorFor(client, R"({"subscribe":{"topic":"Topic","request":[]}})"), "empty_request");
  EXPECT_EQ(ErrorFor(client, R"({"subscribe":{"topic":"Topic"}})"), "empty_request");
  EXPECT_THAT(subscriber->Requests(), ElementsAre("[]", "(null)"));
}

TEST_F(WebServerTest, JoinsAMessageSentInFragments) {
  Serve();
  auto client = Connect();
  const std::string text = SubscribeText({"a"});
  client.SendFragments({text.substr(0, 1), text.substr(1, 20), "", text.substr(21)});
  EXPECT_THAT(Next(client), HasSubstr("subscribed"));
}

TEST_F(WebServerTest, DeliversAMessageOfManyMebibytesWhole) {
  Serve();
  auto client = Subscribed();
  const std::string large = Envelope("a", 1, 32 * 1024 * 1024);
  Push(AwaitHandle(), large);
  EXPECT_TRUE(Next(client) == large);
}

// --- hostile input: refused in words, and harmful to nobody
// -----------------------------------------------------------

class HostileInput : public test::Served, public ::testing::WithParamInterface<std::pair<std::string, std::string>> {};

TEST_P(HostileInput, IsRefusedInWordsAndHarmsNobody) {
  Serve();
  auto bystander = Subscribed("bystander");
  auto client = Connect();
  EXPECT_EQ(ErrorFor(client, GetParam().second), GetParam().first);
  ExpectServed(client);
  ExpectServed(bystander);
}

INSTANTIATE_TEST_SUITE_P(
    Malformed, HostileInput,
    ::testing::Values(std::pair{"malformed", ""}, std::pair{"malformed", "{"}, std::pair{"malformed", "subscribe"},
                      std::pair{"malformed", R"({"subscribe":1e999})"}, std::pair{"unknown_message", "{}"},
                      std::pair{"unknown_message", "[]"}, std::pair{"unknown_message", "null"},
                      std::pair{"unknown_message", R"({"hello":{}})"},
                      std::pair{"unknown_message", R"({"subscribe":{},"unsubscribe":{}})"},
                      std::pair{"invalid_message", R"({"subscribe":[]})"},
                      std::pair{"invalid_message", R"({"subscribe":{"topic":7,"request":[]}})"},
                      std::pair{"invalid_message", R"({"subscribe":{"topic":"Topic","request":{}}})"},
                      std::pair{"invalid_message", R"({"subscribe":{"topic":"Topic","request":[],"more":1}})"},
                      std::pair{"invalid_message", R"({"unsubscribe":{"topic":"Topic"}})"}));

INSTANTIATE_TEST_SUITE_P(Deep, HostileInput,
                         ::testing::Values(std::pair{"too_deep", std::string(17, '[') + std::string(17, ']')},
                                           std::pair{"too_deep", std::string(60'000, '[')}));

class BrokenText : public test::Served, public ::testing::WithParamInterface<std::string> {};

TEST_P(BrokenText, ClosesTheConnectionWith1007AndHarmsNobody) {
  Serve();
  auto bystander = Subscribed("bystander");
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.SendFrame(1, GetParam());
  EXPECT_EQ(client.ReadMessage(), std::nullopt);
  EXPECT_EQ(client.close_code(), 1007);
  ExpectServed(bystander);
}

TEST_P(BrokenText, ClosesTheConnectionWith1007AlsoWhenAnEmptyFrameEndsTheMessage) {
  Serve();
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.SendFrame(1, GetParam(), false);
  client.SendFrame(0, "", true);
  EXPECT_EQ(client.ReadMessage(), std::nullopt);
  EXPECT_EQ(client.close_code(), 1007);
}

INSTANTIATE_TEST_SUITE_P(NotUtf8, BrokenText,
                         ::testing::Values("\xff", "{\"subscribe\":\"\xc0\xaf\"}", "\"\xed\xa0\x80\"",
                                           "{\"a\":\"\xe2\x82"));

TEST_F(WebServerTest, LetsAMessageOfTheAllowedDepthPass) {
  Serve();
  auto client = Connect();
  const std::string deep = std::string(13, '[') + std::string(13, ']');
  EXPECT_THAT(Ask(client, R"({"subscribe":{"topic":"Topic","request":)" + deep + "}}"), HasSubstr("subscribed"));
}

TEST_F(WebServerTest, RefusesABinaryMessage) {
  Serve();
  auto bystander = Subscribed("bystander");
  auto client = Connect();
  client.SendBinary(SubscribeText({"a"}));
  EXPECT_THAT(Next(client), HasSubstr(R"("code":"not_text")"));
  ExpectServed(client);
  ExpectServed(bystander);
}

TEST_F(WebServerTest, RefusesAnOversizedMessageByItsLimitAndSwallowsTheRestOfIt) {
  Serve();
  auto bystander = Subscribed("bystander");
  auto client = Connect();
  const std::string answer = Ask(client, std::string(10 * 64 * 1024, ' '));
  EXPECT_THAT(answer, HasSubstr("too_large"));
  EXPECT_THAT(MessageOf(answer), HasSubstr("limits.message_bytes = 65536"));
  ExpectServed(client);
  ExpectServed(bystander);
}

TEST_F(WebServerTest, TakesAMessageOfExactlyTheAllowedSize) {
  Serve();
  auto client = Connect();
  const std::string request = SubscribeText({"a"});
  EXPECT_THAT(Ask(client, request + std::string(64 * 1024 - request.size(), ' ')), HasSubstr("subscribed"));
  EXPECT_EQ(ErrorFor(client, request + std::string(64 * 1024 - request.size() + 1, ' ')), "too_large");
}

TEST_F(WebServerTest, RefusesAnEndlessMessageBeforeItEnds) {
  Serve();
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.SendUnfinishedFrame(1ULL << 40, std::string(70'000, ' '));
  EXPECT_THAT(client.ReadMessage().value_or(""), HasSubstr("too_large"));
}

TEST_F(WebServerTest, ClosesAConnectionThatBreaksTheFrameRulesAndNoOther) {
  Serve();
  auto bystander = Subscribed("bystander");
  test::RawClient client(server->port());
  ASSERT_THAT(client.Upgrade(), HasSubstr("101"));
  client.SendFrame(3, "an opcode that nobody knows");
  EXPECT_EQ(client.ReadMessage(), std::nullopt);
  EXPECT_EQ(client.close_code(), 1002);
  ExpectServed(bystander);
}

TEST_F(WebServerTest, RefusesMessagesThatComeTooFastByTheirLimitAndRecovers) {
  settings.limits.messages_per_second = 5;
  Serve();
  auto bystander = Subscribed("bystander");
  auto client = Connect();
  for (int i = 0; i < 60; ++i) client.SendText("{}");
  for (int i = 0; i < 5; ++i) EXPECT_THAT(Next(client), HasSubstr("unknown_message"));
  const std::string answer = Next(client);
  EXPECT_THAT(answer, HasSubstr("too_fast"));
  EXPECT_THAT(MessageOf(answer), HasSubstr("limits.messages_per_second = 5"));
  ExpectServed(bystander);
  EXPECT_TRUE(Eventually([&] {
    client.SendText("{}");
    return client.Receive(300ms).value_or("").find("unknown_message") != std::string::npos;
  }));
}

TEST_F(WebServerTest, RefusesMoreSidsThanOneConnectionMayHave) {
  settings.limits.sids_per_connection = 3;
  Serve();
  auto bystander = Subscribed("bystander");
  auto client = Connect();
  EXPECT_THAT(Ask(client, SubscribeText({"a", "b", "c"})), HasSubstr("subscribed"));
  const std::string answer = Ask(client, SubscribeText({"d"}));
  EXPECT_THAT(answer, HasSubstr("too_many_sids"));
  EXPECT_THAT(MessageOf(answer), HasSubstr("limits.sids_per_connection = 3"));
  EXPECT_THAT(Handles("d"), IsEmpty());
  EXPECT_THAT(Ask(client, SubscribeText({"c"})), HasSubstr("subscribed")) << "a replaced SID counts once";
  Ask(client, R"({"unsubscribe":{"topic":"Topic","sid":"a"}})");
  EXPECT_THAT(Ask(client, SubscribeText({"d"})), HasSubstr("subscribed"));
  ExpectServed(bystander);
}

TEST_F(WebServerTest, RefusesMoreDistinctFiltersThanAllClientsMayHaveUntilSomebodyLeaves) {
  settings.limits.distinct_filters = 2;
  Serve();
  auto client = Connect();
  {
    auto other = Connect();
    EXPECT_THAT(Ask(other, SubscribeText({"a", "b"}, true)), HasSubstr("subscribed"));
    const std::string answer = Ask(client, SubscribeText({"c"}, true));
    EXPECT_THAT(answer, HasSubstr("too_many_filters"));
    EXPECT_THAT(MessageOf(answer), HasSubstr("limits.distinct_filters = 2"));
    EXPECT_THAT(Ask(client, SubscribeText({"a"}, true)), HasSubstr("subscribed")) << "an equal filter costs nothing";
    other.Close();
  }
  ASSERT_TRUE(Eventually([&] { return Handles("b").empty(); }));
  EXPECT_THAT(Ask(client, SubscribeText({"c"}, true)), HasSubstr("subscribed"));
}

// --- connections
// ------------------------------------------------------------------------------------------------------

TEST_F(WebServerTest, NeverGivesAHandleTwice) {
  Serve();
  std::set<lws*> handles;
  for (int i = 0; i < 20; ++i) {
    auto client = Subscribed();
    handles.insert(AwaitHandle());
    client.Close();
    ASSERT_TRUE(Eventually([&] { return Handles().empty(); }));
  }
  EXPECT_THAT(handles, SizeIs(20));
}

TEST_F(WebServerTest, DropsAMessageForAConnectionThatIsGone) {
  Serve();
  auto gone = Subscribed();
  lws* const handle = AwaitHandle();
  gone.Close();
  ASSERT_TRUE(Eventually([&] { return Handles().empty(); }));
  auto next = Subscribed();
  Push(handle, Envelope("a", 1));
  ExpectServed(next);  // the answer comes first: the message of the one before did not reach it
}

TEST_F(WebServerTest, ForgetsTheSubscriptionsOfAClientThatResetsTheConnection) {
  Serve();
  test::RawClient client(server->port());
  client.Upgrade();
  client.SendFrame(1, SubscribeText({"a"}));
  AwaitHandle();
  client.Reset();
  EXPECT_TRUE(Eventually([&] { return Handles().empty(); }));
}

TEST_F(WebServerTest, NoticesAClientThatVanishedAndForgetsItsSubscriptions) {
  settings.limits.ping_after = 1s;
  settings.limits.hang_up_after = 2s;
  Serve();
  auto alive = Subscribed("alive");
  test::RawClient vanished(server->port());
  vanished.Upgrade();
  vanished.SendFrame(1, SubscribeText({"vanished"}));
  ASSERT_THAT(vanished.ReadMessage().value_or(""), HasSubstr("subscribed"));
  const auto ping = vanished.ReadFrame();
  ASSERT_TRUE(ping.has_value());
  EXPECT_EQ(ping->opcode, 9);
  EXPECT_TRUE(Eventually([&] {
    alive.Receive(10ms);  // it answers its pings
    return Handles("vanished").empty();
  }));
  EXPECT_THAT(Handles("alive"), SizeIs(1));
  ExpectServed(alive);
}

TEST_F(WebServerTest, RefusesMoreConnectionsThanOneAddressMayHave) {
  settings.limits.connections_per_address = 2;
  Serve();
  auto first = Connect();
  {
    auto second = Connect();
    try {
      Connect();
      FAIL() << "a third connection was let in";
    } catch (const probe::ClientError& refusal) {
      EXPECT_EQ(refusal.http_status(), 429);
      EXPECT_THAT(refusal.http_body(), HasSubstr("limits.connections_per_address = 2"));
    }
    auto other_address = Options();
    other_address.host = "::1";
    probe::WebsocketClient third(other_address);
    ExpectServed(third);
  }
  EXPECT_TRUE(IsLogged("limits.connections_per_address = 2"));
  EXPECT_TRUE(Eventually([&] {
    try {
      Connect();
      return true;
    } catch (const probe::ClientError&) {
      return false;
    }
  })) << "a place that is free again is not given away";
  ExpectServed(first);
}

TEST_F(WebServerTest, RefusesMoreConnectionsThanItServesInAll) {
  settings.limits.connections = 2;
  Serve();
  auto first = Connect();
  auto options = Options();
  options.host = "::1";
  probe::WebsocketClient second(options);
  try {
    Connect();
    FAIL() << "a third connection was let in";
  } catch (const probe::ClientError& refusal) {
    EXPECT_EQ(refusal.http_status(), 503);
    EXPECT_THAT(refusal.http_body(), HasSubstr("limits.connections = 2"));
  }
  EXPECT_TRUE(IsLogged("limits.connections = 2"));
  ExpectServed(first);
  ExpectServed(second);
}

TEST_F(WebServerTest, HangsUpOnACrowdThatDoesNotWaitToBeRefused) {
  settings.limits.connections_per_address = 1;
  Serve();
  auto client = Connect();
  std::vector<std::unique_ptr<test::RawClient>> crowd;
  for (std::size_t i = 0; i < 40; ++i) crowd.push_back(std::make_unique<test::RawClient>(server->port()));
  EXPECT_EQ(crowd.back()->ReadAll(), "");
  ExpectServed(client);
}

}  // namespace
