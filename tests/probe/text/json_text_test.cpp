#include "probe/text/json_text.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using probe::JsonError;
using probe::JsonRules;
using probe::ReadJson;

constexpr JsonRules kRules{.max_depth = 3, .allows_duplicate_members = true};
constexpr JsonRules kNoDuplicates{.max_depth = 3, .allows_duplicate_members = false};

/// The value of a text, as text again; nothing when it is refused.
template <typename Json>
std::optional<std::string> Read(std::string_view text, const JsonRules& rules = kRules) {
  Json value;
  if (ReadJson(text, rules, value)) return std::nullopt;
  return value.dump();
}

/// Why a text is refused. Fails the test when it is not.
JsonError ErrorOf(std::string_view text, const JsonRules& rules = kRules) {
  ordered_json value;
  const auto error = ReadJson(text, rules, value);
  EXPECT_TRUE(error.has_value()) << text;
  return error.value_or(JsonError{});
}

TEST(JsonText, ReadsEveryKindOfValue) {
  for (const char* text : {R"({"a":[null,true,-1,18446744073709551615,1.5,"x"]})", "[]", "{}", "7", "\"\\u00e4\""})
    EXPECT_EQ(Read<ordered_json>(text), json::parse(text).dump());
}

TEST(JsonText, KeepsTheOrderOfTheTextOrSortsAsItsTypeSays) {
  constexpr char kText[] = R"({"b":1,"a":2})";
  EXPECT_EQ(Read<ordered_json>(kText), R"({"b":1,"a":2})");
  EXPECT_EQ(Read<json>(kText), R"({"a":2,"b":1})");
}

TEST(JsonText, CountsObjectsAndArraysWithinOneAnother) {
  EXPECT_EQ(Read<json>(R"([{"a":[]},[[]]])"), R"([{"a":[]},[[]]])");
  EXPECT_EQ(ErrorOf("[[[[]]]]").reason, JsonError::Reason::kTooDeep);
  EXPECT_EQ(ErrorOf(R"({"a":{"a":{"a":{}}}})").reason, JsonError::Reason::kTooDeep);
}

TEST(JsonText, NeedsNoStackForATextOfNothingButBrackets) {
  EXPECT_EQ(ErrorOf(std::string(10'000'000, '[')).reason, JsonError::Reason::kTooDeep);
}

TEST(JsonText, TellsTheOctetWhereItIsNoJson) {
  EXPECT_EQ(ErrorOf("{").reason, JsonError::Reason::kSyntax);
  EXPECT_EQ(ErrorOf("{").octet, 2U);
  EXPECT_EQ(ErrorOf("[1] x").octet, 5U);
  EXPECT_EQ(ErrorOf("\"\xff\"").octet, 2U);
}

TEST(JsonText, RefusesANulBehindTheValue) {
  using std::string_literals::operator""s;
  EXPECT_EQ(ErrorOf("[]\0"s).reason, JsonError::Reason::kSyntax);
  EXPECT_EQ(ErrorOf("[]\0"s).octet, 3U);
  EXPECT_EQ(ErrorOf("[]\0junk"s).octet, 3U);
  EXPECT_EQ(Read<json>("[] "), "[]");
}

TEST(JsonText, RefusesANumberThatFitsNoType) {
  EXPECT_EQ(ErrorOf("[1e999]").reason, JsonError::Reason::kNumberTooLarge);
}

TEST(JsonText, TakesTheLastOfTwoMembersOfOneNameOrRefusesThem) {
  constexpr char kText[] = R"({"a":1,"b":{"a":[1],"a":2},"a":3})";
  EXPECT_EQ(Read<json>(kText), R"({"a":3,"b":{"a":2}})");
  EXPECT_EQ(Read<ordered_json>(kText), R"({"a":3,"b":{"a":2}})");
  EXPECT_EQ(ErrorOf(kText, kNoDuplicates).reason, JsonError::Reason::kDuplicateMember);
  EXPECT_EQ(ErrorOf(kText, kNoDuplicates).member, "a");
  EXPECT_EQ(Read<json>(R"({"a":{"a":1}})", kNoDuplicates), R"({"a":{"a":1}})") << "objects have names of their own";
}

TEST(JsonText, WritesWhatIsNotUtf8AsTheReplacementCharacter) {
  EXPECT_EQ(probe::Dump(json{{"a", "\xff"}}), "{\"a\":\"\xef\xbf\xbd\"}");
  EXPECT_EQ(probe::Dump(ordered_json{{"b", "x"}, {"a", 1}}), R"({"b":"x","a":1})");
}

TEST(JsonText, WritesAnErrorAsAnObjectOfCodeAndMessage) {
  EXPECT_EQ(probe::ErrorText("code", "a \"text\""), R"({"error":{"code":"code","message":"a \"text\""}})");
}

TEST(JsonTextDump, IsWhatAppendsAStringToo) {
  for (const std::string text : {"", "plain", "\"quoted\" and \\", "caf\xc3\xa9 \xf0\x9f\x98\x80", "\x7f/"}) {
    std::string written = "before";
    probe::AppendJsonString(written, text);
    EXPECT_EQ(written, "before" + probe::Dump(nlohmann::json(text)));
  }
  for (char octet = 0; octet < 0x7f; ++octet) {
    const std::string text = std::string("a\"") + octet + "z";
    std::string written;
    probe::AppendJsonString(written, text);
    EXPECT_EQ(written, probe::Dump(nlohmann::json(text)));
  }
}

}  // namespace
