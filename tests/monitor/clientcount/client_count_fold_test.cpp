#include "monitor/clientcount/client_count_fold.h"
#include "monitor/clientcount/client_count_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace monitoring::clientcount;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

Series Minutes(int first, int last, int count) {
  Series series;
  for (int minute = first; minute <= last; ++minute) series[minute] = count;
  return series;
}

TEST(ClientCountFoldSeries, KeepsThirtySamples) {
  Series series = Minutes(1, 28, 1);
  SetSample(series, 29, 1);
  EXPECT_EQ(series, Minutes(1, 29, 1));
  SetSample(series, 30, 1);
  EXPECT_EQ(series, Minutes(1, 30, 1));
  SetSample(series, 31, 1);
  EXPECT_EQ(series, Minutes(2, 31, 1));
}

TEST(ClientCountFoldSeries, LosesOneSampleAtATime) {
  Series series = Minutes(1, 35, 1);
  SetSample(series, 36, 1);
  EXPECT_EQ(series, Minutes(2, 36, 1));
}

TEST(ClientCountFoldSeries, TakesASampleInPlaceOfThatOfTheSameMinute) {
  Series series = Minutes(1, 30, 1);
  SetSample(series, 30, 7);
  EXPECT_EQ(series.size(), 30U);
  EXPECT_EQ(series.at(30), 7);
}

TEST(ClientCountFoldSeries, DropsSamplesOfTheFuture) {
  Series series = Minutes(1, 10, 1);
  EXPECT_EQ(DropFutureSamples(series, 10), 0U);
  EXPECT_EQ(DropFutureSamples(series, 7), 3U);
  EXPECT_EQ(series, Minutes(1, 7, 1));
  EXPECT_EQ(DropFutureSamples(series, 0), 7U);
  EXPECT_THAT(series, IsEmpty());
  EXPECT_EQ(DropFutureSamples(series, 0), 0U);
}

TEST(ClientCountFoldSeries, GivesItsNewestSamplesNewestFirst) {
  const Series series{{1, 10}, {2, 20}, {3, 30}};
  EXPECT_THAT(NewestSamples(series, 2), ElementsAre(Pair(3, 30), Pair(2, 20)));
  EXPECT_THAT(NewestSamples(series, 5), ElementsAre(Pair(3, 30), Pair(2, 20), Pair(1, 10)));
  EXPECT_THAT(NewestSamples({}, 5), IsEmpty());
}

TEST(ClientCountFoldSeries, HasThePeakOfItsSamples) {
  EXPECT_EQ(Peak({{5, 1}, {4, 7}, {3, 2}, {2, 7}, {1, 3}}), 7);
  EXPECT_EQ(Peak({}), 0);
}

TEST(ClientCountFoldSeries, IsDueWithEnoughSamplesAndEnoughTimeSinceTheLongerViewsNewest) {
  EXPECT_TRUE(IsDue(Minutes(101, 105, 1), {}, 5, 5));
  EXPECT_FALSE(IsDue(Minutes(101, 104, 1), {}, 5, 5));
  EXPECT_TRUE(IsDue(Minutes(101, 105, 1), {{100, 1}}, 5, 5));
  EXPECT_FALSE(IsDue(Minutes(101, 105, 1), {{101, 1}}, 5, 5));
  EXPECT_FALSE(IsDue({}, {}, 5, 5));
}

TEST(ClientCountFoldSeries, IsNotDueByAnOverflow) {
  constexpr int kFirst = std::numeric_limits<int>::min();
  constexpr int kLast = std::numeric_limits<int>::max();
  EXPECT_FALSE(IsDue({{kFirst, 1}}, {{kLast, 1}}, 1, 5));
  EXPECT_TRUE(IsDue({{kLast, 1}}, {{kFirst, 1}}, 1, 5));
}

TEST(ClientCountFoldTotals, AreSumsMinuteByMinute) {
  Totals totals;
  AddTo(totals, {{1, 10}, {2, 20}});
  AddTo(totals, {{2, 5}, {3, 6}});
  EXPECT_EQ(totals, (Totals{{1, 10}, {2, 25}, {3, 6}}));
}

TEST(ClientCountFoldTotals, KeepTheThirtyLatestMinutes) {
  Totals totals;
  AddTo(totals, Minutes(1, 30, 1));
  AddTo(totals, {{31, 4}});
  Totals expected = Minutes(2, 30, 1);
  expected[31] = 4;
  EXPECT_EQ(totals, expected);
  // a minute older than all thirty is the oldest one itself
  AddTo(totals, {{1, 9}});
  EXPECT_EQ(totals, expected);
}

TEST(ClientCountFoldTotals, AreTrimmedAfterEachMinuteThatIsAdded) {
  Totals totals = Minutes(1, 30, 1);
  AddTo(totals, {{31, 4}, {32, 5}});
  Totals expected = Minutes(3, 30, 1);
  expected[31] = 4;
  expected[32] = 5;
  EXPECT_EQ(totals, expected);
  // added to full totals, a minute that is too old goes at once, and does not cost another one its place
  AddTo(totals, {{1, 9}, {2, 9}});
  EXPECT_EQ(totals, expected);
}

TEST(ClientCountFoldSeries, TellsOfNoClientsWithThirtyZeroes) {
  EXPECT_TRUE(HasFewZeroes({}));
  EXPECT_TRUE(HasFewZeroes(Minutes(1, 29, 0)));
  EXPECT_FALSE(HasFewZeroes(Minutes(1, 30, 0)));
  Series series = Minutes(1, 30, 0);
  series[30] = 1;
  EXPECT_TRUE(HasFewZeroes(series));
}

TEST(ClientCountFoldCurrent, IsTheSumOverDevicesOrThatOfOne) {
  const CurrentCounts by_ssid{
      {"", {{"A", {1, 0}}}}, {"Guest", {{"B", {4, 0}}}}, {"Office", {{"A", {2, 0}}, {"B", {3, 0}}}}};
  EXPECT_EQ(Sum(by_ssid.at("Office")), 5);
  EXPECT_EQ(CountBySsid(by_ssid, ""), (CountById{{"Guest", 4}, {"Office", 5}}));
  EXPECT_EQ(CountBySsid(by_ssid, "A"), (CountById{{"Guest", 0}, {"Office", 2}}));
}

}  // namespace
