#include "probe/text/strict_json.h"

#include <gtest/gtest.h>
#include <json-c/json.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "probe/text/json_c_handle.h"

namespace probe {
namespace {

TEST(StrictJson, LeavesValidJsonAsItIs) {
  const std::string text = R"({"a": [1, -2.5e3, true, null, "x\"NaN\\", "Infinity"], "NaN": {}})";
  EXPECT_EQ(StrictJson(text), text);
  EXPECT_EQ(StrictJson(""), "");
}

TEST(StrictJson, MakesNumbersThatAreNoneNull) {
  EXPECT_EQ(StrictJson(R"([NaN,-NaN,Infinity,-Infinity,{"a":NaN}])"), R"([null,null,null,null,{"a":null}])");
  EXPECT_EQ(StrictJson("NaN"), "null");
}

TEST(StrictJson, MakesWhatTheLibraryWritesReadable) {
  const probe::JsonCHandle list(json_object_new_array());
  for (const double value : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(), 1.5})
    json_object_array_add(list.get(), json_object_new_double(value));
  const std::string text = json_object_to_json_string(list.get());
  ASSERT_FALSE(nlohmann::json::accept(text)) << "the library writes JSON by itself now: " << text;
  EXPECT_EQ(nlohmann::json::parse(StrictJson(text)), nlohmann::json::parse("[null, null, null, 1.5]"));
}

TEST(StrictJson, ReplacesOctetsThatAreNoUtf8EvenBeforeAQuote) {
  EXPECT_EQ(StrictJson("[\"a\xff\", \"\xe2\x82\", NaN]"), "[\"a\xef\xbf\xbd\", \"\xef\xbf\xbd\", null]");
}

TEST(StrictJson, EndsWithATextThatIsCutOff) {
  EXPECT_EQ(StrictJson("[\"abc"), "[\"abc");
  EXPECT_EQ(StrictJson("\"\\"), "\"\\");
  EXPECT_EQ(StrictJson("Na"), "Na");
}

}  // namespace
}  // namespace probe
