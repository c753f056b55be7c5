// What does a pass of the health monitor cost, and what a message, on access points with 20 clients and 5 neighbours
// each?

#include <benchmark/benchmark.h>

#include "bench/stopwatch.h"
#include "bench/wireless_network.h"
#include "monitor/engine/constants.h"
#include "monitor/health/health_monitor.h"

namespace {

constexpr int kClientsEach = 20;

void BM_HealthPass(benchmark::State& state) {
  const bench::WirelessNetwork network(state.range(0), kClientsEach);
  HealthMonitor monitor;
  const double empty = bench::HeapBytes();
  monitor.CollectData();
  state.counters["bytes_per_device"] = (bench::HeapBytes() - empty) / static_cast<double>(state.range(0));
  bench::Stopwatch stopwatch;
  for (auto _ : state) stopwatch.Time([&] { monitor.CollectData(); });
  stopwatch.Report(state, "device");
}
BENCHMARK(BM_HealthPass)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond)->Complexity();

void BM_HealthMessage(benchmark::State& state) {
  const bench::WirelessNetwork network(state.range(0), kClientsEach);
  HealthMonitor monitor;
  monitor.CollectData();
  std::size_t bytes = 0;
  bench::Stopwatch stopwatch;
  for (auto _ : state) {
    stopwatch.Time([&] { bytes = monitor.GenerateJsonMsg(monitoring::kHealthMonitor, "").size(); });
  }
  state.counters["message_bytes"] = static_cast<double>(bytes);
  stopwatch.Report(state, "device");
}
BENCHMARK(BM_HealthMessage)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond)->Complexity();

}  // namespace
