#pragma once

#include <vector>

#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_fold.h"

namespace monitoring::wirelesstop {

/// The streams that a filter wants to see, in its order. None for an `orderby` that names no ranking, or for a count of
/// 0 or less.
///
/// Owner: they belong to the rankings, which must stay as they are meanwhile.
std::vector<const NetStream*> TopStreams(const StreamRankings& rankings, const TrafficFilter& filter);

/// The counts that a filter wants to see, in its order. For a negative count none, largest first, but all of them in
/// the other order.
///
/// Owner: they belong to the ranking, which must stay as it is meanwhile.
std::vector<const ClientCount*> TopCounts(const std::vector<ClientCount>& ranking, const ClientsFilter& filter);

}  // namespace monitoring::wirelesstop
