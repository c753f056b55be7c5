#include "probe/text/nearest_word.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace probe {
namespace {

const std::vector<std::string> kWords = {"columns", "conditions", "index", "scale"};

TEST(NearestWord, FindsAWordWithOneCharacterWrongMissingOrTooMany) {
  EXPECT_EQ(NearestWord("cilumns", kWords), "columns");
  EXPECT_EQ(NearestWord("colums", kWords), "columns");
  EXPECT_EQ(NearestWord("columnss", kWords), "columns");
}

TEST(NearestWord, CountsASwapOfNeighboursAsOneMistake) {
  EXPECT_EQ(NearestWord("sclae", kWords), "scale");
}

TEST(NearestWord, FindsNothingWhereMoreThanOneCharacterInThreeIsWrong) {
  EXPECT_EQ(NearestWord("incex", kWords), "index");  // one of five
  EXPECT_EQ(NearestWord("incax", kWords), "");       // two of five
  EXPECT_EQ(NearestWord("", kWords), "");
}

TEST(NearestWord, NeverAllowsMoreThanThreeMistakes) {
  EXPECT_EQ(NearestWord("abcdefghijklmnop", {"abcdefghijklm"}), "abcdefghijklm");
  EXPECT_EQ(NearestWord("abcdefghijklmnop", {"abcdefghijkl"}), "");
}

TEST(NearestWord, TakesTheFirstOfEquallyNearWords) {
  EXPECT_EQ(NearestWord("cat", {"car", "can"}), "car");
}

TEST(NearestWord, LooksAtNoWordBeyondSixtyFourCharacters) {
  const std::string longest(64, 'a');
  EXPECT_EQ(NearestWord(longest, {longest}), longest);
  EXPECT_EQ(NearestWord(longest + "a", {longest}), "");
  EXPECT_EQ(NearestWord(longest, {longest + "a"}), "");
}

}  // namespace
}  // namespace probe
