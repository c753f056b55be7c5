#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/device_records.h"

/// Sums, rankings and selections of the wireless top monitor. Takes no lock: the monitor holds those of what it hands
/// in.
namespace monitoring::wirelesstop {

/// The stream of this name, made with this description if there is none yet.
NetStream& StreamOf(Streams& streams, std::string name, const std::string& desc = {});

/// Adds octet counters to a stream, each cut to whole KiB before it is added.
void AddOctets(NetStream& stream, std::uint64_t in_bytes, std::uint64_t out_bytes);

/// Adds to a count, which starts at 0. A sum that 32 bits cannot hold wraps.
void AddClients(ClientCounts& counts, const std::string& name, std::int32_t clients);

/// Adds one SSID interface of a device to the totals: of the device, of the SSID and of each of its clients.
///
/// The client count is the interface's own, whatever clients it lists. `client_macs` are those of its clients,
/// formatted.
void AddNetwork(const std::string& mac, const vexora_probe::models::controller::SSIDIfState& network,
                std::vector<std::string> client_macs, Totals& totals);

/// Which of two comes first in a ranking: true when `a` has more. Of equals neither does.
bool compare_by_in(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b);
bool compare_by_out(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b);
bool compare_by_total(std::shared_ptr<NetStream> a, std::shared_ptr<NetStream> b);  ///< in + out, which may wrap.
bool compare_by_count(ClientCount a, ClientCount b);

/// One place in a ranking.
struct RankedStream {
  std::uint64_t value = 0;            ///< What it is ranked by: sorting reads this copy instead of each stream.
  const NetStream* stream = nullptr;  ///< One of the streams that are ranked.
};

/// Streams in no order, for all rankings of them: filled at the first look, so that the records, a walk over which
/// takes longer than finding the first few, are walked once, and only when somebody asks.
class StreamList {
 public:
  /// `streams` must not change as long as the list lives.
  explicit StreamList(const Streams& streams) : streams_(streams) {}

  const std::vector<const NetStream*>& All();

 private:
  const Streams& streams_;
  std::vector<const NetStream*> all_;  // empty before the first call of All
};

/// Streams ranked by one measure, largest first; equals by name, ascending.
///
/// Sorts lazily: the list is filled at the first call of `Top`, and sorted only as deep as some call has asked for. So
/// a ranking that nobody asks for costs nothing, and the first five of 50,000 are found without sorting the rest.
class StreamRanking {
 public:
  /// What the streams are ranked by, such as their KiB received.
  using Measure = std::uint64_t (*)(const NetStream&);

  StreamRanking(std::shared_ptr<StreamList> streams, Measure measure);

  /// The first `count` places, or all when there are fewer. Valid as long as the ranking: a later call that asks for
  /// more does not move them.
  std::span<const RankedStream> Top(std::size_t count);

 private:
  std::shared_ptr<StreamList> streams_;  // shared with the rankings of the same streams by other measures
  Measure measure_;
  std::vector<RankedStream> places_;  // empty before the first call of Top
  std::size_t sorted_ = 0;            // so many places at the front have their final content
};

/// "in", "out", "total" -> the ranking by that.
using StreamRankings = std::map<std::string, StreamRanking>;

/// Ranks the streams by all three measures, in place of what `rankings` held. They must not change as long as the
/// rankings live.
void RankStreams(const Streams& streams, StreamRankings& rankings);

/// The counts, largest first; equals by name, ascending.
std::vector<ClientCount> RankCounts(const ClientCounts& counts);

/// The rankings of all totals.
struct Rankings {
  StreamRankings devices;
  std::vector<ClientCount> device_clients;
  StreamRankings ssids;
  std::vector<ClientCount> ssid_clients;
  StreamRankings clients;
};

/// Ranks all totals, in place of what `rankings` held. `totals` must not change as long as the rankings live.
void Rank(const Totals& totals, Rankings& rankings);

/// The streams that a filter wants to see, in its order. None for an `orderby` that names no ranking, or for a count of
/// 0 or less.
TopStreamList TopStreams(StreamRankings& rankings, const TrafficFilter& filter);

/// The counts that a filter wants to see, in its order. For a negative count none, largest first, but all of them in
/// the other order.
TopCountList TopCounts(const std::vector<ClientCount>& ranking, const ClientsFilter& filter);

/// What a filter selects from the rankings. Sorts these further where it has to.
Selection Select(Rankings& rankings, const WirelessTopFilter& filter);

}  // namespace monitoring::wirelesstop
