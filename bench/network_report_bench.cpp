// What does a pass of the wireless network report cost at the end of a day, when it has the most samples to fold, and
// what memory does an access point take?

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <list>
#include <memory>
#include <string>

#include "bench/stopwatch.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "platform/device_centre.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"

namespace {

namespace records = vexora_probe::models::controller;
using vexora_probe::monitor::WirelessNetworkReport;

constexpr time_t kMidnight = 1'795'219'200;  // 2026-11-21 00:00 UTC, a Saturday: the week has seven days
constexpr int kDaySeconds = 86'400;
constexpr int kSlotSeconds = 300;
constexpr int kPassesPerSample = 5;
constexpr int kPastDays = 6;
constexpr int kSlotsBefore = 276;    // of the last day, filled before the clock runs
constexpr int kMeasuredPasses = 12;  // and the day has its 288
constexpr int kSSIDs = 8;
constexpr int kHeardByEach = 20;
constexpr int kHearersOfEach = 5;

std::string Mac(int device) {
  return "AA:AA:AA:AA:" + std::to_string(device);
}

/// Access points with eight SSIDs on two bands each, and rogue ones that are heard by several of them.
class WirelessNetwork {
 public:
  /// `rogues`: the number of rogue access points; each access point hears 20 of them, or none when there are none.
  WirelessNetwork(std::int64_t access_points, bool has_ssids, std::int64_t rogues)
      : access_points_(static_cast<int>(access_points)), has_ssids_(has_ssids), rogues_(static_cast<int>(rogues)) {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
    tzset();
    day_ = Monitor::GetDateStr(kMidnight);
    week_ = Monitor::GetWeekStr(kMidnight);
    probe::DeviceCentre::Instance().Clear();
    clock_.Set(kMidnight - kPastDays * kDaySeconds);
    report_ = std::make_unique<WirelessNetworkReport>();
  }
  ~WirelessNetwork() { probe::DeviceCentre::Instance().Clear(); }
  WirelessNetwork(const WirelessNetwork&) = delete;
  WirelessNetwork& operator=(const WirelessNetwork&) = delete;

  /// Moves the counters of every SSID interface on.
  void Change(time_t now) {
    octets_ += 37'500'000;
    for (int device = 0; device < access_points_; ++device) {
      probe::DeviceCentre::Instance().Replace(Mac(device), Snapshot(device, now));
    }
    clock_.Set(now);
  }

  /// The five passes of which the last one takes samples.
  void Pass() {
    for (int pass = 0; pass < kPassesPerSample; ++pass) report_->CollectData();
  }

  /// Six finished days, and a seventh as far as the samples to be measured.
  void FillSevenDays() {
    for (int day = -kPastDays; day < 0; ++day) {
      Change(kMidnight + day * kDaySeconds + kDaySeconds / 2);
      Pass();
      Change(kMidnight + day * kDaySeconds + kDaySeconds / 2 + kSlotSeconds);
      Pass();
    }
    Change(kMidnight);
    Pass();
    for (int slot = 1; slot < kSlotsBefore; ++slot) TakeSamples(kMidnight + slot * kSlotSeconds);
  }

 private:
  /// The samples of a pass without its folding.
  void TakeSamples(long now) {
    clock_.Set(static_cast<time_t>(now));
    for (int number = 0; number < access_points_; ++number) {
      const auto device = DeviceManager::GetInstance().device(Mac(number));
      if (rogues_ != 0) report_->CollectNeighboringAPs(device, now, day_, week_);
      if (has_ssids_) report_->CollectOneSSID(device, now, day_, week_);
    }
  }

  probe::DeviceSnapshot Snapshot(int device, time_t now) const {
    probe::DeviceSnapshot snapshot;
    snapshot.is_wireless = true;
    snapshot.basic_info->type = records::DeviceType::kAccessPoint;
    snapshot.basic_info->hostname = "ap-" + std::to_string(device);
    snapshot.polling_time = now;
    snapshot.radios["radio0"].band = records::WIFIBandType::k2_4GHz;
    snapshot.radios["radio1"].band = records::WIFIBandType::k5GHz;
    if (has_ssids_) AddSSIDs(snapshot);
    if (rogues_ != 0) snapshot.neighbours = Neighbours(device);
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

  std::list<records::NeighboringAP> Neighbours(int device) const {
    std::list<records::NeighboringAP> heard;
    for (int number = 0; number < kHeardByEach; ++number) {
      heard.push_back({.mac = "BB:BB:BB:BB:" + std::to_string((device * kHeardByEach + number) % rogues_),
                       .ssid = "rogue",
                       .trusted = 0,
                       .band = records::WIFIBandType::k2_4GHz,
                       .channel = 6,
                       .signal = -60 - number});
    }
    return heard;
  }

  const int access_points_;
  const bool has_ssids_;
  const int rogues_;
  std::string day_;
  std::string week_;
  std::uint64_t octets_ = 0;
  probe::VirtualClock clock_{kMidnight};
  probe::ClockInstallation installation_{clock_};
  std::unique_ptr<WirelessNetworkReport> report_;
};

/// Times the last passes of a day.
void MeasurePasses(benchmark::State& state, WirelessNetwork& network) {
  const double empty = bench::HeapBytes();
  network.FillSevenDays();
  time_t now = kMidnight + kSlotsBefore * kSlotSeconds;
  bench::Stopwatch stopwatch;
  for (auto _ : state) {
    state.PauseTiming();
    network.Change(now);
    now += kSlotSeconds;
    state.ResumeTiming();
    stopwatch.Time([&] { network.Pass(); });
  }
  state.counters["bytes_per_access_point"] = (bench::HeapBytes() - empty) / static_cast<double>(state.range(0));
  stopwatch.Report(state, "access_point");
}

/// A pass that takes samples, the last ones of a day: eight SSIDs on two bands of each access point, seven days full.
void BM_NetworkReportPass(benchmark::State& state) {
  WirelessNetwork network(state.range(0), /*has_ssids=*/true, /*rogues=*/0);
  MeasurePasses(state, network);
}
BENCHMARK(BM_NetworkReportPass)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1'000)
    ->Arg(5'000)
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

/// The same for rogue access points alone: each access point hears 20 of them, each of them is heard by five.
void BM_NetworkReportScans(benchmark::State& state) {
  WirelessNetwork network(state.range(0), /*has_ssids=*/false, state.range(0) * kHeardByEach / kHearersOfEach);
  MeasurePasses(state, network);
}
BENCHMARK(BM_NetworkReportScans)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1'000)
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

/// The same for twenty rogue access points, each of them heard by every access point.
void BM_NetworkReportSharedScans(benchmark::State& state) {
  WirelessNetwork network(state.range(0), /*has_ssids=*/false, kHeardByEach);
  MeasurePasses(state, network);
}
BENCHMARK(BM_NetworkReportSharedScans)
    ->Arg(100)
    ->Arg(200)
    ->Arg(400)
    ->Arg(800)
    ->Iterations(kMeasuredPasses)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace
