#include "monitor/engine/json_tree.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

namespace {

using namespace monitoring;

std::string Text(const JsonTree& tree) {
  return json_object_to_json_string_ext(tree.get(), JSON_C_TO_STRING_PLAIN);
}

TEST(JsonTree, KeepsMembersInTheOrderInWhichTheyWereAdded) {
  JsonTree object = NewObject();
  Add(object, "b", NewInteger(1));
  Add(object, "a", NewText("x"));
  EXPECT_EQ(Text(object), R"({"b":1,"a":"x"})");
}

TEST(JsonTree, LeavesOutWhatCouldNotBeAllocated) {
  JsonTree object = NewObject();
  Add(object, "a", nullptr);
  JsonTree array = NewArray();
  Append(array, nullptr);
  Add(object, "b", std::move(array));
  EXPECT_EQ(Text(object), R"({"b":[]})");
  Add(nullptr, "a", NewInteger(1));  // frees the member: LeakSanitizer watches
  Append(nullptr, NewInteger(1));
}

TEST(JsonTree, HoldsRealsAndTruths) {
  EXPECT_EQ(Text(NewReal(-1.0)), "-1.0");
  EXPECT_EQ(Text(NewReal(99.75)), "99.75");
  EXPECT_EQ(Text(NewReal(std::numeric_limits<double>::infinity())), "Infinity");
  EXPECT_EQ(Text(NewReal(std::numeric_limits<double>::quiet_NaN())), "NaN");
  EXPECT_EQ(Text(NewBoolean(true)), "true");
  EXPECT_EQ(Text(NewBoolean(false)), "false");
}

TEST(JsonTree, SharesASubtreeWithoutTakingItAway) {
  JsonTree source = NewObject();
  Add(source, "a", NewText("x"));
  JsonTree target = NewObject();
  AddShared(target, "copy", Member(source.get(), "a"));
  source.reset();
  EXPECT_EQ(Text(target), R"({"copy":"x"})");
}

TEST(JsonTree, SharesAJsonNullToo) {
  JsonTree object = NewObject();
  EXPECT_FALSE(HasMembers(object));
  AddShared(object, "a", nullptr);
  EXPECT_EQ(Text(object), R"({"a":null})");
  EXPECT_TRUE(HasMembers(object));
  EXPECT_FALSE(HasMembers(nullptr));
}

TEST(JsonTree, ReadsATextAsFarAsANul) {
  const JsonTree text = NewText(std::string("a\0b", 3));
  EXPECT_EQ(Text(text), R"("a\u0000b")");
  EXPECT_EQ(TextOf(text.get()), "a");
}

TEST(JsonTree, HoldsCountersOf63Bits) {
  EXPECT_EQ(Text(NewInteger(9'223'372'036'854'775'807)), "9223372036854775807");
}

TEST(JsonTree, SerialisesAsTheTextThatItWasGiven) {
  const JsonTree array = NewArray();
  Append(array, NewInteger(1));
  const auto text = std::make_shared<const std::string>("[ 2 ]");
  SerialiseAs(array, text);
  const JsonTree object = NewObject();
  Add(object, "a", SharedJson(text));
  EXPECT_STREQ(json_object_to_json_string(array.get()), "[ 2 ]");
  EXPECT_EQ(Text(object), R"({"a":[ 2 ]})");
  EXPECT_EQ(text.use_count(), 3) << "not copied";
}

TEST(JsonTree, SerialisesWhatIsWrittenAsATextAsThatText) {
  const JsonTree object = NewObject();
  Add(object, "a", RawJson("[ { \"b\": 1 } ]"));
  EXPECT_EQ(Text(object), R"({"a":[ { "b": 1 } ]})");
  EXPECT_EQ(RawJson(nullptr), nullptr);
}

TEST(JsonTree, CopiesAKeyThatIsNoConstant) {
  const JsonTree object = NewObject();
  std::string key = "first key of many letters, too long for a short one";
  Add(object, key, NewInteger(1));
  key.assign("x");
  EXPECT_EQ(Text(object), R"({"first key of many letters, too long for a short one":1})");
}

TEST(JsonTree, ListsSidsInTheirOrder) {
  EXPECT_EQ(Text(NewSidArray({"b", "", "a"})), R"(["b","","a"])");
}

TEST(JsonTree, PutsSidsInPlaceOfThoseOfAnotherConnection) {
  const JsonTree message = NewObject();
  Add(message, "a", NewInteger(1));
  SetSids(message, {"x", "y"});
  Add(message, "b", NewInteger(2));
  SetSids(message, {"z"});
  EXPECT_EQ(Text(message), R"({"a":1,"sid":["z"],"b":2})");
}

TEST(JsonTree, FindsNoMemberInWhatIsNoObject) {
  const JsonTree array = NewArray();
  EXPECT_EQ(Member(array.get(), "a"), nullptr);
  EXPECT_EQ(Member(nullptr, "a"), nullptr);
}

}  // namespace
