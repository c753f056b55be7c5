#include "monitor/wirelesstop/wireless_top_fold.h"

#include <algorithm>
#include <utility>

#include "monitor/engine/json_keys.h"

namespace monitoring::wirelesstop {
namespace {

std::uint64_t In(const NetStream& stream) {
  return stream.in;
}

std::uint64_t Out(const NetStream& stream) {
  return stream.out;
}

std::uint64_t Total(const NetStream& stream) {
  return stream.in + stream.out;
}

}  // namespace

// By value, as their callers know them. The rankings themselves go by the measures: copying two shared pointers for a
// comparison makes a sort twice as slow.
// NOLINTBEGIN(performance-unnecessary-value-param)
bool compare_by_in(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b) {
  return In(*a) > In(*b);
}

bool compare_by_out(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b) {
  return Out(*a) > Out(*b);
}

bool compare_by_total(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b) {
  return Total(*a) > Total(*b);
}

bool compare_by_count(ClientCount a, ClientCount b) {
  return a.count > b.count;
}
// NOLINTEND(performance-unnecessary-value-param)

StreamRanking::StreamRanking(const Streams& streams, Measure measure) : streams_(streams), measure_(measure) {}

std::span<const RankedStream> StreamRanking::Top(std::size_t count) const {
  const utilities::lock::lock_guard held(order_lock_);
  if (count == 0) return {};
  if (places_.empty()) Fill();
  const std::size_t size = places_.size();
  const std::size_t wanted = std::min(count, size);
  if (wanted > ordered_) {
    // who looks deeper and deeper, one place at a time, must not have the rest searched each time
    OrderTo(std::min(std::max(wanted, 2 * ordered_), size));
  }
  return {places_.data(), wanted};
}

void StreamRanking::Fill() const {
  places_.reserve(streams_.size());
  for (const auto& [name, stream] : streams_) places_.push_back({.value = measure_(*stream), .stream = stream});
}

void StreamRanking::OrderTo(std::size_t depth) const {
  const auto is_before = [](const RankedStream& left, const RankedStream& right) {
    return left.value != right.value ? left.value > right.value : left.stream->name < right.stream->name;
  };
  const auto first = places_.begin();
  std::partial_sort(first + static_cast<std::ptrdiff_t>(ordered_), first + static_cast<std::ptrdiff_t>(depth),
                    places_.end(), is_before);
  ordered_ = depth;
}

void RankStreams(const Streams& streams, StreamRankings& rankings) {
  rankings.clear();
  rankings.try_emplace(json_key::kIn, streams, &In);
  rankings.try_emplace(json_key::kOut, streams, &Out);
  rankings.try_emplace(json_key::kTotal, streams, &Total);
}

std::vector<ClientCount> RankCounts(const ClientCounts& counts) {
  std::vector<ClientCount> ranking;
  ranking.reserve(counts.size());
  for (const auto& [name, count] : counts) ranking.push_back({.name = name, .count = count});
  std::stable_sort(ranking.begin(), ranking.end(),
                   [](const ClientCount& left, const ClientCount& right) { return left.count > right.count; });
  return ranking;
}

}  // namespace monitoring::wirelesstop
