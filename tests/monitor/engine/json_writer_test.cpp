#include "monitor/engine/json_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "monitor/engine/json_tree.h"

namespace {

using monitoring::ArrayWriter;
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

TEST(JsonWriter, WritesRealNumbersAsJsonCDoes) {
  std::vector<double> values{0.0,  -0.0, 1.0,  -1.0, 33.3,  100.0, 0.1,  1e15,
                             1e16, 1e17, 1e-5, 1e-4, 123.4, 1e300, -1.5, 5e-324};
  for (int tenths = 0; tenths <= 1000; ++tenths) values.push_back(tenths / 10.0);
  std::mt19937_64 random(7);
  for (int number = 0; number < 10'000; ++number) {
    const std::uint64_t bits = random();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    values.push_back(value);
  }
  values.push_back(std::numeric_limits<double>::infinity());
  values.push_back(-std::numeric_limits<double>::infinity());
  values.push_back(std::numeric_limits<double>::quiet_NaN());
  for (const double value : values) {
    std::string text;
    monitoring::AppendReal(text, value);
    EXPECT_EQ(text, json_object_to_json_string(monitoring::NewReal(value).get()));
  }
}

TEST(JsonWriter, WritesArraysAsJsonCDoes) {
  const JsonTree tree = monitoring::NewArray();
  std::string text;
  ArrayWriter(text).Close();
  EXPECT_EQ(text, json_object_to_json_string(tree.get()));
  text.clear();
  ArrayWriter writer(text);
  for (const int value : {1, 2, 3}) {
    writer.Begin();
    monitoring::AppendInteger(text, value);
    monitoring::Append(tree, monitoring::NewInteger(value));
  }
  writer.Close();
  EXPECT_EQ(text, json_object_to_json_string(tree.get()));
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

/// A tree as this library writes it.
std::string TreeText(json_object* tree) {
  std::string text;
  monitoring::AppendTree(text, tree);
  return text;
}

TEST(AppendTree, WritesATreeAsJsonCDoes) {
  for (const char* json : {"{}",
                           "[]",
                           "null",
                           "true",
                           "false",
                           "0",
                           "-1",
                           "9223372036854775807",
                           "18446744073709551615",
                           "-9223372036854775808",
                           "1.5",
                           "-0.0",
                           "1e300",
                           "1e-7",
                           "100.0",
                           R"("")",
                           R"("a/b\\c\"d")",
                           R"("\u0000\u0001\b\n\r\t\f\u001f\u007f\u00e9")",
                           R"({"a/b": {"c": [1, "two", null, [], {}]}, "": 2.25})",
                           R"([[[]], {"x": {"y": {}}}, "NaN"])"}) {
    const monitoring::JsonTree tree(json_tokener_parse(json));
    EXPECT_EQ(TreeText(tree.get()), json_object_to_json_string(tree.get())) << json;
  }
}

TEST(AppendTree, WritesOctetsThatAreNoUtf8AsJsonCDoes) {
  for (int octet = 0; octet < 256; ++octet) {
    const monitoring::JsonTree tree = monitoring::NewText("<" + std::string(1, static_cast<char>(octet)) + ">");
    EXPECT_EQ(TreeText(tree.get()), json_object_to_json_string(tree.get())) << octet;
  }
}

TEST(AppendTree, WritesNumbersThatAreNoneAndTextsInTheirPlaces) {
  const monitoring::JsonTree array = monitoring::NewArray();
  monitoring::Append(array, monitoring::NewReal(std::numeric_limits<double>::infinity()));
  monitoring::Append(array, monitoring::NewReal(-std::numeric_limits<double>::infinity()));
  monitoring::Append(array, monitoring::NewReal(std::numeric_limits<double>::quiet_NaN()));
  monitoring::Append(array, monitoring::RawJson(R"({ "raw": 1 })"));
  EXPECT_EQ(TreeText(array.get()), R"([ Infinity, -Infinity, NaN, { "raw": 1 } ])");
}

TEST(AppendTree, WritesANumberInTheFormThatItsHostGaveIt) {
  const monitoring::JsonTree array = monitoring::NewArray();
  monitoring::JsonTree number(json_object_new_double(0.1 + 0.2));
  static char format[] = "%.2f";
  json_object_set_serializer(number.get(), &json_object_double_to_json_string, format, nullptr);
  monitoring::Append(array, std::move(number));
  EXPECT_EQ(TreeText(array.get()), "[ 0.30 ]");
}

}  // namespace
