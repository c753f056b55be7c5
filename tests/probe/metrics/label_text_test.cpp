#include "probe/metrics/label_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "probe/text/utf8.h"

namespace {

using probe::metrics::kMaxLabelOctets;
using probe::metrics::LabelText;
using ::testing::MatchesRegex;

TEST(LabelText, LeavesWhatFitsAsItIs) {
  EXPECT_EQ(LabelText(""), "");
  EXPECT_EQ(LabelText("5Ghz - Café \"Süd\" \\1"), "5Ghz - Café \"Süd\" \\1");
  EXPECT_EQ(LabelText(std::string(kMaxLabelOctets, 'a')), std::string(kMaxLabelOctets, 'a'));
}

TEST(LabelText, CutsALongTextAndMarksIt) {
  const std::string text(kMaxLabelOctets + 1, 'a');
  EXPECT_EQ(LabelText(text).size(), kMaxLabelOctets);
  EXPECT_THAT(LabelText(text), MatchesRegex("a+~[0-9a-f]+"));
  EXPECT_NE(LabelText(text + "b"), LabelText(text + "c")) << "two names that differ behind the cut";
}

TEST(LabelText, CutsNoCharacterInTwo) {
  for (std::size_t blanks = 0; blanks < 4; ++blanks) {
    std::string text(blanks, ' ');
    for (int count = 0; count < 100; ++count) text += "€";
    const std::string label = LabelText(text);
    EXPECT_LE(label.size(), kMaxLabelOctets);
    EXPECT_TRUE(probe::IsUtf8(label)) << label;
    EXPECT_EQ(label.find("�"), std::string::npos) << label;
  }
}

TEST(LabelText, MakesUtf8OfOctetsThatAreNone) {
  const std::string label = LabelText("a\xff\nb\x1b[2J" + std::string(1, '\0'));
  EXPECT_TRUE(probe::IsUtf8(label));
  for (const char octet : label) EXPECT_FALSE(static_cast<unsigned char>(octet) < ' ') << label;
  EXPECT_NE(LabelText("a\xff"), LabelText("a\xfe")) << "they look alike, but are two names";
}

}  // namespace
