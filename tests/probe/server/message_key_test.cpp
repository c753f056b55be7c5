#include "probe/server/websocket/envelope_key.h"

#include <gmock/gmock.h>

namespace {

using probe::SidsOf;
using probe::TopicOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(MessageKey, FindsTheTopic) {
  EXPECT_EQ(TopicOf(R"({ "name": "HealthMonitor", "data": {} })"), "HealthMonitor");
  EXPECT_EQ(TopicOf(R"({"data":{"name":"inner"},"name":"outer"})"), "outer");
}

TEST(MessageKey, FindsNoTopicInWhatIsNoEnvelope) {
  EXPECT_EQ(TopicOf(R"({"error":{"name":"inner"}})"), "");
  EXPECT_EQ(TopicOf(R"(["name","T"])"), "");
  EXPECT_EQ(TopicOf("no JSON"), "");
  EXPECT_EQ(TopicOf(""), "");
}

TEST(MessageKey, NeedsNoMoreThanTheBeginningForTheTopic) {
  EXPECT_EQ(TopicOf(R"({"name":"T","data":{"cut of)"), "T");
}

TEST(MessageKey, FindsTheSidsInTheBodyOrInTheViewInIt) {
  EXPECT_THAT(SidsOf(R"({"name":"T","data":{"sid":["b","a"],"more":{}}})"), ElementsAre("a", "b"));
  EXPECT_THAT(SidsOf(R"({"name":"T","data":{"10m":{"traffic_data":{},"sid":["b","a"]}}})"), ElementsAre("a", "b"));
}

TEST(MessageKey, FindsNoSidsWhereThereAreNone) {
  EXPECT_THAT(SidsOf(R"({"name":"HealthMonitor","data":{"devices":[]}})"), IsEmpty());
  EXPECT_THAT(SidsOf(R"({"name":"T","data":[{"sid":["a"]}]})"), IsEmpty());
}

TEST(MessageKey, IsNotMisledByADeviceThatIsCalledSid) {
  EXPECT_THAT(SidsOf(R"({"name":"T","data":{"10m":{"traffic_data":{"sid":["x"]},"sid":["a"]}}})"), ElementsAre("a"));
  EXPECT_THAT(SidsOf(R"({"name":"T","data":{"10m":{"sid":{"sid":["x"]}}}})"), IsEmpty());
  EXPECT_THAT(SidsOf(R"({"name":"T","data":{"10m":{"sid":[["x"],{"sid":["y"]},"a"]}}})"), ElementsAre("a"));
  EXPECT_THAT(SidsOf(R"({"name":"T","sid":["x"],"else":{"sid":["y"],"v":{"sid":["z"]}}})"), IsEmpty());
}

}  // namespace
