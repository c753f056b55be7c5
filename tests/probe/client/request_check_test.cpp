#include "probe/client/request_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "platform/topics.h"

namespace probe {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

json Schema(const std::string& name) {
  std::ifstream file(std::string(VEXORA_SCHEMAS) + "/" + name);
  return json::parse(file);
}

/// The request whose only element has this filter.
json WithFilter(const json& filter) {
  return json::array({{{"sid", "a"}, {"filter", filter}}});
}

TEST(RequestCheck, KnowsEveryMemberThatTheSchemasDescribe) {
  const json subscribe = Schema("subscribe.json");
  const json& element = subscribe["properties"]["subscribe"]["properties"]["request"]["items"]["properties"];
  json filter = json::object();
  for (const auto& member : element["filter"]["properties"].items()) filter[member.key()] = "";
  ASSERT_EQ(filter.size(), 2U);
  EXPECT_THAT(RequestWarnings(monitoring::kTrafficMonitor, WithFilter(filter)), IsEmpty());
  filter["another"] = 1;
  EXPECT_THAT(RequestWarnings(monitoring::kTrafficMonitor, WithFilter(filter)), ::testing::SizeIs(1));

  const json top = Schema("wireless_top_subscribe.json");
  // An example with all members of a definition, those within by their references.
  const std::function<json(json)> filled = [&](json definition) -> json {
    if (definition.contains("$ref")) {
      definition = top.at(json::json_pointer(definition["$ref"].get<std::string>().substr(1)));
    }
    if (!definition.contains("properties")) return "";
    json object = json::object();
    for (const auto& member : definition["properties"].items()) object[member.key()] = filled(member.value());
    object["another"] = 1;
    return object;
  };
  const auto warnings =
      RequestWarnings(monitoring::kWirelessTopMonitor, WithFilter(filled({{"$ref", "#/definitions/filter"}})));
  for (const std::string& warning : warnings) EXPECT_THAT(warning, ::testing::HasSubstr(".another: ")) << warning;
  EXPECT_EQ(warnings.size(), 9U) << "one for each object";
}

TEST(RequestCheck, NamesTheKeyThatWasProbablyMeant) {
  EXPECT_THAT(
      RequestWarnings(monitoring::kTrafficMonitor, WithFilter({{"intervall", "1m"}})),
      ElementsAre("request[0].filter.intervall: the topic knows no such key, only \"interval\", \"mac\"; did you "
                  "mean \"interval\"?"));
  EXPECT_THAT(RequestWarnings(monitoring::kHealthMonitor, WithFilter({{"interval", "1m"}})),
              ElementsAre("request[0].filter.interval: the topic knows no such key, only \"mac\""));
  EXPECT_THAT(RequestWarnings(monitoring::kHealthMonitor, json::parse(R"([{"sid":"a"},{"sid":"b","fliter":{}}])")),
              ElementsAre("request[1].fliter: the topic knows no such key, only \"filter\", \"sid\"; did you mean "
                          "\"filter\"?"));
}

TEST(RequestCheck, NamesTheViewsThatThereAre) {
  EXPECT_THAT(
      RequestWarnings(monitoring::kSsidClientCountMonitor, WithFilter({{"interval", "1d"}})),
      ElementsAre("request[0].filter.interval: there is no \"1d\", only \"1m\", \"5m\", \"10m\", \"1h\", \"2h\", "
                  "\"1day\""));
  for (const char* view : monitoring::kViews) {
    EXPECT_THAT(RequestWarnings(monitoring::kDevicesClientCountMonitor, WithFilter({{"interval", view}})), IsEmpty());
  }
  EXPECT_THAT(
      RequestWarnings(monitoring::kWirelessTopMonitor,
                      WithFilter({{"access_point", {{"traffic", {{"orderby", "totla"}}}}}})),
      ElementsAre("request[0].filter.access_point.traffic.orderby: there is no \"totla\", only \"in\", \"out\", "
                  "\"total\""));
}

TEST(RequestCheck, SaysNothingOfTopicsThatItDoesNotKnow) {
  EXPECT_THAT(RequestWarnings("Weather", WithFilter({{"x", 1}})), IsEmpty());
  EXPECT_THAT(RequestWarnings(monitoring::kHealthMonitor, json::parse("5")), IsEmpty());
  EXPECT_THAT(RequestWarnings(monitoring::kHealthMonitor, json::parse("[5, []]")), IsEmpty());
}

}  // namespace
}  // namespace probe
