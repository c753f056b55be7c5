#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/utilities/locks.h"

namespace monitoring::wirelesstop {

/// Which of two comes first in a ranking: true when `a` has more. Of equals neither does.
bool compare_by_in(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b);
bool compare_by_out(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b);
bool compare_by_total(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b);  ///< in + out, which may wrap.
bool compare_by_count(ClientCount a, ClientCount b);

/// One place in a ranking.
struct RankedStream {
  std::uint64_t value = 0;  ///< What it is ranked by, kept beside it: a ranking reads it for every stream there is.
  std::shared_ptr<NetStream> stream;
};

/// Streams ranked by one measure, largest first; equals by name, ascending.
///
/// The list is made when somebody first looks at it, and put in order as far from the top as somebody has looked: what
/// nobody asks for costs nothing, and who wants the first five of 50,000 does not pay for the order of the rest.
///
/// Threads: any, several at once. Top places that were handed out stay as they are when somebody else looks deeper.
class StreamRanking {
 public:
  /// What the streams are ranked by, such as their KiB received.
  using Measure = std::uint64_t (*)(const NetStream&);

  /// `streams` must stay as they are for as long as the ranking lives.
  StreamRanking(const Streams& streams, Measure measure);

  /// The first `count` places, or all when there are fewer. Valid as long as the ranking.
  std::span<const RankedStream> Top(std::size_t count) const VEXORA_EXCLUDES(order_lock_);

 private:
  /// Makes the list, in the order of the names.
  void Fill() const VEXORA_REQUIRES(order_lock_);
  /// Puts the first `depth` places in order.
  void OrderTo(std::size_t depth) const VEXORA_REQUIRES(order_lock_);

  const Streams& streams_;
  Measure measure_;
  mutable utilities::lock::Mutex order_lock_;
  // The first `ordered_` places have their final content: who was handed them reads them without the lock.
  mutable std::vector<RankedStream> places_ VEXORA_GUARDED_BY(order_lock_);
  mutable std::size_t ordered_ VEXORA_GUARDED_BY(order_lock_) = 0;
};

/// "in", "out", "total" -> the ranking by that.
using StreamRankings = std::map<std::string, StreamRanking>;

/// Ranks the streams by all three measures, in place of what `rankings` held. They must stay as they are for as long as
/// the rankings live.
void RankStreams(const Streams& streams, StreamRankings& rankings);

/// The counts, largest first; equals by name, ascending.
std::vector<ClientCount> RankCounts(const ClientCounts& counts);

}  // namespace monitoring::wirelesstop
