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
  const auto pass = [&] { monitor.CollectData(); };
  state.counters["bytes_per_device"] = bench::HeapGrowth(pass) / static_cast<double>(state.range(0));
  bench::TimeRounds(state, "device", pass);
}
BENCHMARK(BM_HealthPass)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond)->Complexity();

void BM_HealthMessage(benchmark::State& state) {
  const bench::WirelessNetwork network(state.range(0), kClientsEach);
  HealthMonitor monitor;
  monitor.CollectData();
  bench::TimeTexts(state, "device", "message_bytes",
                   [&] { return monitor.GenerateJsonMsg(monitoring::kHealthMonitor, ""); });
}
BENCHMARK(BM_HealthMessage)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMillisecond)->Complexity();

}  // namespace
