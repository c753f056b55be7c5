// What does a pass of the traffic monitor cost, what a message, and what memory does an interface take?

#include <benchmark/benchmark.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "bench/stopwatch.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/filter.h"
#include "monitor/traffic/traffic_monitor.h"
#include "platform/device_records.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"

namespace {

namespace records = vexora_probe::models::controller;

constexpr time_t kStart = 1'795'219'200;
constexpr int kInterfacesPerDevice = 50;
constexpr int kMinuteSeconds = 60;
constexpr int kDaySeconds = 86'400;
/// Passes a day apart until all six views are full: the chain needs 5, 2, 6, 2 and 12 samples to begin, the last
/// view 31.
constexpr int kPassesToFillAllViews = 5 + 2 + 6 + 2 + 12 + 31;

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

  /// One pass without the pushing.
  void Pass() {
    monitor.CollectData();
    monitor.DataMerge();
  }

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

/// One pass: collection, speeds and the five merges, with all six views full.
void BM_TrafficPass(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  network.Advance(kMinuteSeconds);
  state.counters["bytes_per_interface"] =
      bench::HeapGrowth([&] { network.FillAllViews(); }) / static_cast<double>(state.range(0));
  bench::TimeRounds(
      state, "interface", [&] { network.Advance(kMinuteSeconds); }, [&] { network.Pass(); });
}
BENCHMARK(BM_TrafficPass)->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->Complexity();

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
