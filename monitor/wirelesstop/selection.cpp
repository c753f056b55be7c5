#include "monitor/wirelesstop/selection.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace monitoring::wirelesstop {
namespace {

bool IsLargestFirst(const FilterBase& filter) {
  return filter.flag == "desc";
}

/// `count` as a number of entries: none for a negative one.
std::size_t AtLeastNone(std::int32_t count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

}  // namespace

std::vector<const NetStream*> TopStreams(const StreamRankings& rankings, const TrafficFilter& filter) {
  std::vector<const NetStream*> top;
  const auto ranking = rankings.find(filter.orderby);
  if (ranking == rankings.end()) return top;
  const auto places = ranking->second.Top(AtLeastNone(filter.count));
  top.reserve(places.size());
  for (const RankedStream& place : places) top.push_back(place.stream.get());
  if (!IsLargestFirst(filter)) std::reverse(top.begin(), top.end());
  return top;
}

std::vector<const ClientCount*> TopCounts(const std::vector<ClientCount>& ranking, const ClientsFilter& filter) {
  // taken as unsigned, a negative count is more than there can be: part of the protocol in this order only
  const std::size_t wanted =
      IsLargestFirst(filter) ? AtLeastNone(filter.count) : std::size_t{static_cast<std::uint32_t>(filter.count)};
  std::vector<const ClientCount*> top(std::min(wanted, ranking.size()));
  std::transform(ranking.begin(), ranking.begin() + static_cast<std::ptrdiff_t>(top.size()), top.begin(),
                 [](const ClientCount& count) { return &count; });
  if (!IsLargestFirst(filter)) std::reverse(top.begin(), top.end());
  return top;
}

}  // namespace monitoring::wirelesstop
