#include "monitor/wirelesstop/wireless_top_fold.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <utility>

namespace {

using monitoring::wirelesstop::ClientCount;
using monitoring::wirelesstop::NetStream;
using monitoring::wirelesstop::RankCounts;
using monitoring::wirelesstop::RankedStream;
using monitoring::wirelesstop::RankStreams;
using monitoring::wirelesstop::StreamRanking;
using monitoring::wirelesstop::StreamRankings;
using monitoring::wirelesstop::Streams;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using Names = std::vector<std::string>;

std::shared_ptr<NetStream> Stream(std::uint64_t in, std::uint64_t out, const std::string& name = "") {
  return std::make_shared<NetStream>(NetStream{.in = in, .out = out, .name = name, .desc = {}});
}

/// Streams filed under their names.
Streams Filed(const std::vector<std::shared_ptr<NetStream>>& streams) {
  Streams filed;
  for (const auto& stream : streams) filed[stream->name] = stream;
  return filed;
}

/// Streams and the rankings of them.
class Ranked {
 public:
  explicit Ranked(Streams streams) : streams_(std::move(streams)) { RankStreams(streams_, rankings); }
  Ranked(const Ranked&) = delete;
  Ranked& operator=(const Ranked&) = delete;

  const StreamRanking& By(const char* measure) const { return rankings.at(measure); }

  StreamRankings rankings;

 private:
  Streams streams_;
};

std::vector<std::shared_ptr<NetStream>> TopStreams(const StreamRanking& ranking, std::size_t count) {
  std::vector<std::shared_ptr<NetStream>> streams;
  for (const RankedStream& place : ranking.Top(count)) streams.push_back(place.stream);
  return streams;
}

Names TopNames(const StreamRanking& ranking, std::size_t count) {
  Names names;
  for (const auto& stream : TopStreams(ranking, count)) names.push_back(stream->name);
  return names;
}

/// So many streams of random traffic, with many equal values among them.
Streams RandomStreams(std::mt19937& dice, int count) {
  Streams streams;
  for (int number = 0; number < count; ++number) {
    auto stream = Stream(dice() % 20, dice() % 20, std::to_string(dice()));
    streams[stream->name] = stream;
  }
  return streams;
}

TEST(Comparisons, PutTheLargerFirstAndNeitherOfEquals) {
  const auto more_in = Stream(10, 0);
  const auto more_in_all = Stream(6, 6);
  EXPECT_TRUE(compare_by_in(more_in, more_in_all));
  EXPECT_FALSE(compare_by_in(more_in_all, more_in));
  EXPECT_FALSE(compare_by_in(more_in, Stream(10, 7)));
  EXPECT_TRUE(compare_by_out(more_in_all, more_in));
  EXPECT_FALSE(compare_by_out(more_in, more_in_all));
  EXPECT_FALSE(compare_by_out(more_in, Stream(1, 0)));
  EXPECT_TRUE(compare_by_total(more_in_all, more_in));
  EXPECT_FALSE(compare_by_total(more_in, more_in_all));
  EXPECT_FALSE(compare_by_total(more_in, Stream(5, 5)));
}

TEST(Comparisons, CountAsUnsignedNumbersWhoseSumMayWrap) {
  constexpr auto kGreatest = std::numeric_limits<std::uint64_t>::max();
  EXPECT_TRUE(compare_by_in(Stream(kGreatest, 0), Stream(1, 0)));
  EXPECT_TRUE(compare_by_out(Stream(0, kGreatest), Stream(0, 1)));
  EXPECT_TRUE(compare_by_total(Stream(1, 0), Stream(kGreatest, 1))) << "which is 0 in all";
}

TEST(Comparisons, OfClientsAreSigned) {
  const auto counted = [](std::int32_t count) { return ClientCount{.name = "", .count = count}; };
  EXPECT_TRUE(compare_by_count(counted(1), counted(0)));
  EXPECT_TRUE(compare_by_count(counted(0), counted(-1)));
  EXPECT_FALSE(compare_by_count(counted(-1), counted(0)));
  EXPECT_FALSE(compare_by_count(counted(3), counted(3)));
}

TEST(StreamRanking, HasTheLargestFirstByEachMeasure) {
  const Ranked ranked(Filed({Stream(10, 0, "down"), Stream(0, 11, "up"), Stream(6, 6, "both"), Stream(1, 1, "idle")}));
  EXPECT_EQ(TopNames(ranked.By("in"), 4), (Names{"down", "both", "idle", "up"}));
  EXPECT_EQ(TopNames(ranked.By("out"), 4), (Names{"up", "both", "idle", "down"}));
  EXPECT_EQ(TopNames(ranked.By("total"), 4), (Names{"both", "up", "down", "idle"}));
}

TEST(StreamRanking, ByTotalCanDifferFromBothOthers) {
  const Ranked ranked(Filed({Stream(10, 0, "a"), Stream(6, 6, "b")}));
  EXPECT_EQ(TopNames(ranked.By("total"), 2), (Names{"b", "a"}));
  EXPECT_EQ(TopNames(ranked.By("in"), 2), (Names{"a", "b"}));
}

TEST(StreamRanking, KeepsEqualStreamsInTheOrderOfTheirNames) {
  const Ranked ranked(Filed({Stream(5, 0, "c"), Stream(5, 0, "a"), Stream(5, 0, "b")}));
  EXPECT_EQ(TopNames(ranked.By("in"), 3), (Names{"a", "b", "c"}));
  EXPECT_EQ(TopNames(ranked.By("out"), 2), (Names{"a", "b"}));
}

TEST(StreamRanking, GivesNoMoreThanThereAre) {
  const Ranked ranked(Filed({Stream(5, 0, "c"), Stream(6, 0, "a")}));
  EXPECT_THAT(TopNames(ranked.By("in"), 0), IsEmpty());
  EXPECT_EQ(TopNames(ranked.By("in"), 1), (Names{"a"}));
  EXPECT_EQ(TopNames(ranked.By("in"), 2), (Names{"a", "c"}));
  EXPECT_EQ(TopNames(ranked.By("in"), 3), (Names{"a", "c"}));
  EXPECT_EQ(TopNames(ranked.By("in"), std::numeric_limits<std::size_t>::max()), (Names{"a", "c"}));
}

TEST(StreamRanking, SharesTheStreamsWithTheMapAndTheOtherRankings) {
  const auto stream = Stream(1, 2, "a");
  const Ranked ranked(Filed({stream}));
  for (const char* key : {"in", "out", "total"}) {
    EXPECT_THAT(TopStreams(ranked.By(key), 1), ElementsAre(stream));
  }
}

TEST(StreamRanking, ThereIsOneForEachMeasureAlsoOfNoStreams) {
  const Ranked ranked({});
  EXPECT_THAT(ranked.rankings, ElementsAre(Key("in"), Key("out"), Key("total")));
  EXPECT_THAT(ranked.By("in").Top(5), IsEmpty());
}

TEST(StreamRanking, TakesThePlaceOfAnEarlierOne) {
  const Streams later = Filed({Stream(1, 0, "b")});
  Ranked ranked(Filed({Stream(5, 0, "a")}));
  EXPECT_EQ(TopNames(ranked.By("in"), 5), (Names{"a"}));
  RankStreams(later, ranked.rankings);
  EXPECT_EQ(TopNames(ranked.By("in"), 5), (Names{"b"}));
}

TEST(StreamRanking, IsThatOfAStableSortByTheComparisonHoweverDeepOneLooksAndInWhateverOrder) {
  std::mt19937 dice(20261115);
  for (int round = 0; round < 200; ++round) {
    const Streams streams = RandomStreams(dice, static_cast<int>(dice() % 60));
    std::vector<std::shared_ptr<NetStream>> sorted;
    for (const auto& [name, stream] : streams) sorted.push_back(stream);
    std::stable_sort(sorted.begin(), sorted.end(), &monitoring::wirelesstop::compare_by_total);

    const Ranked ranked(streams);
    for (int look = 0; look < 10; ++look) {
      const std::size_t depth = dice() % 70;
      const auto top = TopStreams(ranked.By("total"), depth);
      const auto end = sorted.begin() + static_cast<std::ptrdiff_t>(std::min(depth, sorted.size()));
      EXPECT_EQ(top, (std::vector(sorted.begin(), end))) << "round " << round << ", depth " << depth;
    }
  }
}

TEST(StreamRanking, KeepsWhatItHandedOutWhenSomebodyLooksDeeper) {
  std::mt19937 dice(7);
  const Ranked ranked(RandomStreams(dice, 500));
  const StreamRanking& ranking = ranked.By("in");
  const auto top = ranking.Top(5);
  const Names before = TopNames(ranking, 5);
  for (std::size_t depth = 6; depth <= 500; depth += 7) ranking.Top(depth);
  Names after;
  for (const RankedStream& place : top) after.push_back(place.stream->name);
  EXPECT_EQ(after, before);
}

TEST(StreamRanking, KnowsNothingOfAStreamThatCameAfterItsFirstLook) {
  Streams streams;
  AddOctets(StreamOf(streams, "a"), 1 << 20, 0);
  const StreamRanking ranking(streams, [](const NetStream& stream) { return stream.in; });
  EXPECT_EQ(TopNames(ranking, 5), Names{"a"});
  AddOctets(StreamOf(streams, "b"), 1 << 21, 0);
  EXPECT_EQ(TopNames(ranking, 5), Names{"a"});
}

TEST(RankCounts, HasTheLargestFirstAndEqualsInTheOrderOfTheirNames) {
  EXPECT_THAT(RankCounts({{"a", 3}, {"b", 7}, {"c", -1}, {"d", 3}, {"e", 0}}),
              ElementsAre(ClientCount{"b", 7}, ClientCount{"a", 3}, ClientCount{"d", 3}, ClientCount{"e", 0},
                          ClientCount{"c", -1}));
  EXPECT_THAT(RankCounts({}), IsEmpty());
}

TEST(RankCounts, IsThatOfAStableSortByTheComparison) {
  std::mt19937 dice(11);
  monitoring::wirelesstop::ClientCounts counts;
  for (int number = 0; number < 300; ++number) counts[std::to_string(dice())] = static_cast<std::int32_t>(dice() % 9);
  std::vector<ClientCount> sorted;
  for (const auto& [name, count] : counts) sorted.push_back({name, count});
  std::stable_sort(sorted.begin(), sorted.end(), &monitoring::wirelesstop::compare_by_count);
  EXPECT_EQ(RankCounts(counts), sorted);
}

}  // namespace
