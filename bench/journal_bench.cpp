// What a journal costs: a pass's part of it, its size, and to start a probe from one. A process has one plug-in, so it
// makes one warm start: choose it by --benchmark_filter.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <semaphore>
#include <string>

#include "monitor/engine/entry_points.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "probe/host/device_snapshot.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "probe/journal/journal_folder.h"
#include "probe/journal/journal_writer.h"
#include "probe/journal/warm_start.h"
#include "probe/sources/simulated/simulated_network.h"

namespace {

namespace journal = probe::journal;

constexpr time_t kStart = 1'793'404'800;  // 2026-10-31, a Saturday
constexpr int kPassesADay = 1440;

/// A folder that is gone with the object, where TMPDIR says.
class Folder {
 public:
  Folder() {
    path_ = (std::filesystem::temp_directory_path() / "vexora-bench-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

double Seconds(const timeval& time) {
  constexpr double kMicrosecond = 1e-6;
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * kMicrosecond;
}

/// Of all threads of the process.
double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

/// Processor time of this thread alone, in microseconds.
double ThreadMicroseconds() {
  constexpr double kMicroseconds = 1e6;
  constexpr double kNanoseconds = 1e3;
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * kMicroseconds + static_cast<double>(now.tv_nsec) / kNanoseconds;
}

/// What writing cost, over all passes.
struct Cost {
  double simulation_seconds = 0;
  double engine_microseconds = 0;
  double all_seconds = 0;
};

/// Journals so many days of a simulated network.
Cost Write(const std::string& folder, int devices, int clients, int days) {
  probe::DeviceCentre centre;
  probe::SimulatedNetwork network(centre, {.seed = 1, .devices = devices, .clients = clients});
  journal::JournalWriter writer(std::make_unique<journal::JournalFolder>(folder), {},
                                {.days = 1000, .bytes = std::uint64_t{1} << 40}, centre, {kStart, true, "UTC", ""});
  Cost cost;
  const double begun = ProcessorSeconds();
  for (int pass = 1; pass <= days * kPassesADay; ++pass) {
    const double before = ProcessorSeconds();
    network.Advance(kStart + pass * 60);
    cost.simulation_seconds += ProcessorSeconds() - before;
    const double engine = ThreadMicroseconds();
    writer.OnPassBegins(kStart + pass * 60);
    cost.engine_microseconds += ThreadMicroseconds() - engine;
    writer.OnPassEnds();
    writer.Flush();
  }
  cost.all_seconds = ProcessorSeconds() - begun;
  return cost;
}

std::uint64_t SizeOf(const std::string& folder) {
  std::uint64_t size = 0;
  for (const auto& segment : journal::ListSegments(folder)) size += segment.size;
  return size;
}

/// A day of passes: what the engine waits for, what the writer's thread takes, and how large it becomes.
void BM_JournalDay(benchmark::State& state) {
  const auto devices = static_cast<int>(state.range(0));
  const auto clients = static_cast<int>(state.range(1));
  for (auto _ : state) {
    const Folder folder;
    const Cost cost = Write(folder.path(), devices, clients, 1);
    constexpr double kMicroseconds = 1e6;
    state.counters["engine_us_a_pass"] = cost.engine_microseconds / kPassesADay;
    state.counters["all_us_a_pass"] = (cost.all_seconds - cost.simulation_seconds) * kMicroseconds / kPassesADay;
    state.counters["octets_a_device_and_day"] = static_cast<double>(SizeOf(folder.path())) / devices;
  }
}
BENCHMARK(BM_JournalDay)->Args({9, 80})->Args({50, 1000})->Iterations(1)->Unit(benchmark::kSecond);

/// A start from 31 days.
void BM_WarmStart(benchmark::State& state) {
  constexpr int kDays = 31;
  constexpr double kMebibyte = 1024 * 1024;
  const Folder folder;
  Write(folder.path(), static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), kDays);
  probe::VirtualClock present(kStart + (kDays + 1) * 86'400);
  const probe::ClockInstallation installation(present);
  for (auto _ : state) {
    const double begun = ProcessorSeconds();
    journal::WarmStart warm({journal::ListSegments(folder.path()), std::chrono::hours(24)},
                            probe::DeviceCentre::Instance());
    warm.InReplayedTime([] { RegisterMonitors(); });
    std::binary_semaphore is_ready{0};
    warm.Begin({}, [&](const probe::LastSnapshots&) { is_ready.release(); });
    is_ready.acquire();
    state.counters["processor_s"] = ProcessorSeconds() - begun;
    state.PauseTiming();
    warm.Stop();
    stop_monitor();
    state.ResumeTiming();
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peak_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024;
  state.counters["journal_MiB"] = static_cast<double>(SizeOf(folder.path())) / kMebibyte;
  probe::SubscriptionService::Instance().Clear();
}
BENCHMARK(BM_WarmStart)->Args({9, 80})->Args({50, 1000})->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
