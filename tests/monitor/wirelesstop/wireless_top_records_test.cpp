#include "monitor/wirelesstop/wireless_top_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace {

using monitoring::wirelesstop::AddClients;
using monitoring::wirelesstop::AddOctets;
using monitoring::wirelesstop::ClientCounts;
using monitoring::wirelesstop::NetStream;
using monitoring::wirelesstop::StreamOf;
using monitoring::wirelesstop::Streams;
using ::testing::ElementsAre;
using ::testing::Pair;
using Kibs = std::pair<std::uint64_t, std::uint64_t>;

Kibs Added(std::uint64_t in_bytes, std::uint64_t out_bytes) {
  NetStream stream;
  AddOctets(stream, in_bytes, out_bytes);
  return {stream.in, stream.out};
}

TEST(NetStream, StartsEmpty) {
  const NetStream stream;
  EXPECT_EQ(stream.in, 0U);
  EXPECT_EQ(stream.out, 0U);
  EXPECT_EQ(stream.name, "");
  EXPECT_EQ(stream.desc, "");
}

TEST(NetStream, CountsNothingFor1023OctetsAndOneKibFor1024) {
  EXPECT_EQ(Added(1023, 1024), Kibs(0, 1));
  EXPECT_EQ(Added(1024, 1023), Kibs(1, 0));
  EXPECT_EQ(Added(2047, 2048), Kibs(1, 2));
}

TEST(NetStream, TakesTheGreatestCounter) {
  constexpr auto kGreatest = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(Added(kGreatest, 0), Kibs(kGreatest / 1024, 0));
}

TEST(NetStream, DropsTheRestOfAKibAtEachAddition) {
  NetStream stream;
  AddOctets(stream, 1023, 2047);
  AddOctets(stream, 1023, 2047);
  EXPECT_EQ(Kibs(stream.in, stream.out), Kibs(0, 2)) << "not the 1 and 3 of the sums";
}

TEST(StreamOf, MakesAStreamOfThisNameAndDescriptionOnce) {
  Streams streams;
  StreamOf(streams, "a", "first").in = 3;
  NetStream& again = StreamOf(streams, "a", "second");
  EXPECT_EQ(again.name, "a");
  EXPECT_EQ(again.desc, "first") << "set when the stream is made, and then no more";
  EXPECT_EQ(again.in, 3U);
  EXPECT_THAT(streams, ElementsAre(Pair("a", ::testing::Pointer(&again))));
}

TEST(AddClients, StartsAtNoneAndAddsUp) {
  ClientCounts counts;
  AddClients(counts, "Guest", 0);
  EXPECT_THAT(counts, ElementsAre(Pair("Guest", 0)));
  AddClients(counts, "Guest", 3);
  AddClients(counts, "Guest", 4);
  AddClients(counts, "Cellar", -2);
  EXPECT_THAT(counts, ElementsAre(Pair("Cellar", -2), Pair("Guest", 7)));
}

TEST(AddClients, WrapsWhereTheSumIsTooGreat) {
  ClientCounts counts;
  AddClients(counts, "Guest", std::numeric_limits<std::int32_t>::max());
  AddClients(counts, "Guest", 2);
  EXPECT_THAT(counts, ElementsAre(Pair("Guest", std::numeric_limits<std::int32_t>::min() + 1)));
}

}  // namespace
