// What does a pass of the client-count monitor cost, what a message of each topic, and what memory does a device take,
// on access points with 20 clients each?

#include <benchmark/benchmark.h>

#include <ctime>

#include "bench/stopwatch.h"
#include "bench/wireless_network.h"
#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/filter.h"

namespace {

constexpr int kClientsEach = 20;
constexpr time_t kStart = 1'795'219'200;
constexpr time_t kMinuteSeconds = 60;
constexpr time_t kDaySeconds = 86'400;
/// Passes a day apart until all six views hold their 30 samples: the chain needs 5, 2, 6, 2 and 12 to begin.
constexpr int kPassesToFillAllViews = 5 + 2 + 6 + 2 + 12 + 30;

/// The monitor, a pass at a time.
class Watched {
 public:
  explicit Watched(std::int64_t devices) : network_(devices, kClientsEach) {}

  void Pass(time_t seconds) {
    now_ += seconds;
    monitor.set_current_time(now_);
    monitor.CollectData();
    monitor.DataMerge();
  }
  void FillAllViews() {
    for (int pass = 0; pass < kPassesToFillAllViews; ++pass) Pass(kDaySeconds);
  }

 private:
  bench::WirelessNetwork network_;
  time_t now_ = kStart;

 public:
  ClientCountMonitor monitor;
};

void BM_ClientCountPass(benchmark::State& state) {
  Watched watched(state.range(0));
  state.counters["bytes_per_device"] =
      bench::HeapGrowth([&] { watched.FillAllViews(); }) / static_cast<double>(state.range(0));
  bench::TimeRounds(state, "device", [&] { watched.Pass(kMinuteSeconds); });
}
BENCHMARK(BM_ClientCountPass)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond)->Complexity();

void Message(benchmark::State& state, const char* topic) {
  Watched watched(state.range(0));
  watched.FillAllViews();
  Filter filter;
  filter.interval = monitoring::kView1m;
  bench::TimeTexts(state, "device", "message_bytes",
                   [&] { return watched.monitor.GenerateJsonMsg(topic, filter, {"a"}); });
}

void BM_ClientCountMessageByDevice(benchmark::State& state) {
  Message(state, monitoring::kDevicesClientCountMonitor);
}
BENCHMARK(BM_ClientCountMessageByDevice)
    ->RangeMultiplier(10)
    ->Range(100, 10'000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

void BM_ClientCountMessageBySsid(benchmark::State& state) {
  Message(state, monitoring::kSsidClientCountMonitor);
}
BENCHMARK(BM_ClientCountMessageBySsid)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMicrosecond);

}  // namespace
