// What does the replay of a recorded day cost, and how much of that are the passes of the plug-in?

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "probe/host/device_centre.h"
#include "probe/recording/recording_writer.h"
#include "probe/sources/simulated/simulated_network.h"
#include "tests/support/childrens_time.h"

namespace {

constexpr time_t kStart = 1'795'219'200;
constexpr int kMinuteSeconds = 60;
constexpr int kDayPasses = 1'440;

/// Writes days of the simulated network, its nine devices and one subscription to the traffic of them all.
void WriteRecording(std::int64_t days, const std::string& path) {
  setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
  tzset();
  std::ofstream stream(path);
  auto& centre = probe::DeviceCentre::Instance();
  centre.Clear();
  probe::SimulatedNetwork network(centre, {});
  probe::recording::RecordingWriter writer(stream);
  writer.Header(kStart, "UTC");
  writer.Subscribe("TrafficMonitor", "client", R"([{"sid": "a", "filter": {"interval": "1h"}}])");
  for (int pass = 1; pass <= days * kDayPasses; ++pass) {
    const time_t now = kStart + pass * kMinuteSeconds;
    network.Advance(now);
    for (const std::string& mac : network.DeviceMacs()) writer.Device(mac, *centre.Snapshot(mac));
    writer.Pass(now);
  }
  centre.Clear();
}

/// A replay of so many days. Counters, in seconds of processor time: `cpu_s` of the whole program, `passes_s` of the
/// engine's thread in its passes, messages included; `passes_share` is the second divided by the first.
void BM_Replay(benchmark::State& state) {
  const std::filesystem::path folder = std::filesystem::temp_directory_path();
  const std::string recording = folder / ("bench_replay_" + std::to_string(getpid()) + ".jsonl");
  const std::string timing = recording + ".timing";
  WriteRecording(state.range(0), recording);
  const std::string command = std::string(VEXORA_REPLAY) + " --timing " + recording + " | tail -n 1 >" + timing;
  double passes = 0;
  const double before = test::ChildrensProcessorSeconds();
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) {  // NOLINT(concurrency-mt-unsafe,cert-env33-c): no thread, no foreign text
      state.SkipWithError("the replay failed");
      break;
    }
    std::ifstream file(timing);
    passes += nlohmann::json::parse(file)["timing"]["cpu_seconds"].get<double>();
  }
  const double all = test::ChildrensProcessorSeconds() - before;
  const auto rounds = static_cast<double>(state.iterations());
  state.counters["cpu_s"] = all / rounds;
  state.counters["passes_s"] = passes / rounds;
  state.counters["passes_share"] = passes / all;
  std::filesystem::remove(recording);
  std::filesystem::remove(timing);
}
BENCHMARK(BM_Replay)->ArgName("days")->Arg(1)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Replay)->ArgName("days")->Arg(7)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
