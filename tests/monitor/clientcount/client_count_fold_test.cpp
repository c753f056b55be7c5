#include "monitor/clientcount/client_count_fold.h"
#include "monitor/clientcount/client_count_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

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
  EXPECT_EQ(series[30], 7);
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

class ClientCountFoldPairs : public ::testing::Test {
 protected:
  // "Lab" has no clients at present, and neither has the attic.
  const Pairs pairs{{"attic", {{"Guest", {0, 0}}}},
                    {"hall", {{"", {1, 0}}, {"Lab", {0, 0}}, {"Office", {2, 0}}}},
                    {"lobby", {{"Guest", {4, 0}}, {"Office", {3, 0}}}}};
};

TEST_F(ClientCountFoldPairs, SumUpToTheClientsOfADevice) {
  EXPECT_EQ(CountByDevice(pairs), (CountById{{"hall", 3}, {"lobby", 7}}));
}

TEST_F(ClientCountFoldPairs, SumUpToTheClientsOfAnSsidOnAllDevicesOrOnOne) {
  EXPECT_EQ(CountBySsid(pairs, ""), (CountById{{"", 1}, {"Guest", 4}, {"Office", 5}}));
  EXPECT_EQ(CountBySsid(pairs, "hall"), (CountById{{"", 1}, {"Guest", 0}, {"Office", 2}}));
  EXPECT_EQ(CountBySsid(pairs, "unknown"), (CountById{{"", 0}, {"Guest", 0}, {"Office", 0}}));
}

TEST_F(ClientCountFoldPairs, AreCurrentWhenTheyHaveClients) {
  const auto ssids = [this](const std::string& mac) {
    std::vector<std::string> found;
    for (const auto& [device, counts] : Current(pairs, mac)) {
      for (const auto& [ssid, count] : counts) found.push_back(device + "/" + ssid);
    }
    return found;
  };
  EXPECT_THAT(ssids(""), ElementsAre("hall/", "hall/Office", "lobby/Guest", "lobby/Office"));
  EXPECT_THAT(ssids("lobby"), ElementsAre("lobby/Guest", "lobby/Office"));
  EXPECT_THAT(ssids("attic"), IsEmpty());
  EXPECT_THAT(ssids("unknown"), IsEmpty());
}

TEST(ClientCountFoldSeries, HasOneSampleAMinuteInOrderWhateverTheOrderTheyComeIn) {
  Series series{{5, 1}, {3, 2}, {4, 3}, {5, 4}};
  series[1] = 9;
  EXPECT_EQ(series, (Series{{1, 9}, {3, 2}, {4, 3}, {5, 4}}));
  EXPECT_THAT(series, ElementsAre(Pair(1, 9), Pair(3, 2), Pair(4, 3), Pair(5, 4)));
}

}  // namespace
