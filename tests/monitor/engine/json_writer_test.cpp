#include "monitor/engine/json_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "monitor/engine/json_tree.h"

namespace {

using monitoring::JsonTree;
using monitoring::ObjectWriter;
using std::string_literals::operator""s;

std::string Integer(std::int64_t value) {
  std::string text;
  monitoring::AppendInteger(text, value);
  return text;
}

std::string Quoted(const std::string& value) {
  std::string text;
  monitoring::AppendQuoted(text, value);
  return text;
}

TEST(JsonWriter, WritesIntegers) {
  EXPECT_EQ(Integer(0), "0");
  EXPECT_EQ(Integer(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  EXPECT_EQ(Integer(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JsonWriter, QuotesEveryOctetAsJsonCDoes) {
  for (int octet = 0; octet < 256; ++octet) {
    const std::string value = "a"s + static_cast<char>(octet) + "z";
    EXPECT_EQ(Quoted(value), json_object_to_json_string(monitoring::NewText(value).get())) << octet;
  }
  EXPECT_EQ(Quoted(""), R"("")");
}

TEST(JsonWriter, WritesObjectsAsJsonCDoes) {
  const JsonTree tree = monitoring::NewObject();
  std::string text = "before";
  ObjectWriter writer(text);
  const std::string keys[] = {"", "a/b", "c", "c\0one"s, "c\0two"s, "d"};
  int value = 0;
  for (const std::string& key : keys) {
    monitoring::Add(tree, key, monitoring::NewInteger(++value));
    writer.Begin(key);
    monitoring::AppendInteger(text, value);
  }
  writer.Close();
  EXPECT_EQ(text, "before"s + json_object_to_json_string(tree.get()));
}

TEST(JsonWriter, WritesAnObjectWithoutMembersAsJsonCDoes) {
  std::string text;
  ObjectWriter(text).Close();
  EXPECT_EQ(text, json_object_to_json_string(monitoring::NewObject().get()));
}

TEST(JsonTreeSharedJson, SerialisesAsTheTextInAnyNumberOfTrees) {
  auto text = std::make_shared<const std::string>(R"({ "a": [ 1, 2 ] })");
  const JsonTree tree = monitoring::NewObject();
  monitoring::Add(tree, "one", monitoring::SharedJson(text));
  monitoring::Add(tree, "two", monitoring::SharedJson(text));
  monitoring::Add(tree, "none", monitoring::SharedJson(nullptr));
  EXPECT_EQ(text.use_count(), 3);
  EXPECT_STREQ(json_object_to_json_string(tree.get()), R"({ "one": { "a": [ 1, 2 ] }, "two": { "a": [ 1, 2 ] } })");
}

}  // namespace
