#include "monitor/wirelesstop/wireless_top_fold.h"

#include <algorithm>
#include <cstddef>
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

/// Adds the counters of an SSID interface, if it has any.
void AddStatistics(NetStream& stream, const vexora_probe::models::controller::SSIDIfState& network) {
  if (network.traffic != nullptr) AddOctets(stream, network.traffic->in_bytes, network.traffic->out_bytes);
}

bool IsLargestFirst(const FilterBase& filter) {
  return filter.flag == "desc";
}

/// `count` as a number of entries: none for a negative one.
std::size_t EntryCount(std::int32_t count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

}  // namespace

NetStream& StreamOf(Streams& streams, std::string name, const std::string& desc) {
  const auto entry = streams.try_emplace(std::move(name)).first;
  std::shared_ptr<NetStream>& stream = entry->second;
  if (stream == nullptr) {
    stream = std::make_shared<NetStream>();
    stream->name = entry->first;
    // Of a client that several devices list, the name that the first of them gives stays.
    stream->desc = desc;
  }
  return *stream;
}

void AddOctets(NetStream& stream, std::uint64_t in_bytes, std::uint64_t out_bytes) {
  constexpr int kOctetsToKib = 10;  // a shift
  stream.in += in_bytes >> kOctetsToKib;
  stream.out += out_bytes >> kOctetsToKib;
}

void AddClients(ClientCounts& counts, const std::string& name, std::int32_t clients) {
  std::int32_t& count = counts[name];
  // a device may report any number, and a signed sum must not overflow
  count = static_cast<std::int32_t>(static_cast<std::uint32_t>(count) + static_cast<std::uint32_t>(clients));
}

void AddNetwork(const std::string& mac, const vexora_probe::models::controller::SSIDIfState& network,
                std::vector<std::string> client_macs, Totals& totals) {
  AddClients(totals.device_clients, mac, network.client_count);
  AddClients(totals.ssid_clients, network.ssid, network.client_count);
  AddStatistics(StreamOf(totals.ssids, network.ssid), network);
  auto client_mac = client_macs.begin();
  for (const auto& client : network.clients) {
    AddOctets(StreamOf(totals.clients, std::move(*client_mac++), client.hostname), client.in_bytes, client.out_bytes);
  }
  AddStatistics(StreamOf(totals.devices, mac), network);
}

// By value, because the parameter types are fixed. The rankings themselves sort by the measures: copying two shared
// pointers for a comparison makes a sort twice as slow.
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

const std::vector<const NetStream*>& StreamList::All() {
  if (all_.empty()) {
    all_.reserve(streams_.size());
    for (const auto& [name, stream] : streams_) all_.push_back(stream.get());
  }
  return all_;
}

StreamRanking::StreamRanking(std::shared_ptr<StreamList> streams, Measure measure)
    : streams_(std::move(streams)), measure_(measure) {}

std::span<const RankedStream> StreamRanking::Top(std::size_t count) {
  if (count == 0) return {};
  if (places_.empty()) {
    const auto& all = streams_->All();
    places_.reserve(all.size());
    for (const NetStream* stream : all) places_.push_back({.value = measure_(*stream), .stream = stream});
  }
  const std::size_t size = places_.size();
  const std::size_t wanted = std::min(count, size);
  if (wanted > sorted_) {
    // At least twice as deep as before: callers that ask for one place more each time must not cause a search of all
    // unsorted places each time.
    const std::size_t depth = std::min(std::max(wanted, 2 * sorted_), size);
    const auto first = places_.begin();
    std::partial_sort(first + static_cast<std::ptrdiff_t>(sorted_), first + static_cast<std::ptrdiff_t>(depth),
                      places_.end(), [](const RankedStream& left, const RankedStream& right) {
                        return left.value != right.value ? left.value > right.value
                                                         : left.stream->name < right.stream->name;
                      });
    sorted_ = depth;
  }
  return {places_.data(), wanted};
}

void RankStreams(const Streams& streams, StreamRankings& rankings) {
  rankings.clear();
  const auto list = std::make_shared<StreamList>(streams);
  rankings.try_emplace(json_key::kIn, list, &In);
  rankings.try_emplace(json_key::kOut, list, &Out);
  rankings.try_emplace(json_key::kTotal, list, &Total);
}

std::vector<ClientCount> RankCounts(const ClientCounts& counts) {
  std::vector<ClientCount> ranking;
  ranking.reserve(counts.size());
  for (const auto& [name, count] : counts) ranking.push_back({.name = name, .count = count});
  // Stable, because equal counts stay in the order of their names, in which the map holds them.
  std::stable_sort(ranking.begin(), ranking.end(),
                   [](const ClientCount& left, const ClientCount& right) { return left.count > right.count; });
  return ranking;
}

void Rank(const Totals& totals, Rankings& rankings) {
  RankStreams(totals.devices, rankings.devices);
  RankStreams(totals.ssids, rankings.ssids);
  RankStreams(totals.clients, rankings.clients);
  rankings.device_clients = RankCounts(totals.device_clients);
  rankings.ssid_clients = RankCounts(totals.ssid_clients);
}

TopStreamList TopStreams(StreamRankings& rankings, const TrafficFilter& filter) {
  TopStreamList top;
  const auto ranking = rankings.find(filter.orderby);
  if (ranking == rankings.end()) return top;
  const auto places = ranking->second.Top(EntryCount(filter.count));
  top.reserve(places.size());
  for (const RankedStream& place : places) top.push_back(place.stream);
  // The other flag lists the same entries, smallest first: the top of the ranking reversed, not its end.
  if (!IsLargestFirst(filter)) std::reverse(top.begin(), top.end());
  return top;
}

TopCountList TopCounts(const std::vector<ClientCount>& ranking, const ClientsFilter& filter) {
  // Smallest first, the count is taken as unsigned, so that a negative one asks for all. Part of the protocol in this
  // order only.
  const std::size_t wanted =
      IsLargestFirst(filter) ? EntryCount(filter.count) : std::size_t{static_cast<std::uint32_t>(filter.count)};
  TopCountList top(std::min(wanted, ranking.size()));
  std::transform(ranking.begin(), ranking.begin() + static_cast<std::ptrdiff_t>(top.size()), top.begin(),
                 [](const ClientCount& count) { return &count; });
  if (!IsLargestFirst(filter)) std::reverse(top.begin(), top.end());
  return top;
}

Selection Select(Rankings& rankings, const WirelessTopFilter& filter) {
  return {.device_traffic = TopStreams(rankings.devices, filter.access_point.traffic),
          .device_clients = TopCounts(rankings.device_clients, filter.access_point.clients),
          .ssid_traffic = TopStreams(rankings.ssids, filter.wireless_networks.traffic),
          .ssid_clients = TopCounts(rankings.ssid_clients, filter.wireless_networks.clients),
          .client_traffic = TopStreams(rankings.clients, filter.wireless_clients)};
}

}  // namespace monitoring::wirelesstop
