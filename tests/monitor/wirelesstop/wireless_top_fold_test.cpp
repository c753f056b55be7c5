#include "monitor/wirelesstop/wireless_top_fold.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/device_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <utility>

namespace {

using monitoring::wirelesstop::AddClients;
using monitoring::wirelesstop::AddOctets;
using monitoring::wirelesstop::ClientCount;
using monitoring::wirelesstop::ClientCounts;
using monitoring::wirelesstop::NetStream;
using monitoring::wirelesstop::Rank;
using monitoring::wirelesstop::RankCounts;
using monitoring::wirelesstop::RankedStream;
using monitoring::wirelesstop::Rankings;
using monitoring::wirelesstop::RankStreams;
using monitoring::wirelesstop::StreamList;
using monitoring::wirelesstop::StreamOf;
using monitoring::wirelesstop::StreamRanking;
using monitoring::wirelesstop::StreamRankings;
using monitoring::wirelesstop::Streams;
using monitoring::wirelesstop::Totals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using Kibs = std::pair<std::uint64_t, std::uint64_t>;
using vexora_probe::models::controller::AssocClientState;
using vexora_probe::models::controller::SSIDIfState;
using vexora_probe::models::controller::TrafficStats;
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

  StreamRanking& By(const char* measure) { return rankings.at(measure); }

  StreamRankings rankings;

 private:
  Streams streams_;
};

std::vector<const NetStream*> TopStreams(StreamRanking& ranking, std::size_t count) {
  std::vector<const NetStream*> streams;
  for (const RankedStream& place : ranking.Top(count)) streams.push_back(place.stream);
  return streams;
}

Names TopNames(StreamRanking& ranking, std::size_t count) {
  Names names;
  for (const NetStream* stream : TopStreams(ranking, count)) names.push_back(stream->name);
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

/// The KiB in and out that a stream counts for octets added once.
Kibs Added(std::uint64_t in_bytes, std::uint64_t out_bytes) {
  NetStream stream;
  AddOctets(stream, in_bytes, out_bytes);
  return {stream.in, stream.out};
}

TEST(WirelessTopFoldOctets, CountsNothingFor1023OctetsAndOneKibFor1024) {
  EXPECT_EQ(Added(1023, 1024), Kibs(0, 1));
  EXPECT_EQ(Added(1024, 1023), Kibs(1, 0));
  EXPECT_EQ(Added(2047, 2048), Kibs(1, 2));
}

TEST(WirelessTopFoldOctets, TakesTheGreatestCounter) {
  constexpr auto kGreatest = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(Added(kGreatest, 0), Kibs(kGreatest / 1024, 0));
}

TEST(WirelessTopFoldOctets, DropsTheRestOfAKibAtEachAddition) {
  NetStream stream;
  AddOctets(stream, 1023, 2047);
  AddOctets(stream, 1023, 2047);
  EXPECT_EQ(Kibs(stream.in, stream.out), Kibs(0, 2)) << "not the 1 and 3 of the sums";
}

TEST(WirelessTopFoldStreams, MakesAStreamOfThisNameAndDescriptionOnce) {
  Streams streams;
  StreamOf(streams, "a", "first").in = 3;
  NetStream& again = StreamOf(streams, "a", "second");
  EXPECT_EQ(again.name, "a");
  EXPECT_EQ(again.desc, "first") << "set when the stream is made, and then no more";
  EXPECT_EQ(again.in, 3U);
  EXPECT_THAT(streams, ElementsAre(Pair("a", ::testing::Pointer(&again))));
}

TEST(WirelessTopFoldClients, StartsAtNoneAndAddsUp) {
  ClientCounts counts;
  AddClients(counts, "Guest", 0);
  EXPECT_THAT(counts, ElementsAre(Pair("Guest", 0)));
  AddClients(counts, "Guest", 3);
  AddClients(counts, "Guest", 4);
  AddClients(counts, "Cellar", -2);
  EXPECT_THAT(counts, ElementsAre(Pair("Cellar", -2), Pair("Guest", 7)));
}

TEST(WirelessTopFoldClients, WrapsWhereTheSumIsTooGreat) {
  ClientCounts counts;
  AddClients(counts, "Guest", std::numeric_limits<std::int32_t>::max());
  AddClients(counts, "Guest", 2);
  EXPECT_THAT(counts, ElementsAre(Pair("Guest", std::numeric_limits<std::int32_t>::min() + 1)));
}

TEST(WirelessTopFoldComparisons, PutTheLargerFirstAndNeitherOfEquals) {
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

TEST(WirelessTopFoldComparisons, CountAsUnsignedNumbersWhoseSumMayWrap) {
  constexpr auto kGreatest = std::numeric_limits<std::uint64_t>::max();
  EXPECT_TRUE(compare_by_in(Stream(kGreatest, 0), Stream(1, 0)));
  EXPECT_TRUE(compare_by_out(Stream(0, kGreatest), Stream(0, 1)));
  EXPECT_TRUE(compare_by_total(Stream(1, 0), Stream(kGreatest, 1))) << "which is 0 in all";
}

TEST(WirelessTopFoldComparisons, OfClientsAreSigned) {
  const auto counted = [](std::int32_t count) { return ClientCount{.name = "", .count = count}; };
  EXPECT_TRUE(compare_by_count(counted(1), counted(0)));
  EXPECT_TRUE(compare_by_count(counted(0), counted(-1)));
  EXPECT_FALSE(compare_by_count(counted(-1), counted(0)));
  EXPECT_FALSE(compare_by_count(counted(3), counted(3)));
}

TEST(WirelessTopFoldRanking, HasTheLargestFirstByEachMeasure) {
  Ranked ranked(Filed({Stream(10, 0, "down"), Stream(0, 11, "up"), Stream(6, 6, "both"), Stream(1, 1, "idle")}));
  EXPECT_EQ(TopNames(ranked.By("in"), 4), (Names{"down", "both", "idle", "up"}));
  EXPECT_EQ(TopNames(ranked.By("out"), 4), (Names{"up", "both", "idle", "down"}));
  EXPECT_EQ(TopNames(ranked.By("total"), 4), (Names{"both", "up", "down", "idle"}));
}

TEST(WirelessTopFoldRanking, ByTotalCanDifferFromBothOthers) {
  Ranked ranked(Filed({Stream(10, 0, "a"), Stream(6, 6, "b")}));
  EXPECT_EQ(TopNames(ranked.By("total"), 2), (Names{"b", "a"}));
  EXPECT_EQ(TopNames(ranked.By("in"), 2), (Names{"a", "b"}));
}

TEST(WirelessTopFoldRanking, KeepsEqualStreamsInTheOrderOfTheirNames) {
  Ranked ranked(Filed({Stream(5, 0, "c"), Stream(5, 0, "a"), Stream(5, 0, "b")}));
  EXPECT_EQ(TopNames(ranked.By("in"), 3), (Names{"a", "b", "c"}));
  EXPECT_EQ(TopNames(ranked.By("out"), 2), (Names{"a", "b"}));
}

TEST(WirelessTopFoldRanking, GivesNoMoreThanThereAre) {
  Ranked ranked(Filed({Stream(5, 0, "c"), Stream(6, 0, "a")}));
  EXPECT_THAT(TopNames(ranked.By("in"), 0), IsEmpty());
  EXPECT_EQ(TopNames(ranked.By("in"), 1), (Names{"a"}));
  EXPECT_EQ(TopNames(ranked.By("in"), 2), (Names{"a", "c"}));
  EXPECT_EQ(TopNames(ranked.By("in"), 3), (Names{"a", "c"}));
  EXPECT_EQ(TopNames(ranked.By("in"), std::numeric_limits<std::size_t>::max()), (Names{"a", "c"}));
}

TEST(WirelessTopFoldRanking, SharesTheStreamsWithTheMapAndTheOtherRankings) {
  const auto stream = Stream(1, 2, "a");
  Ranked ranked(Filed({stream}));
  for (const char* key : {"in", "out", "total"}) {
    EXPECT_THAT(TopStreams(ranked.By(key), 1), ElementsAre(stream.get()));
  }
}

TEST(WirelessTopFoldRanking, ThereIsOneForEachMeasureAlsoOfNoStreams) {
  Ranked ranked({});
  EXPECT_THAT(ranked.rankings, ElementsAre(Key("in"), Key("out"), Key("total")));
  EXPECT_THAT(ranked.By("in").Top(5), IsEmpty());
}

TEST(WirelessTopFoldRanking, TakesThePlaceOfAnEarlierOne) {
  const Streams later = Filed({Stream(1, 0, "b")});
  Ranked ranked(Filed({Stream(5, 0, "a")}));
  EXPECT_EQ(TopNames(ranked.By("in"), 5), (Names{"a"}));
  RankStreams(later, ranked.rankings);
  EXPECT_EQ(TopNames(ranked.By("in"), 5), (Names{"b"}));
}

TEST(WirelessTopFoldRanking, IsThatOfAStableSortByTheComparisonHoweverDeepOneLooksAndInWhateverOrder) {
  std::mt19937 dice(20261115);
  for (int round = 0; round < 200; ++round) {
    const Streams streams = RandomStreams(dice, static_cast<int>(dice() % 60));
    // Equals come in the order of their names.
    const std::map<std::string, std::shared_ptr<NetStream>> by_name(streams.begin(), streams.end());
    std::vector<std::shared_ptr<NetStream>> sorted;
    for (const auto& [name, stream] : by_name) sorted.push_back(stream);
    std::stable_sort(sorted.begin(), sorted.end(), &monitoring::wirelesstop::compare_by_total);

    Ranked ranked(streams);
    for (int look = 0; look < 10; ++look) {
      const std::size_t depth = dice() % 70;
      const auto top = TopStreams(ranked.By("total"), depth);
      std::vector<const NetStream*> expected;
      for (std::size_t place = 0; place < std::min(depth, sorted.size()); ++place) {
        expected.push_back(sorted[place].get());
      }
      EXPECT_EQ(top, expected) << "round " << round << ", depth " << depth;
    }
  }
}

TEST(WirelessTopFoldRanking, KeepsWhatItHandedOutWhenSomebodyLooksDeeper) {
  std::mt19937 dice(7);
  Ranked ranked(RandomStreams(dice, 500));
  StreamRanking& ranking = ranked.By("in");
  const auto top = ranking.Top(5);
  const Names before = TopNames(ranking, 5);
  for (std::size_t depth = 6; depth <= 500; depth += 7) ranking.Top(depth);
  Names after;
  for (const RankedStream& place : top) after.push_back(place.stream->name);
  EXPECT_EQ(after, before);
}

TEST(WirelessTopFoldRanking, KnowsNothingOfAStreamThatCameAfterItsFirstLook) {
  Streams streams;
  AddOctets(StreamOf(streams, "a"), 1 << 20, 0);
  StreamRanking ranking(std::make_shared<StreamList>(streams), [](const NetStream& stream) { return stream.in; });
  EXPECT_EQ(TopNames(ranking, 5), Names{"a"});
  AddOctets(StreamOf(streams, "b"), 1 << 21, 0);
  EXPECT_EQ(TopNames(ranking, 5), Names{"a"});
}

TEST(WirelessTopFoldCounts, HasTheLargestFirstAndEqualsInTheOrderOfTheirNames) {
  EXPECT_THAT(RankCounts({{"a", 3}, {"b", 7}, {"c", -1}, {"d", 3}, {"e", 0}}),
              ElementsAre(ClientCount{"b", 7}, ClientCount{"a", 3}, ClientCount{"d", 3}, ClientCount{"e", 0},
                          ClientCount{"c", -1}));
  EXPECT_THAT(RankCounts({}), IsEmpty());
}

TEST(WirelessTopFoldCounts, IsThatOfAStableSortByTheComparison) {
  std::mt19937 dice(11);
  ClientCounts counts;
  for (int number = 0; number < 300; ++number) counts[std::to_string(dice())] = static_cast<std::int32_t>(dice() % 9);
  std::vector<ClientCount> sorted;
  for (const auto& [name, count] : counts) sorted.push_back({name, count});
  std::stable_sort(sorted.begin(), sorted.end(), &monitoring::wirelesstop::compare_by_count);
  EXPECT_EQ(RankCounts(counts), sorted);
}

SSIDIfState Interface(const std::string& ssid, std::int32_t client_count,
                      const std::vector<AssocClientState>& clients) {
  SSIDIfState network;
  network.ssid = ssid;
  network.traffic = std::make_shared<TrafficStats>(TrafficStats{.if_index = 1, .in_bytes = 4096, .out_bytes = 1024});
  network.client_count = client_count;
  network.clients.assign(clients.begin(), clients.end());
  return network;
}

TEST(WirelessTopFoldNetworks, AddsToTheDeviceTheSsidAndEachClient) {
  Totals totals;
  AddNetwork("ap1", Interface("Office", 2, {{.mac = "c1", .hostname = "pc", .in_bytes = 2048, .out_bytes = 0}}), {"c1"},
             totals);
  AddNetwork("ap2", Interface("Office", 3, {{.mac = "c1", .hostname = "", .in_bytes = 1024, .out_bytes = 1024}}),
             {"c1"}, totals);
  EXPECT_THAT(totals.device_clients, ElementsAre(Pair("ap1", 2), Pair("ap2", 3)));
  EXPECT_THAT(totals.ssid_clients, ElementsAre(Pair("Office", 5)));
  EXPECT_EQ(totals.devices.at("ap2")->in, 4U);
  EXPECT_EQ(totals.ssids.at("Office")->in, 8U);
  EXPECT_EQ(totals.ssids.at("Office")->out, 2U);
  EXPECT_EQ(totals.clients.at("c1")->in, 3U);
  EXPECT_EQ(totals.clients.at("c1")->out, 1U);
  EXPECT_EQ(totals.clients.at("c1")->desc, "pc");
}

TEST(WirelessTopFoldNetworks, CountsAnInterfaceWithoutStatisticsAsIdle) {
  Totals totals;
  SSIDIfState network = Interface("Office", 1, {});
  network.traffic = nullptr;
  AddNetwork("ap", network, {}, totals);
  EXPECT_EQ(totals.devices.at("ap")->in, 0U);
  EXPECT_EQ(totals.ssids.at("Office")->out, 0U);
}

/// The totals of three devices with 3, 2 and 1 KiB in, and 1, 2 and 3 clients.
Totals ThreeDevices() {
  Totals totals;
  for (int number = 1; number <= 3; ++number) {
    const std::string mac = "ap" + std::to_string(number);
    AddOctets(StreamOf(totals.devices, mac), static_cast<std::uint64_t>(4 - number) * 1024, 0);
    AddClients(totals.device_clients, mac, number);
  }
  return totals;
}

Names SelectedTraffic(Rankings& rankings, std::int32_t count, const char* orderby, const char* flag) {
  WirelessTopFilter filter;
  filter.access_point.traffic.count = count;
  filter.access_point.traffic.orderby = orderby;
  filter.access_point.traffic.flag = flag;
  Names names;
  for (const NetStream* stream : Select(rankings, filter).device_traffic) names.push_back(stream->name);
  return names;
}

TEST(WirelessTopFoldSelection, TakesTheTopInTheOrderOfTheFlag) {
  const Totals totals = ThreeDevices();
  Rankings rankings;
  Rank(totals, rankings);
  EXPECT_EQ(SelectedTraffic(rankings, 2, "in", "desc"), (Names{"ap1", "ap2"}));
  EXPECT_EQ(SelectedTraffic(rankings, 2, "in", ""), (Names{"ap2", "ap1"})) << "the same two, smallest first";
  EXPECT_EQ(SelectedTraffic(rankings, 9, "total", "desc"), (Names{"ap1", "ap2", "ap3"}));
}

TEST(WirelessTopFoldSelection, TakesNoTrafficForACountOfNoneOrLessOrAnUnknownRanking) {
  const Totals totals = ThreeDevices();
  Rankings rankings;
  Rank(totals, rankings);
  EXPECT_THAT(SelectedTraffic(rankings, 0, "in", "desc"), IsEmpty());
  EXPECT_THAT(SelectedTraffic(rankings, -1, "in", ""), IsEmpty());
  EXPECT_THAT(SelectedTraffic(rankings, 2, "speed", "desc"), IsEmpty());
}

TEST(WirelessTopFoldSelection, TakesAllClientCountsForANegativeCountSmallestFirst) {
  const Totals totals = ThreeDevices();
  Rankings rankings;
  Rank(totals, rankings);
  WirelessTopFilter filter;
  filter.access_point.clients.count = -1;
  const auto all = Select(rankings, filter).device_clients;
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(*all.front(), (ClientCount{"ap1", 1}));
  filter.access_point.clients.flag = "desc";
  EXPECT_THAT(Select(rankings, filter).device_clients, IsEmpty());
}

}  // namespace
