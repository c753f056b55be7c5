// What does a scrape by Prometheus cost, from the snapshots to the text? The first argument is the number of devices,
// the second that of the interfaces of each.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "bench/stopwatch.h"
#include "platform/device_records.h"
#include "probe/host/device_centre.h"
#include "probe/metrics/metrics.h"
#include "probe/metrics/probe_families.h"
#include "probe/server/http/http_message.h"

namespace {

/// Switches in operation, all of whose ports have counters. The constructor and the destructor empty the device centre.
class Switches {
 public:
  Switches(std::int64_t devices, std::int64_t interfaces) {
    centre_.Clear();
    for (std::int64_t device = 0; device < devices; ++device) {
      probe::DeviceSnapshot snapshot;
      snapshot.basic_info->hostname = "switch-floor-" + std::to_string(device);
      snapshot.basic_info->ip = "192.0.2." + std::to_string(device);
      snapshot.health_level = 1;
      snapshot.sample_time = 1'795'169'400;
      for (std::int64_t port = 0; port < interfaces; ++port) {
        auto traffic = std::make_shared<vexora_probe::models::controller::TrafficStats>();
        traffic->in_bytes = static_cast<std::uint64_t>(123'456'789'012 + device * 1'000'003 + port);
        traffic->out_bytes = traffic->in_bytes / 3;
        auto state = std::make_shared<vexora_probe::models::controller::InterfaceState>();
        state->traffic = std::move(traffic);
        snapshot.interfaces.emplace("GigabitEthernet1/0/" + std::to_string(port), std::move(state));
      }
      centre_.Replace("02:FC:00:00:" + std::to_string(10 + device / 100) + ":" + std::to_string(device % 100),
                      std::move(snapshot));
    }
  }
  ~Switches() { centre_.Clear(); }
  Switches(const Switches&) = delete;
  Switches& operator=(const Switches&) = delete;

 private:
  probe::DeviceCentre& centre_ = probe::DeviceCentre::Instance();
};

void Scrape(benchmark::State& state, const std::string& accept) {
  const Switches network(state.range(0), state.range(1));
  const probe::metrics::Metrics metrics(probe::DeviceCentre::Instance(), nullptr,
                                        [] { return probe::metrics::ProbeFigures(); });
  probe::HttpRequest request;
  request.accept = accept;
  std::size_t octets = 0;
  bench::TimeRounds(state, "device", [&] { octets = metrics.Answer(request).body->size(); });
  state.counters["octets"] = static_cast<double>(octets);
}

void BM_Scrape(benchmark::State& state) {
  Scrape(state, "");
}
BENCHMARK(BM_Scrape)->Args({50, 30})->Args({500, 30})->Unit(benchmark::kMillisecond);

void BM_ScrapeAsOpenMetrics(benchmark::State& state) {
  Scrape(state, "application/openmetrics-text;version=1.0.0");
}
BENCHMARK(BM_ScrapeAsOpenMetrics)->Args({50, 30})->Args({500, 30})->Unit(benchmark::kMillisecond);

}  // namespace
