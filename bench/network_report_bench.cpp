// What does a pass of the wireless network report cost in the morning and in the evening of a day, beside the plain
// version that goes over all samples of the day, what memory does an access point take, and how long do readers wait?

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "bench/stopwatch.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "platform/device_centre.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "tests/plain/network_report.h"

namespace {

namespace records = vexora_probe::models::controller;
using vexora_probe::monitor::WirelessNetworkReport;

constexpr time_t kMidnight = 1'795'219'200;  // 2026-11-21 00:00 UTC, a Saturday: the week has seven days
constexpr int kDaySeconds = 86'400;
constexpr int kSlotSeconds = 300;
constexpr int kPassesPerSample = 5;
constexpr int kPastDays = 6;
constexpr int kMorning = 24;   // slots before the measured ones: two o'clock
constexpr int kEvening = 276;  // and the day has its 288 after these
constexpr int kMeasuredPasses = 12;
constexpr int kSSIDs = 8;
constexpr int kHeardByEach = 20;
constexpr int kHearersOfEach = 5;

std::string Mac(int device) {
  return "AA:AA:AA:AA:" + std::to_string(device);
}

/// What access points there are, and what they hear.
struct Scene {
  std::int64_t access_points = 0;
  bool has_ssids = true;
  int rogues = 0;            ///< Rogue access points; each access point hears 20 of them, or none when there are none.
  int new_rogues = 0;        ///< That the first access point hears in each scan and never again.
  int basic_info_every = 1;  ///< So many access points have basic information of one of them; 1: of all.
};

/// The report of the plug-in.
class Product {
 public:
  void Pass(time_t /*now*/) {
    for (int pass = 0; pass < kPassesPerSample; ++pass) report_.CollectData();
  }
  WirelessNetworkReport& Report() { return report_; }

 private:
  WirelessNetworkReport report_;
};

/// The plain version.
class Plain {
 public:
  void Pass(time_t now) {
    for (int pass = 0; pass < kPassesPerSample; ++pass) report_.Pass(now);
  }

 private:
  plain::NetworkReport report_;
};

/// A wireless network, and a report on it.
template <typename Monitor>
class WirelessNetwork {
 public:
  explicit WirelessNetwork(const Scene& scene) : scene_(scene) {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
    tzset();
    probe::DeviceCentre::Instance().Clear();
    clock_.Set(kMidnight - kPastDays * kDaySeconds);
    report_ = std::make_unique<Monitor>();
  }
  ~WirelessNetwork() { probe::DeviceCentre::Instance().Clear(); }
  WirelessNetwork(const WirelessNetwork&) = delete;
  WirelessNetwork& operator=(const WirelessNetwork&) = delete;

  Monitor& Report() { return *report_; }

  /// Moves the counters of every SSID interface on.
  void Change(time_t now) {
    octets_ += 37'500'000;
    for (int device = 0; device < scene_.access_points; ++device) {
      probe::DeviceCentre::Instance().Replace(Mac(device), Snapshot(device, now));
    }
    clock_.Set(now);
  }

  /// The five passes of which the last one takes samples.
  void Pass() { report_->Pass(clock_.Now().tv_sec); }

  /// Six finished days, and a seventh as far as the samples to be measured.
  void FillSevenDays(int slots) {
    for (int day = -kPastDays; day < 0; ++day) {
      for (const int second : {kDaySeconds / 2, kDaySeconds / 2 + kSlotSeconds}) {
        Change(kMidnight + day * kDaySeconds + second);
        Pass();
      }
    }
    Change(kMidnight);
    Pass();
    for (int slot = 1; slot < slots; ++slot) {
      clock_.Set(kMidnight + slot * kSlotSeconds);
      Pass();
    }
  }

 private:
  probe::DeviceSnapshot Snapshot(int device, time_t now) const {
    probe::DeviceSnapshot snapshot;
    snapshot.is_wireless = true;
    snapshot.basic_info->type = records::DeviceType::kAccessPoint;
    snapshot.basic_info->hostname = "ap-" + std::to_string(device);
    if (device % scene_.basic_info_every != 0) snapshot.basic_info.reset();
    snapshot.polling_time = now;
    snapshot.radios["radio0"].band = records::WIFIBandType::k2_4GHz;
    snapshot.radios["radio1"].band = records::WIFIBandType::k5GHz;
    if (scene_.has_ssids) AddSSIDs(snapshot);
    if (scene_.rogues != 0) snapshot.neighbours = Neighbours(device);
    if (device == 0) AddNewNeighbours(now, snapshot.neighbours);
    return snapshot;
  }

  void AddSSIDs(probe::DeviceSnapshot& snapshot) const {
    const auto traffic = std::make_shared<records::TrafficStats>(
        records::TrafficStats{.if_index = 1, .in_bytes = octets_, .out_bytes = octets_ / 2});
    for (int number = 0; number < kSSIDs; ++number) {
      const std::string ssid = "network-" + std::to_string(number);
      snapshot.ssid_config[ssid + "@BOTH"] = {
          .name = ssid, .security_mode = records::SecModeType::kWpaPersonal, .guest = number == 0};
      for (const char* radio : {"radio0", "radio1"}) {
        snapshot.ssid_interfaces[ssid + radio] = {
            .ssid = ssid, .radio = radio, .traffic = traffic, .client_count = number, .clients = {}};
      }
    }
  }

  void AddNewNeighbours(time_t now, std::list<records::NeighboringAP>& heard) const {
    for (int number = 0; number < scene_.new_rogues; ++number) {
      heard.push_back({.mac = "CC:CC:" + std::to_string(now) + ":" + std::to_string(number),
                       .ssid = "passer-by",
                       .trusted = 0,
                       .band = records::WIFIBandType::k2_4GHz,
                       .channel = 6,
                       .signal = -70});
    }
  }

  std::list<records::NeighboringAP> Neighbours(int device) const {
    std::list<records::NeighboringAP> heard;
    for (int number = 0; number < kHeardByEach; ++number) {
      heard.push_back({.mac = "BB:BB:BB:BB:" + std::to_string((device * kHeardByEach + number) % scene_.rogues),
                       .ssid = "rogue",
                       .trusted = 0,
                       .band = records::WIFIBandType::k2_4GHz,
                       .channel = 6,
                       .signal = -60 - number});
    }
    return heard;
  }

  const Scene scene_;
  std::uint64_t octets_ = 0;
  probe::VirtualClock clock_{kMidnight};
  probe::ClockInstallation installation_{clock_};
  std::unique_ptr<Monitor> report_;
};

/// Times passes, a slot each, from `now` on.
template <typename Monitor>
bench::Stopwatch TimePasses(benchmark::State& state, WirelessNetwork<Monitor>& network, time_t now) {
  bench::Stopwatch stopwatch;
  for (auto _ : state) {
    state.PauseTiming();
    network.Change(now);
    now += kSlotSeconds;
    state.ResumeTiming();
    stopwatch.Time([&] { network.Pass(); });
  }
  return stopwatch;
}

/// Times the passes that follow so many slots of a day.
template <typename Monitor>
void MeasurePasses(benchmark::State& state, const Scene& scene, int slots) {
  WirelessNetwork<Monitor> network(scene);
  network.Change(kMidnight - kPastDays * kDaySeconds);  // what the host holds is not counted
  const double empty = bench::HeapBytes();
  network.FillSevenDays(slots);
  const bench::Stopwatch stopwatch = TimePasses(state, network, kMidnight + slots * kSlotSeconds);
  state.counters["bytes_per_access_point"] = (bench::HeapBytes() - empty) / static_cast<double>(state.range(0));
  stopwatch.Report(state, "access_point");
}

/// A pass that takes samples: eight SSIDs on two bands of each access point, seven days full. The second argument is
/// the number of samples before: of a morning, of an evening.
void BM_NetworkReportPass(benchmark::State& state) {
  MeasurePasses<Product>(state, {.access_points = state.range(0)}, static_cast<int>(state.range(1)));
}
BENCHMARK(BM_NetworkReportPass)
    ->ArgsProduct({{10, 100, 1'000, 5'000}, {kMorning, kEvening}})
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond);

/// The same of the plain version, which takes a thousand times as long in the evening.
void BM_NetworkReportPlainPass(benchmark::State& state) {
  MeasurePasses<Plain>(state, {.access_points = state.range(0)}, static_cast<int>(state.range(1)));
}
BENCHMARK(BM_NetworkReportPlainPass)
    ->ArgsProduct({{10, 100}, {kMorning, kEvening}})
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond);

/// The fold alone, without questions to the host: the devices, their networks and bands.
void BM_NetworkReportFold(benchmark::State& state) {
  WirelessNetwork<Product> network({.access_points = state.range(0)});
  network.FillSevenDays(kEvening);
  WirelessNetworkReport& report = network.Report().Report();
  const std::string day = Monitor::GetDateStr(kMidnight);
  const std::string week = Monitor::GetWeekStr(kMidnight);
  long now = static_cast<long>(kMidnight) + kEvening * kSlotSeconds;
  bench::Stopwatch stopwatch;
  for (auto _ : state) {
    state.PauseTiming();
    network.Change(static_cast<time_t>(now));
    for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
      report.CollectOneSSID(mac, DeviceManager::GetInstance().device(mac), now, day, week);
    }
    state.ResumeTiming();
    stopwatch.Time([&] {
      report.CollectSSIDsByMac(now, day, week);
      report.CollectSSIDs(now, day, week);
      report.CollectSpectrums(now, day, week);
    });
    now += kSlotSeconds;
  }
  stopwatch.Report(state, "access_point");
}
BENCHMARK(BM_NetworkReportFold)->Arg(1'000)->Arg(5'000)->Iterations(kMeasuredPasses)->Unit(benchmark::kMillisecond);

/// A pass while the host knows every second access point by its MAC alone.
void BM_NetworkReportWithoutBasicInfo(benchmark::State& state) {
  MeasurePasses<Product>(state, {.access_points = state.range(0), .basic_info_every = 2}, kMorning);
}
BENCHMARK(BM_NetworkReportWithoutBasicInfo)
    ->Arg(1'000)
    ->Arg(4'000)
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond);

/// Rogue access points alone, in the evening: each access point hears 20 of them, each of them is heard by five.
void BM_NetworkReportScans(benchmark::State& state) {
  const auto rogues = static_cast<int>(state.range(0) * kHeardByEach / kHearersOfEach);
  MeasurePasses<Product>(state, {.access_points = state.range(0), .has_ssids = false, .rogues = rogues}, kEvening);
}
BENCHMARK(BM_NetworkReportScans)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1'000)
    ->Arg(5'000)
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond);

/// The same for twenty rogue access points, each of them heard by every access point.
void BM_NetworkReportSharedScans(benchmark::State& state) {
  MeasurePasses<Product>(state, {.access_points = state.range(0), .has_ssids = false, .rogues = kHeardByEach},
                         kEvening);
}
BENCHMARK(BM_NetworkReportSharedScans)
    ->Arg(100)
    ->Arg(1'000)
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond);

/// One access point that hears 100 rogue ones in each scan, all of them for the first time, for three days.
void BM_NetworkReportNewRogues(benchmark::State& state) {
  const double empty = bench::HeapBytes();
  WirelessNetwork<Product> network({.access_points = 1, .has_ssids = false, .new_rogues = 100});
  time_t now = kMidnight - 3 * kDaySeconds;
  for (; now < kMidnight; now += kSlotSeconds) {
    network.Change(now);
    network.Pass();
  }
  const bench::Stopwatch stopwatch = TimePasses(state, network, now);
  state.counters["bytes"] = bench::HeapBytes() - empty;
  state.counters["ns_per_new_rogue"] = stopwatch.Milliseconds() * 1e6 / static_cast<double>(state.iterations()) / 100;
}
BENCHMARK(BM_NetworkReportNewRogues)->Iterations(kMeasuredPasses)->Unit(benchmark::kMillisecond);

/// How long a pass holds the lock for writing, in the evening and in the first pass of a day, by the processor time of
/// its thread. Bounded from above: the steps that take the lock are timed, with what they do before.
void BM_NetworkReportLockHeld(benchmark::State& state) {
  WirelessNetwork<Product> network({.access_points = state.range(0)});
  network.FillSevenDays(kEvening);
  WirelessNetworkReport& report = network.Report().Report();
  double longest = 0;
  const auto time_step = [&longest](auto step) {
    bench::Stopwatch stopwatch;
    stopwatch.Time(step);
    longest = std::max(longest, stopwatch.Milliseconds());
  };
  long now = static_cast<long>(kMidnight) + kEvening * kSlotSeconds;
  for (auto _ : state) {
    network.Change(static_cast<time_t>(now));
    const std::string day = Monitor::GetDateStr(now);
    const std::string week = Monitor::GetWeekStr(now);
    time_step([&] { report.CleaRedundantSampleData(day, week, false); });
    for (const std::string& mac : DeviceManager::GetInstance().GetOnlineManagedDevices(true)) {
      report.CollectOneSSID(mac, DeviceManager::GetInstance().device(mac), now, day, week);
    }
    report.CollectSSIDsByMac(now, day, week);
    time_step([&] { report.CollectSSIDs(now, day, week); });
    time_step([&] { report.CollectAccessPoints(now, day, week); });
    time_step([&] { report.CollectSpectrums(now, day, week); });
    now += kSlotSeconds;
  }
  state.counters["longest_held_ms"] = longest;
}
BENCHMARK(BM_NetworkReportLockHeld)
    ->Arg(1'000)
    ->Iterations(2 * kMeasuredPasses)  // the second half is of the day after
    ->Unit(benchmark::kMillisecond);

/// How long a reader waits at most for the lock of the report, in the evening and in the first pass of a day.
void BM_NetworkReportReaderWait(benchmark::State& state) {
  using std::chrono::steady_clock;
  const auto rogues = static_cast<int>(state.range(0) * kHeardByEach / kHearersOfEach);
  WirelessNetwork<Product> network({.access_points = state.range(0), .rogues = rogues});
  network.FillSevenDays(kEvening);
  std::atomic<bool> is_over{false};
  steady_clock::duration longest{};
  std::thread reader([&] {
    while (!is_over) {
      const auto begin = steady_clock::now();
      benchmark::DoNotOptimize(network.Report().Report().CheckPeriodExpire("daily", "none"));
      longest = std::max(longest, steady_clock::now() - begin);
    }
  });
  time_t now = kMidnight + kEvening * kSlotSeconds;
  for (auto _ : state) {
    network.Change(now);
    network.Pass();
    now += kSlotSeconds;
  }
  is_over = true;
  reader.join();
  state.counters["longest_wait_ms"] = std::chrono::duration<double, std::milli>(longest).count();
}
BENCHMARK(BM_NetworkReportReaderWait)
    ->Arg(1'000)
    ->Iterations(2 * kMeasuredPasses)  // the second half is of the day after
    ->Unit(benchmark::kMillisecond);

}  // namespace
