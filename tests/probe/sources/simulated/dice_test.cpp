#include "probe/sources/simulated/dice.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace probe::simulated {
namespace {

// The numbers were worked out apart from this code, from the published SplitMix64 function.
TEST(Dice, FallsTheSameOnEveryMachine) {
  EXPECT_EQ(Dice(1).Throw(Question::kDesk, 2, 3), 0x6B360221EDD5A20AU);
  EXPECT_EQ(Dice(1).Throw(Question::kDesk, 2, -3), 0x6BC011B8F572D047U);
  EXPECT_EQ(Dice(7).Throw(Question::kSeedTag, 0), 0x2BF6F81349ECC50EU);
}

TEST(Dice, FallsAnewForEachSeedQuestionSubjectAndMoment) {
  const std::set<std::uint64_t> throws{Dice(1).Throw(Question::kDesk, 2, 3), Dice(2).Throw(Question::kDesk, 2, 3),
                                       Dice(1).Throw(Question::kNap, 2, 3),  Dice(1).Throw(Question::kDesk, 3, 3),
                                       Dice(1).Throw(Question::kDesk, 2, 4), Dice(1).Throw(Question::kDesk, 3, 2)};
  EXPECT_EQ(throws.size(), 6U);
}

TEST(Dice, GivesEveryNumberBetweenTwoAboutAsOften) {
  const Dice dice(5);
  std::array<int, 6> faces{};
  for (int when = 0; when < 6'000; ++when) {
    const int face = dice.Between(1, 6, Question::kVolume, 9, when);
    ASSERT_GE(face, 1);
    ASSERT_LE(face, 6);
    ++faces[static_cast<std::size_t>(face - 1)];
  }
  for (const int count : faces) {
    EXPECT_GT(count, 850);
    EXPECT_LT(count, 1'150);
  }
}

TEST(Dice, IsSureAtZeroAndAHundredPercent) {
  const Dice dice(5);
  int hits = 0;
  for (int when = 0; when < 1'000; ++when) {
    EXPECT_FALSE(dice.Percent(0, Question::kNap, 1, when));
    EXPECT_TRUE(dice.Percent(100, Question::kNap, 1, when));
    hits += dice.Percent(30, Question::kNap, 1, when) ? 1 : 0;
  }
  EXPECT_GT(hits, 240);
  EXPECT_LT(hits, 360);
}

TEST(Dice, TellsPairsApart) {
  EXPECT_NE(Pair(1, 2), Pair(2, 1));
  EXPECT_EQ(Pair(1, 2), 0x1'0000'0002U);
}

}  // namespace
}  // namespace probe::simulated
