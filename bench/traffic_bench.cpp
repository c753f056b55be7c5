// What does a pass of the traffic monitor cost, what a message, and what memory does an interface take?

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "bench/allocations.h"
#include "bench/keyed_traffic.h"
#include "bench/stopwatch.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/filter.h"
#include "monitor/engine/push.h"
#include "monitor/traffic/traffic_monitor.h"
#include "platform/device_records.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/device_centre.h"
#include "probe/host/sending.h"
#include "tests/plain/traffic_monitor.h"

namespace {

namespace records = vexora_probe::models::controller;

constexpr time_t kStart = 1'795'219'200;
constexpr int kInterfacesPerDevice = 50;
constexpr int kMinuteSeconds = 60;
constexpr int kDaySeconds = 86'400;
/// Passes a day apart until all six views are full: the chain needs 5, 2, 6, 2 and 12 samples to begin, the last
/// view 31.
constexpr int kPassesToFillAllViews = 5 + 2 + 6 + 2 + 12 + 31;
constexpr int kLongestPasses = 15;  // of which the median is taken

/// Switches of 50 busy ports each, and the traffic monitor that watches them.
class WatchedNetwork {
 public:
  explicit WatchedNetwork(std::int64_t interfaces) : interfaces_(static_cast<int>(interfaces)) {
    probe::DeviceCentre::Instance().Clear();
  }
  ~WatchedNetwork() { probe::DeviceCentre::Instance().Clear(); }
  WatchedNetwork(const WatchedNetwork&) = delete;
  WatchedNetwork& operator=(const WatchedNetwork&) = delete;

  /// Moves the clock and the counters of every port on.
  void Advance(int seconds) {
    now_ += seconds;
    octets_ += static_cast<std::uint64_t>(seconds) * 1'000;
    for (int device = 0; device * kInterfacesPerDevice < interfaces_; ++device) {
      probe::DeviceSnapshot snapshot;
      snapshot.sample_time = now_;
      for (int port = 0; port < kInterfacesPerDevice; ++port)
        snapshot.interfaces["ge" + std::to_string(port)] = Port(port);
      probe::DeviceCentre::Instance().Replace("AA:AA:AA:AA:" + std::to_string(device), std::move(snapshot));
    }
    monitor.set_current_time(now_);
  }

  /// The host's part of a pass: what it hands out, and nothing made of that.
  static void AskHost() {
    DeviceManager& manager = DeviceManager::GetInstance();
    for (const std::string& mac : manager.GetOnlineManagedDevices(true)) {
      const auto device = manager.device(mac);
      benchmark::DoNotOptimize(device->driver());
      time_t sampled_at = 0;
      benchmark::DoNotOptimize(device->shared_interfaces_state(sampled_at));
    }
  }

  /// One pass without the pushing.
  void Pass() {
    monitor.CollectData();
    monitor.DataMerge();
  }

  /// The counters that the next pass will find, for the reference.
  std::vector<bench::KeyedTraffic::Row> Rows() const {
    std::vector<bench::KeyedTraffic::Row> rows;
    for (int interface = 0; interface < interfaces_; ++interface) {
      const auto device = static_cast<std::uint64_t>(interface / kInterfacesPerDevice);
      const auto port = static_cast<std::uint64_t>(interface % kInterfacesPerDevice);
      rows.push_back({.key = device << 32U | port, .in = octets_, .out = octets_ * 2, .sampled_at = now_});
    }
    return rows;
  }

  time_t now() const { return now_; }

  void FillAllViews() {
    for (int pass = 0; pass < kPassesToFillAllViews; ++pass) {
      Advance(kDaySeconds);
      Pass();
    }
  }

  TrafficMonitor monitor;

 private:
  std::shared_ptr<const records::InterfaceState> Port(int port) const {
    auto state = std::make_shared<records::InterfaceState>();
    state->traffic = std::make_shared<records::TrafficStats>(
        records::TrafficStats{.if_index = port, .in_bytes = octets_, .out_bytes = octets_ * 2});
    return state;
  }

  int interfaces_;
  time_t now_ = kStart;
  std::uint64_t octets_ = 0;
};

double PerInterface(const bench::Stopwatch& stopwatch, const benchmark::State& state) {
  return stopwatch.Milliseconds() * 1e6 / static_cast<double>(state.iterations() * state.range(0));
}

template <typename Work>
double Milliseconds(Work work) {
  bench::Stopwatch stopwatch;
  stopwatch.Time(work);
  return stopwatch.Milliseconds();
}

/// The value in the middle: what other work on the machine costs hardly shows in it.
double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// One pass, part by part, with all six views full: collection, which includes what the host does, and fold, which is
/// speeds and the five merges. Beside them what the host does alone, and the reference.
///
/// Counters in nanoseconds are those of one interface. `longest_ms` is a pass in which all five merges come together,
/// `allocations` are those of the plug-in alone.
void BM_TrafficPass(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  bench::KeyedTraffic keyed;
  network.Advance(kMinuteSeconds);
  const double bytes = bench::HeapGrowth([&] { network.FillAllViews(); });
  std::vector<double> longest;
  std::vector<double> longest_reference;
  for (int day = 0; day < kPassesToFillAllViews + kLongestPasses; ++day) {
    network.Advance(kDaySeconds);
    const auto rows = network.Rows();
    const double reference_ms = Milliseconds([&] { keyed.Fold(rows, network.now()); });
    const double pass_ms = Milliseconds([&] { network.Pass(); });
    if (day < kPassesToFillAllViews) continue;  // until now the reference fills its views
    longest_reference.push_back(reference_ms);
    longest.push_back(pass_ms);
  }
  bench::Stopwatch host;
  bench::Stopwatch collect;
  bench::Stopwatch fold;
  bench::Stopwatch reference;
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    state.PauseTiming();
    network.Advance(kMinuteSeconds);
    const auto rows = network.Rows();
    const std::uint64_t before = bench::Allocations();
    host.Time([&] { WatchedNetwork::AskHost(); });
    const std::uint64_t of_host = bench::Allocations() - before;
    reference.Time([&] { keyed.Fold(rows, network.now()); });
    const std::uint64_t before_pass = bench::Allocations();
    state.ResumeTiming();
    collect.Time([&] { network.monitor.CollectData(); });
    fold.Time([&] { network.monitor.DataMerge(); });
    allocations += bench::Allocations() - before_pass - of_host;
  }
  state.counters["bytes"] = bytes / static_cast<double>(state.range(0));
  state.counters["host_ns"] = PerInterface(host, state);
  state.counters["collect_ns"] = PerInterface(collect, state);
  state.counters["fold_ns"] = PerInterface(fold, state);
  state.counters["pass_ns"] = PerInterface(collect, state) + PerInterface(fold, state);
  state.counters["reference_ns"] = PerInterface(reference, state);
  state.counters["fold_to_reference"] = fold.Milliseconds() / reference.Milliseconds();
  state.counters["longest_ms"] = Median(longest);
  state.counters["longest_reference_ms"] = Median(longest_reference);
  state.counters["allocations"] = static_cast<double>(allocations) / static_cast<double>(state.iterations());
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_TrafficPass)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->Complexity();

/// How long somebody waits for the newest speed of an interface at worst, who asks every 20 us during passes and
/// while messages of all interfaces are made, a pass in which all five merges come together among them.
void BM_NewestSpeedWait(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  network.Advance(kMinuteSeconds);
  network.FillAllViews();
  std::atomic<bool> is_over{false};
  double worst = 0;
  double sum = 0;
  double answers = 0;
  std::thread reader([&] {
    std::map<std::string, unsigned long long> out;
    while (!is_over) {
      const double waited = Milliseconds([&] { network.monitor.GetInterfaceTrafficData("AA:AA:AA:AA:7", "ge7", out); });
      worst = std::max(worst, waited);
      sum += waited;
      ++answers;
      std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
  });
  const auto filter = std::make_shared<Filter>();
  for (auto _ : state) {
    state.PauseTiming();
    network.Advance(kDaySeconds);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the system stops who never rests
    state.ResumeTiming();
    network.Pass();
    benchmark::DoNotOptimize(network.monitor.GenerateJsonMsg("TrafficMonitor", *filter, {"a"}));
  }
  is_over = true;
  reader.join();
  state.counters["worst_ms"] = worst;
  state.counters["mean_us"] = 1000 * sum / answers;
}
BENCHMARK(BM_NewestSpeedWait)->Arg(1'000)->Arg(50'000)->Iterations(10)->Unit(benchmark::kMillisecond);

/// Grouping subscriptions of so many different filters, a connection each, as a host without a bound may have them.
void BM_MergeByFilter(benchmark::State& state) {
  subscribes::SubscriptionList subscriptions;
  for (std::int64_t number = 0; number < state.range(0); ++number) {
    const auto filter = std::make_shared<Filter>();
    filter->mac = "AA:AA:AA:AA:" + std::to_string(number);
    lws* const connection =
        reinterpret_cast<lws*>(static_cast<std::uintptr_t>(number + 1));  // NOLINT(performance-no-int-to-ptr)
    subscriptions[std::to_string(number)][connection] = filter;
  }
  for (auto _ : state) {
    monitoring::MergedList merged;
    monitoring::MergeByFilter(subscriptions, merged);
    benchmark::DoNotOptimize(merged);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_MergeByFilter)->RangeMultiplier(4)->Range(16, 16'384)->Unit(benchmark::kMicrosecond)->Complexity();

/// The same pass by the plain monitor, which the tests compare with.
void BM_TrafficPlainPass(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  plain::TrafficMonitor plain;
  for (int pass = 0; pass < kPassesToFillAllViews; ++pass) {
    network.Advance(kDaySeconds);
    plain.Pass(network.now());
  }
  bench::TimeRounds(
      state, "interface", [&] { network.Advance(kMinuteSeconds); }, [&] { plain.Pass(network.now()); });
}
BENCHMARK(BM_TrafficPlainPass)->RangeMultiplier(10)->Range(1'000, 10'000)->Unit(benchmark::kMillisecond);

/// Building the message of one view with 30 samples an interface, for all devices.
void BM_TrafficMessage(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  network.FillAllViews();
  Filter filter;
  filter.interval = monitoring::kView1m;
  bench::TimeTexts(state, "interface", "message_bytes",
                   [&] { return network.monitor.GenerateJsonMsg(monitoring::kTrafficMonitor, filter, {"a"}); });
}
BENCHMARK(BM_TrafficMessage)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->Complexity();

/// The limit for such a message: as many samples, with the same punctuation, written into a buffer that is there.
void BM_TrafficMessageLimit(benchmark::State& state) {
  constexpr std::size_t kRoom = 128;
  const auto samples = static_cast<std::size_t>(state.range(0)) * monitoring::kMaxSamples;
  std::vector<char> buffer(samples * kRoom);
  bench::TimeRounds(state, "interface", [&] {
    char* end = buffer.data();
    const auto put = [&end](std::string_view text, std::int64_t number) {
      end = std::to_chars(std::copy(text.begin(), text.end(), end), end + kRoom, number).ptr;
    };
    for (std::size_t sample = 0; sample < samples; ++sample) {
      put("{ \"time\": ", kStart / kMinuteSeconds);
      put(", \"input\": ", static_cast<std::int64_t>(1'000 + sample % 7));
      put(", \"output\": ", static_cast<std::int64_t>(2'000 + sample % 7));
      end = std::copy_n(" }, ", 4, end);
    }
    benchmark::DoNotOptimize(end);
  });
}
BENCHMARK(BM_TrafficMessageLimit)->RangeMultiplier(10)->Range(1'000, 10'000)->Unit(benchmark::kMillisecond);

/// Messages of 1.6 MB, those of 1,000 interfaces, for so many connections with one filter, until the host has each text
/// that it is to send. The second argument is 1 when each connection has an SID of its own: then its message is a text
/// of its own.
void BM_TrafficPush(benchmark::State& state) {
  WatchedNetwork network(1'000);
  network.FillAllViews();
  probe::InstallSendFunction(
      [](lws* /*connection*/, const std::string& text) { benchmark::DoNotOptimize(text.data()); });
  const auto filter = std::make_shared<Filter>();
  filter->interval = monitoring::kView1m;
  subscribes::SubscriptionList list;
  for (std::int64_t connection = 1; connection <= state.range(0); ++connection) {
    list[state.range(1) == 0 ? "a" : std::to_string(connection)]
        [probe::ToHandle(probe::ConnectionId{static_cast<std::uintptr_t>(connection)})] = filter;
  }
  bench::TimeRounds(state, "connection", [&] { network.monitor.PushDataBySID(list); });
  probe::InstallSendFunction(nullptr);
}
BENCHMARK(BM_TrafficPush)->ArgsProduct({{1, 2, 10, 100}, {0, 1}})->Unit(benchmark::kMillisecond);

/// Building the message for one device of 50 interfaces, whatever the size of the network.
void BM_TrafficMessageOfOneDevice(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  network.FillAllViews();
  Filter filter;
  filter.interval = monitoring::kView1m;
  filter.mac = "AA:AA:AA:AA:0";
  for (auto _ : state) {
    benchmark::DoNotOptimize(network.monitor.GenerateJsonMsg(monitoring::kTrafficMonitor, filter, {"a"}));
  }
}
BENCHMARK(BM_TrafficMessageOfOneDevice)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMicrosecond);

}  // namespace
