#include "probe/text/utf8.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* kReplacement = "\xEF\xBF\xBD";

TEST(Utf8, LeavesValidTextAsItWas) {
  const std::string text = "Caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80";
  EXPECT_TRUE(probe::IsUtf8(text));
  EXPECT_EQ(probe::ReplaceInvalidUtf8(text), text);
  EXPECT_EQ(probe::ReplaceInvalidUtf8(""), "");
}

TEST(Utf8, ReplacesWhatIsCutAndKeepsWhatFollows) {
  EXPECT_EQ(probe::ReplaceInvalidUtf8("a\xE2\x82z"), std::string("a") + kReplacement + "z");
  EXPECT_EQ(probe::ReplaceInvalidUtf8("a\xFF\xFEz"), std::string("a") + kReplacement + kReplacement + "z");
  EXPECT_EQ(probe::ReplaceInvalidUtf8("a\xC3"), std::string("a") + kReplacement);
}

TEST(Utf8, KnowsTheBordersOfTheCodeSpace) {
  EXPECT_TRUE(probe::IsUtf8("\xED\x9F\xBF"));       // U+D7FF
  EXPECT_FALSE(probe::IsUtf8("\xED\xA0\x80"));      // U+D800
  EXPECT_TRUE(probe::IsUtf8("\xEE\x80\x80"));       // U+E000
  EXPECT_TRUE(probe::IsUtf8("\xF4\x8F\xBF\xBF"));   // U+10FFFF
  EXPECT_FALSE(probe::IsUtf8("\xF4\x90\x80\x80"));  // U+110000
  EXPECT_FALSE(probe::IsUtf8("\xC1\xBF"));          // overlong U+007F
  EXPECT_TRUE(probe::IsUtf8("\xC2\x80"));           // U+0080
}

TEST(PrintableLine, ShowsControlCharactersInsteadOfSendingThem) {
  EXPECT_EQ(probe::PrintableLine("a\nb\tc\x1b\x7f"), R"(a\x0ab\x09c\x1b\x7f)");
  EXPECT_EQ(probe::PrintableLine("\xC2\x9B[31m\xC2\x85"), R"(\x9b[31m\x85)");  // C1: CSI, NEL
  EXPECT_EQ(probe::PrintableLine("\xE2\x80\xA8\xE2\x80\xAE!\xE2\x81\xA6"), R"(\u2028\u202e!\u2066)");
  EXPECT_EQ(probe::PrintableLine("Caf\xC3\xA9 \xE2\x82\xAC\xFF"), "Caf\xC3\xA9 \xE2\x82\xAC\xEF\xBF\xBD");
}

TEST(PrintableJson, IsTheSameValueOnOneLineWithoutControlCharacters) {
  EXPECT_EQ(probe::PrintableJson("{\n\t\"ssid\":\r\n \"a\xC2\x9B[31m\x7F\xE2\x80\xAE\"}"),
            R"({  "ssid":   "a\u009b[31m\u007f\u202e"})");
  const std::string plain = R"({"name":"Caf\u001b \\ \"q\"","n":[1,-2.5,null]})";
  EXPECT_EQ(probe::PrintableJson(plain), plain);
}

TEST(PrintableJson, LeavesNothingInOtherTextsThatSteersATerminal) {
  EXPECT_EQ(probe::PrintableJson("no JSON \x1b[2J\x07 \xC2\x85\xFF"), "no JSON \\u001b[2J\\u0007 \\u0085\xEF\xBF\xBD");
}

}  // namespace
