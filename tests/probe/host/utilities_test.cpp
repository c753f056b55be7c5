#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

#include "platform/utilities/json.h"
#include "platform/utilities/signal.h"
#include "platform/utilities/text.h"
#include "probe/text/json_c_handle.h"

namespace {

using kro_utilities::string_con::IsInteger;
using ::testing::ElementsAre;

TEST(IsInteger, IsTrueForDigitsWithAnOptionalSignAndNothingElse) {
  for (const char* text : {"0", "12", "-12", "+12", "007", "123456789012345678901234567890"}) {
    EXPECT_TRUE(IsInteger(text)) << text;
  }
  for (const char* text : {"", "-", "+", "--1", "1-", "1.0", "0x1", " 1", "1 ", "ge1", "1/2"}) {
    EXPECT_FALSE(IsInteger(text)) << text;
  }
}

TEST(FormatMacAddress, BringsEveryNotationToOne) {
  for (const char* mac :
       {"aabbccddeeff", "AA:BB:CC:DD:EE:FF", "aa-bb-cc-dd-ee-ff", "aabb.ccdd.eeff", "aAbB.cCdD.eEfF"}) {
    EXPECT_EQ(format_macaddress(mac), "AA:BB:CC:DD:EE:FF") << mac;
  }
}

TEST(FormatMacAddress, LeavesWhatIsNoMacAsItIs) {
  for (const char* text : {"", "aabbccddeef", "aabbccddeeff0", "gg:bb:cc:dd:ee:ff", "aa bb cc dd ee ff", "Office",
                           ":aabbccddeeff", "aabbccddeeff:"}) {
    EXPECT_EQ(format_macaddress(text), text);
  }
}

TEST(Split, KeepsEmptyParts) {
  EXPECT_THAT(split("a||b", "|"), ElementsAre("a", "", "b"));
  EXPECT_THAT(split("", "|"), ElementsAre(""));
  EXPECT_THAT(split("|", "|"), ElementsAre("", ""));
  EXPECT_THAT(split("a", "|"), ElementsAre("a"));
  EXPECT_THAT(split("a, b", ", "), ElementsAre("a", "b"));
  EXPECT_THAT(split("ab", ""), ElementsAre("ab"));
}

TEST(Signal, ConvertsBothWays) {
  EXPECT_DOUBLE_EQ(kro_utilities::signal::ConvertdBmTomilliwatts(0), 1.0);
  EXPECT_DOUBLE_EQ(kro_utilities::signal::ConvertdBmTomilliwatts(-30), 0.001);
  EXPECT_DOUBLE_EQ(kro_utilities::signal::ConvertmilliwattsTodBm(0.001), -30.0);
  EXPECT_EQ(kro_utilities::signal::ConvertmilliwattsTodBm(0), -std::numeric_limits<double>::infinity());
}

TEST(GetValueByKeyEx, GivesTextsOnly) {
  const probe::JsonCHandle object(json_tokener_parse(R"({"text": "x", "number": 1, "null": null, "nul": "a\u0000b"})"));
  EXPECT_EQ(get_value_by_key_ex(object.get(), "text"), "x");
  EXPECT_EQ(get_value_by_key_ex(object.get(), "nul"), std::string("a\0b", 3));
  for (const char* key : {"number", "null", "missing"}) EXPECT_EQ(get_value_by_key_ex(object.get(), key), "") << key;
  EXPECT_EQ(get_value_by_key_ex(nullptr, "text"), "");
  EXPECT_EQ(get_value_by_key_ex(object.get(), nullptr), "");
}

TEST(Strdup, GivesACopyForTheCallerToFree) {
  const char* text = "text";
  const std::unique_ptr<char, decltype(&std::free)> copy(Strdup(text), &std::free);
  EXPECT_NE(copy.get(), text);
  EXPECT_STREQ(copy.get(), text);
  EXPECT_EQ(Strdup(nullptr), nullptr);
}

}  // namespace
