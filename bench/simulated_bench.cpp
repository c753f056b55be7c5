// How long does the simulated network take to start, and what does a minute of it cost? The first argument is the
// number of devices, a twentieth of them switches; the second that of clients.

#include <benchmark/benchmark.h>

#include "probe/host/device_centre.h"
#include "probe/sources/simulated/simulated_network.h"

namespace {

constexpr time_t kWorkday = 1'795'169'400;  // Friday, half past ten in UTC

probe::SimulatedNetworkSettings Settings(const benchmark::State& state) {
  probe::SimulatedNetworkSettings settings;
  settings.devices = static_cast<int>(state.range(0));
  settings.clients = static_cast<int>(state.range(1));
  return settings;
}

/// From nothing to a device centre in which every device has reported.
void BM_SimulatedStart(benchmark::State& state) {
  for (auto _ : state) {
    probe::SimulatedNetwork network(probe::DeviceCentre::Instance(), Settings(state));
    network.Advance(kWorkday);
    state.counters["devices"] = static_cast<double>(network.DeviceMacs().size());
    state.PauseTiming();
    probe::DeviceCentre::Instance().Clear();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_SimulatedStart)->Args({9, 80})->Args({100, 5'000})->Args({1'051, 50'000})->Unit(benchmark::kMillisecond);

void BM_SimulatedMinute(benchmark::State& state) {
  probe::SimulatedNetwork network(probe::DeviceCentre::Instance(), Settings(state));
  time_t now = kWorkday;
  network.Advance(now);
  for (auto _ : state) network.Advance(now += 60);
  probe::DeviceCentre::Instance().Clear();
}
BENCHMARK(BM_SimulatedMinute)->Args({9, 80})->Args({100, 5'000})->Args({1'051, 50'000})->Unit(benchmark::kMillisecond);

}  // namespace
