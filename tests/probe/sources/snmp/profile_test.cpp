#include "probe/sources/snmp/profile.h"

#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <string>

namespace probe::snmp {
namespace {

TEST(Pattern, TakesTheFirstGroupOrElseTheWholeMatch) {
  EXPECT_EQ(Pattern("Version ([0-9.]+)").Take("OS Version 8.3.0, built"), "8.3.0");
  EXPECT_EQ(Pattern("[0-9]+").Take("build 64659"), "64659");
  EXPECT_EQ(Pattern("^[0-9]+$").Take("build 64659"), std::nullopt);
}

TEST(Pattern, MatchesAnyPartOfAText) {
  EXPECT_TRUE(Pattern("guest").Matches("the guest network"));
  EXPECT_FALSE(Pattern("^guest").Matches("the guest network"));
}

TEST(Pattern, LooksAtTheFirst255OctetsOnly) {
  EXPECT_TRUE(Pattern("x").Matches(std::string(254, ' ') + "x"));
  EXPECT_FALSE(Pattern("x").Matches(std::string(255, ' ') + "x"));
}

TEST(Pattern, TakesTheLongestOfItsAlternatives) {
  EXPECT_EQ(Pattern("a|ab").Take("ab"), "ab");
  EXPECT_EQ(Pattern("ab|a").Take("ab"), "ab");
  EXPECT_EQ(Pattern("x([a-z]*)([0-9]?)").Take("-xab12"), "ab");
  EXPECT_EQ(Pattern("x(.*?)1").Take("xab121"), "ab");
}

TEST(Pattern, IsDoneAtOnceWithATextThatCouldMatchInManyWays) {
  const std::string text = std::string(250, 'a') + "b";
  EXPECT_FALSE(Pattern("^(a|a)*$").Matches(text));
  EXPECT_FALSE(Pattern("^(a+)+$").Matches(text));
  EXPECT_THROW(Pattern("(a)\\1"), std::regex_error) << "what a group matched cannot be referred to";
}

TEST(Pattern, HasAtMost200Characters) {
  EXPECT_NO_THROW(Pattern(std::string(200, 'x')));
  EXPECT_THROW(Pattern(std::string(201, 'x')), std::regex_error);
  EXPECT_THROW(Pattern("("), std::regex_error);
}

}  // namespace
}  // namespace probe::snmp
