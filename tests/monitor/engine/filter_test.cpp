#include "monitor/engine/filter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>

#include "monitor/engine/json_tree.h"
#include "tests/support/message_capture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using Wanted = std::pair<std::string, std::string>;  // interval, mac

/// SID -> what its filter asks for.
std::map<std::string, Wanted> Parsed(const char* request) {
  const monitoring::JsonTree tree(json_tokener_parse(request));
  std::map<std::string, Wanted> wanted;
  for (const auto& [sid, filter] : ParseFilters(tree.get())) wanted[sid] = {filter->interval, filter->mac};
  return wanted;
}

TEST(FilterParser, TakesIntervalAndMac) {
  EXPECT_THAT(Parsed(R"([{"sid": "a", "filter": {"interval": "1h", "mac": "AA:BB:CC:00:00:01"}}])"),
              ElementsAre(Pair("a", Wanted{"1h", "AA:BB:CC:00:00:01"})));
}

TEST(FilterParser, LetsTheLastElementOfASidWin) {
  EXPECT_THAT(
      Parsed(R"([{"sid": "a", "filter": {"interval": "1h", "mac": "m"}}, {"sid": "a", "filter": {"mac": "n"}}])"),
      ElementsAre(Pair("a", Wanted{"", "n"})));
}

TEST(FilterParser, LeavesEmptyWhatIsAbsentOrNull) {
  EXPECT_THAT(Parsed(R"([{"sid": "a"}, {"sid": "b", "filter": null}, {"sid": "c", "filter": {}},
                         {"sid": "d", "filter": {"interval": null, "mac": null}}])"),
              ElementsAre(Pair("a", Wanted{}), Pair("b", Wanted{}), Pair("c", Wanted{}), Pair("d", Wanted{})));
}

TEST(FilterParser, FilesElementsWithoutASidUnderTheEmptySid) {
  EXPECT_THAT(Parsed(R"([{"filter": {"interval": "5m"}}])"), ElementsAre(Pair("", Wanted{"5m", ""})));
  EXPECT_THAT(Parsed(R"([{"sid": null, "filter": {"interval": "5m"}}])"), ElementsAre(Pair("", Wanted{"5m", ""})));
}

TEST(FilterParser, FilesElementsThatAreNoObjectUnderTheEmptySid) {
  EXPECT_THAT(Parsed(R"([17])"), ElementsAre(Pair("", Wanted{})));
  EXPECT_THAT(Parsed(R"([null])"), ElementsAre(Pair("", Wanted{})));
  EXPECT_THAT(Parsed(R"([["sid"]])"), ElementsAre(Pair("", Wanted{})));
}

TEST(FilterParser, TakesWhatIsNoTextInItsJsonForm) {
  EXPECT_THAT(Parsed(R"([{"sid": 7, "filter": {"interval": true, "mac": {"a": 1}}}])"),
              ElementsAre(Pair("7", Wanted{"true", R"({ "a": 1 })"})));
}

TEST(FilterParser, TakesAFilterThatIsNoObjectAsAnEmptyOne) {
  EXPECT_THAT(Parsed(R"([{"sid": "a", "filter": "1h"}])"), ElementsAre(Pair("a", Wanted{})));
}

TEST(FilterParser, TakesATextAsFarAsANul) {
  EXPECT_THAT(Parsed(R"([{"sid": "a\u0000b", "filter": {"interval": "1m\u0000x"}}])"),
              ElementsAre(Pair("a", Wanted{"1m", ""})));
}

TEST(FilterParser, GivesNothingForWhatIsNoArray) {
  EXPECT_THAT(Parsed(R"({"sid": "a"})"), IsEmpty());
  EXPECT_THAT(Parsed("null"), IsEmpty());
  EXPECT_THAT(Parsed("[]"), IsEmpty());
}

TEST(FilterParser, HasAMonitorsOwnMakerMakeEachFilter) {
  const monitoring::JsonTree request(json_tokener_parse(R"([{"sid": "a", "filter": {"mac": "m"}}, {"sid": "b"}])"));
  const auto parsed = ParseFilters(request.get(), [](json_object* wanted) {
    return test::FilterOf(wanted == nullptr ? "none" : json_object_to_json_string(wanted));
  });
  ASSERT_EQ(parsed.size(), 2U);
  EXPECT_EQ(parsed.at("a")->interval, R"({ "mac": "m" })");
  EXPECT_EQ(parsed.at("b")->interval, "none");
}

TEST(Filter, EqualsAnotherWhenBothTextsAre) {
  EXPECT_TRUE(*test::FilterOf("1h", "m") == *test::FilterOf("1h", "m"));
  EXPECT_FALSE(*test::FilterOf("1h", "m") == *test::FilterOf("2h", "m"));
  EXPECT_FALSE(*test::FilterOf("1h", "m") == *test::FilterOf("1h", "M"));
}

TEST(Filter, IsValidWhenEmptyAndEqualsEveryOtherEmptyOne) {
  EXPECT_TRUE(*test::FilterOf("", "") == *test::FilterOf("", ""));
}

}  // namespace
