// What does a pass of the wireless top monitor cost, what do messages, and what does it save to rank only what is asked
// for?

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/stopwatch.h"
#include "monitor/engine/constants.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_fold.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "monitor/wirelesstop/wireless_top_records.h"
#include "platform/device_records.h"
#include "probe/host/device_centre.h"

namespace {

using bench::Stopwatch;

namespace records = vexora_probe::models::controller;
namespace wirelesstop = monitoring::wirelesstop;
using wirelesstop::NetStream;

constexpr int kSsids = 4;  // each access point carries all of them
constexpr int kMessages = 10;
constexpr int kTop = 5;

std::string Mac(int prefix, int number) {
  constexpr std::size_t kTextSize = 18;
  std::array<char, kTextSize> text{};
  snprintf(text.data(), text.size(), "%02X:00:00:%02X:%02X:%02X", prefix, number >> 16 & 255, number >> 8 & 255,
           number & 255);
  return text.data();
}

/// The MAC of a client. Consecutive numbers are far apart in MAC order, because real clients arrive in no order.
std::string ClientMac(int number) {
  constexpr unsigned kOdd = 0x9E3779;
  return Mac(0x02, static_cast<int>(static_cast<unsigned>(number) * kOdd & 0xFFFFFF));
}

/// A wireless network, and the monitor that ranks it. Its clients' traffic is random, and the same in every run.
class RankedNetwork {
 public:
  RankedNetwork(std::int64_t access_points, std::int64_t clients) {
    probe::DeviceCentre::Instance().Clear();
    int first = 0;
    for (int number = 0; number < access_points; ++number) {
      const int share = (static_cast<int>(clients) - first) / (static_cast<int>(access_points) - number);
      probe::DeviceCentre::Instance().Replace(Mac(0xAA, number), AccessPoint(number, first, share));
      first += share;
    }
  }
  ~RankedNetwork() { probe::DeviceCentre::Instance().Clear(); }
  RankedNetwork(const RankedNetwork&) = delete;
  RankedNetwork& operator=(const RankedNetwork&) = delete;

  WirelessTopMonitor monitor;

 private:
  /// Random octets, a thousand times as many for one client in a thousand.
  std::uint64_t Octets() { return dice_() % 1'000'000 * 1024 * (dice_() % 1000 == 0 ? 1000 : 1); }

  /// An access point with the clients numbered from `first`.
  probe::DeviceSnapshot AccessPoint(int number, int first, int clients) {
    probe::DeviceSnapshot snapshot;
    snapshot.is_wireless = true;
    snapshot.basic_info->hostname = "ap" + std::to_string(number);
    for (int ssid = 0; ssid < kSsids; ++ssid) {
      records::SSIDIfState& network = snapshot.ssid_interfaces["wlan" + std::to_string(ssid)];
      network.ssid = "network " + std::to_string(ssid);
      network.traffic = std::make_shared<records::TrafficStats>(
          records::TrafficStats{.if_index = ssid, .in_bytes = Octets(), .out_bytes = Octets()});
      for (int client = ssid; client < clients; client += kSsids) {
        records::AssocClientState& state = network.clients.emplace_back();
        state.mac = ClientMac(first + client);
        state.hostname = "client";
        state.in_bytes = Octets();
        state.out_bytes = Octets();
      }
      network.client_count = static_cast<std::int32_t>(network.clients.size());
    }
    return snapshot;
  }

  std::mt19937_64 dice_{20261115};
};

/// Filters for `count` entries of every view, by different measures and flags: no two are equal.
std::vector<std::shared_ptr<WirelessTopFilter>> DifferentFilters(int count) {
  constexpr std::array<const char*, 3> kMeasures{"in", "out", "total"};
  std::vector<std::shared_ptr<WirelessTopFilter>> filters;
  for (int number = 0; number < kMessages; ++number) {
    auto filter = std::make_shared<WirelessTopFilter>();
    for (TrafficFilter* traffic :
         {&filter->access_point.traffic, &filter->wireless_clients, &filter->wireless_networks.traffic}) {
      traffic->orderby = kMeasures[static_cast<std::size_t>(number) % kMeasures.size()];
      traffic->count = count + number / static_cast<int>(kMeasures.size());
      traffic->flag = "desc";
    }
    filter->access_point.clients.count = count;
    filter->wireless_networks.clients.count = count;
    filters.push_back(std::move(filter));
  }
  return filters;
}

/// A pass with ten subscribers, each of which wants the first five of every view by another measure or flag. Reports
/// the rebuild, the first message, for which nothing has been sorted yet, and all ten messages.
void BM_WirelessTopPass(benchmark::State& state) {
  RankedNetwork network(state.range(0), state.range(1));
  const auto filters = DifferentFilters(kTop);
  Stopwatch rebuild;
  Stopwatch first;
  Stopwatch all;
  for (auto _ : state) {
    rebuild.Time([&] { network.monitor.DataMerge(); });
    all.Time([&] {
      first.Time([&] { network.monitor.GenerateJsonMsg(monitoring::kWirelessTopMonitor, filters[0].get(), {"a"}); });
      for (std::size_t number = 1; number < filters.size(); ++number) {
        network.monitor.GenerateJsonMsg(monitoring::kWirelessTopMonitor, filters[number].get(), {"a"});
      }
    });
  }
  state.counters["rebuild_ms"] = rebuild.Milliseconds() / static_cast<double>(state.iterations());
  state.counters["first_message_ms"] = first.Milliseconds() / static_cast<double>(state.iterations());
  state.counters["ten_messages_ms"] = all.Milliseconds() / static_cast<double>(state.iterations());
}
BENCHMARK(BM_WirelessTopPass)->ArgsProduct({{100, 1'000}, {1'000, 50'000}})->Unit(benchmark::kMillisecond);

/// A message with every client in it.
void BM_WirelessTopMessageOfAllClients(benchmark::State& state) {
  RankedNetwork network(state.range(0), state.range(1));
  WirelessTopFilter filter;
  filter.wireless_clients.orderby = "total";
  filter.wireless_clients.count = static_cast<std::int32_t>(state.range(1));
  std::size_t bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    network.monitor.DataMerge();
    state.ResumeTiming();
    bytes = network.monitor.GenerateJsonMsg(monitoring::kWirelessTopMonitor, &filter, {"a"}).size();
  }
  state.counters["message_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_WirelessTopMessageOfAllClients)
    ->Args({1'000, 1'000})
    ->Args({1'000, 50'000})
    ->Unit(benchmark::kMillisecond);

/// Streams as a rebuild leaves them, to be ranked.
wirelesstop::Streams RandomStreams(std::int64_t count) {
  std::mt19937_64 dice(20261115);
  wirelesstop::Streams streams;
  for (int number = 0; number < count; ++number) {
    NetStream& stream = wirelesstop::StreamOf(streams, ClientMac(number), "client");
    stream.in = dice() % 1'000'000;
    stream.out = dice() % 10'000'000;
  }
  return streams;
}

/// The rankings of the clients. Arguments: streams, places that are asked for, rankings (of three) that are asked for.
void BM_RankAsFarAsAsked(benchmark::State& state) {
  const wirelesstop::Streams streams = RandomStreams(state.range(0));
  wirelesstop::StreamRankings rankings;
  for (auto _ : state) {
    wirelesstop::RankStreams(streams, rankings);
    auto ranking = rankings.begin();
    for (std::int64_t asked = 0; asked < state.range(2); ++asked, ++ranking) {
      benchmark::DoNotOptimize(ranking->second.Top(static_cast<std::size_t>(state.range(1))));
    }
  }
}
BENCHMARK(BM_RankAsFarAsAsked)
    ->ArgsProduct({{50'000}, {5, 100, 5'000, 50'000}, {1, 3}})
    ->Args({50'000, 0, 0})
    ->Unit(benchmark::kMillisecond);

/// The baseline of BM_RankAsFarAsAsked: three lists, each sorted completely by a comparison.
template <typename Comparison>
void SortThreeTimes(benchmark::State& state, const std::array<Comparison, 3>& comparisons) {
  const wirelesstop::Streams streams = RandomStreams(state.range(0));
  for (auto _ : state) {
    for (const Comparison& is_before : comparisons) {
      std::vector<std::shared_ptr<NetStream>> ranking;
      ranking.reserve(streams.size());
      for (const auto& [name, stream] : streams) ranking.push_back(stream);
      std::stable_sort(ranking.begin(), ranking.end(), is_before);
      benchmark::DoNotOptimize(ranking.data());
    }
  }
}

using Shared = std::shared_ptr<NetStream>;

void BM_SortAllByTheComparisons(benchmark::State& state) {
  using Comparison = bool (*)(Shared, Shared);
  SortThreeTimes<Comparison>(
      state, {&wirelesstop::compare_by_in, &wirelesstop::compare_by_out, &wirelesstop::compare_by_total});
}
BENCHMARK(BM_SortAllByTheComparisons)->Arg(50'000)->Unit(benchmark::kMillisecond);

/// The same without copying shared pointers for each comparison.
void BM_SortAllInPlace(benchmark::State& state) {
  using Comparison = bool (*)(const Shared&, const Shared&);
  SortThreeTimes<Comparison>(
      state, {[](const Shared& left, const Shared& right) { return left->in > right->in; },
              [](const Shared& left, const Shared& right) { return left->out > right->out; },
              [](const Shared& left, const Shared& right) { return left->in + left->out > right->in + right->out; }});
}
BENCHMARK(BM_SortAllInPlace)->Arg(50'000)->Unit(benchmark::kMillisecond);

/// The same with an array of keys and indices, which is sorted before the streams are put in its order.
void BM_SortAllByLightKeys(benchmark::State& state) {
  using Measure = std::uint64_t (*)(const NetStream&);
  const wirelesstop::Streams streams = RandomStreams(state.range(0));
  for (auto _ : state) {
    for (const Measure measure : {Measure([](const NetStream& stream) { return stream.in; }),
                                  Measure([](const NetStream& stream) { return stream.out; }),
                                  Measure([](const NetStream& stream) { return stream.in + stream.out; })}) {
      std::vector<Shared> in_key_order;
      std::vector<std::pair<std::uint64_t, std::uint32_t>> keys;
      in_key_order.reserve(streams.size());
      keys.reserve(streams.size());
      for (const auto& [name, stream] : streams) {
        keys.emplace_back(~measure(*stream), static_cast<std::uint32_t>(in_key_order.size()));
        in_key_order.push_back(stream);
      }
      std::sort(keys.begin(), keys.end());
      std::vector<Shared> ranking;
      ranking.reserve(streams.size());
      for (const auto& [key, place] : keys) ranking.push_back(std::move(in_key_order[place]));
      benchmark::DoNotOptimize(ranking.data());
    }
  }
}
BENCHMARK(BM_SortAllByLightKeys)->Arg(50'000)->Unit(benchmark::kMillisecond);

}  // namespace
