#include "probe/server/websocket/protocol.h"

#include <gmock/gmock.h>

namespace {

using probe::ReadClientMessage;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

constexpr std::size_t kDepth = 16;

std::string CodeOf(std::string_view text, std::size_t max_depth = kDepth) {
  const auto message = ReadClientMessage(text, max_depth);
  const auto* error = std::get_if<probe::ProtocolError>(&message);
  return error == nullptr ? "" : error->code;
}

probe::SubscribeRequest Subscribe(std::string_view text) {
  const auto message = ReadClientMessage(text, kDepth);
  EXPECT_TRUE(std::holds_alternative<probe::SubscribeRequest>(message)) << text;
  return std::holds_alternative<probe::SubscribeRequest>(message) ? std::get<probe::SubscribeRequest>(message)
                                                                  : probe::SubscribeRequest{};
}

TEST(Protocol, ReadsASubscription) {
  const auto subscribe = Subscribe(
      R"({"subscribe":{"topic":"TrafficMonitor","request":[{"sid":"a","filter":{"mac":"M","interval":"1m"}}]}})");
  EXPECT_EQ(subscribe.topic, "TrafficMonitor");
  EXPECT_EQ(subscribe.request, R"([{"filter":{"interval":"1m","mac":"M"},"sid":"a"}])");
  EXPECT_THAT(subscribe.filters, ElementsAre(Pair("a", R"({"interval":"1m","mac":"M"})")));
}

TEST(Protocol, ReadsAnUnsubscription) {
  const auto message = ReadClientMessage(R"( {"unsubscribe" : {"sid":"a", "topic":"T"}} )", kDepth);
  ASSERT_TRUE(std::holds_alternative<probe::UnsubscribeRequest>(message));
  EXPECT_EQ(std::get<probe::UnsubscribeRequest>(message).topic, "T");
  EXPECT_EQ(std::get<probe::UnsubscribeRequest>(message).sid, "a");
}

TEST(Protocol, TakesTheLastFilterOfASidAndTheEmptySidForAnElementWithoutOne) {
  const auto subscribe = Subscribe(
      R"({"subscribe":{"topic":"T","request":[{"sid":"a","filter":{"x":1}},{"sid":"a","filter":{"x":2}},7,{"sid":null}]}})");
  EXPECT_THAT(subscribe.filters, ElementsAre(Pair("", "null"), Pair("a", R"({"x":2})")));
}

TEST(Protocol, TakesEqualFiltersAsEqualHoweverTheyAreWritten) {
  const auto subscribe = Subscribe(
      R"({"subscribe":{"topic":"T","request":[{"sid":"a","filter":{"x":1,"y":2}},{"sid":"b","filter":{ "y" : 2, "x":1}}]}})");
  EXPECT_EQ(subscribe.filters.at("a"), subscribe.filters.at("b"));
}

TEST(Protocol, TellsAMissingRequestFromAnEmptyOne) {
  EXPECT_EQ(Subscribe(R"({"subscribe":{"topic":"T"}})").request, "");
  EXPECT_EQ(Subscribe(R"({"subscribe":{"topic":"T","request":null}})").request, "");
  EXPECT_EQ(Subscribe(R"({"subscribe":{"topic":"T","request":[]}})").request, "[]");
}

TEST(Protocol, CountsDepthFromTheOutermostObject) {
  const auto nested = [](std::size_t depth) {
    return R"({"subscribe":{"topic":"T","request":)" + std::string(depth - 2, '[') + std::string(depth - 2, ']') + "}}";
  };
  EXPECT_EQ(CodeOf(nested(kDepth)), "");
  EXPECT_EQ(CodeOf(nested(kDepth + 1)), "too_deep");
  EXPECT_EQ(CodeOf(nested(kDepth + 1), kDepth + 1), "");
}

TEST(Protocol, NeedsNoStackForAMessageOfNothingButBrackets) {
  EXPECT_EQ(CodeOf(std::string(10'000'000, '[')), "too_deep");
  std::string objects;
  for (int i = 0; i < 1'000'000; ++i) objects += R"({"a":)";
  EXPECT_EQ(CodeOf(objects), "too_deep");
}

TEST(Protocol, NamesTheDepthLimitByItsKey) {
  const auto message = ReadClientMessage("[[]]", 1);
  EXPECT_THAT(std::get<probe::ProtocolError>(message).message, HasSubstr("limits.message_depth = 1"));
}

TEST(Protocol, TakesNothingBehindTheEndOfAMessage) {
  const std::string message = R"({"subscribe":{"topic":"T","request":[]}})";
  EXPECT_EQ(CodeOf(message), "");
  EXPECT_EQ(CodeOf(message + '\0'), "malformed");
  EXPECT_EQ(CodeOf(message + '\0' + "junk"), "malformed");
  EXPECT_EQ(CodeOf(message + "junk"), "malformed");
}

TEST(Protocol, IsNotConfusedByMembersThatComeTwice) {
  EXPECT_EQ(CodeOf(R"({"subscribe":1,"subscribe":{"topic":"T","topic":"U"}})"), "");
  EXPECT_EQ(CodeOf(R"({"subscribe":{"topic":"T","topic":7}})"), "invalid_message");
}

TEST(Protocol, RefusesTextThatIsNotUtf8WhereverItStands) {
  for (const char* octets : {"\x80", "\xc0\x80", "\xed\xbf\xbf", "\xf4\x90\x80\x80", "\xe2\x82", "\xff"}) {
    EXPECT_EQ(CodeOf(std::string(R"({"subscribe":{"topic":")") + octets + R"("}})"), "malformed");
    EXPECT_EQ(CodeOf(octets), "malformed");
  }
}

TEST(Protocol, RefusesLoneSurrogatesWrittenAsEscapes) {
  EXPECT_EQ(CodeOf(R"({"subscribe":{"topic":"\ud800"}})"), "malformed");
}

TEST(Protocol, WritesItsAnswersAsJson) {
  EXPECT_EQ(probe::SubscribedText("T\"", {"a", "\n"}), R"({"subscribed":{"sids":["a","\n"],"topic":"T\""}})");
  EXPECT_EQ(probe::UnsubscribedText("T", "a"), R"({"unsubscribed":{"sid":"a","topic":"T"}})");
  EXPECT_EQ(probe::ErrorText({"code", "text"}), R"({"error":{"code":"code","message":"text"}})");
}

}  // namespace
