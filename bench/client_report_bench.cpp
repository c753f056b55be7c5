// What does a pass of the wireless client report cost, what a report, and what memory does a client's row take?

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#include "bench/stopwatch.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/report_limits.h"
#include "monitor/engine/time_keys.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"

namespace {

namespace records = vexora_probe::models::controller;

constexpr time_t kSaturday = 1'795'867'200;  // 2026-11-28 12:00:00 UTC, the last day of its week
constexpr int kClientsPerAccessPoint = 50;
constexpr int kMinuteSeconds = 60;
constexpr int kDaySeconds = 86'400;
constexpr int kDays = monitoring::kMaxReportDays;
constexpr int kWeeks = monitoring::kMaxReportWeeks;

/// Access points of 50 busy clients each, and the report that watches them.
class WatchedNetwork {
 public:
  explicit WatchedNetwork(std::int64_t clients) : clients_(static_cast<int>(clients)) {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
    tzset();
    probe::DeviceCentre::Instance().Clear();
    Describe();
  }
  ~WatchedNetwork() { probe::DeviceCentre::Instance().Clear(); }
  WatchedNetwork(const WatchedNetwork&) = delete;
  WatchedNetwork& operator=(const WatchedNetwork&) = delete;

  /// Moves the clock to a moment and every client's counters on.
  void AdvanceTo(time_t moment) {
    clock_.Set(moment);
    octets_ += 60'000;
    Describe();
  }
  void Advance(int seconds) { AdvanceTo(Now() + seconds); }

  /// One pass.
  void Pass() { monitor.DataUpdate(); }

  /// Makes a row for every client in each of the last four weeks and seven days.
  void FillAllPeriods() {
    for (int week = kWeeks - 1; week > 0; --week) PassTwice(kSaturday - week * 7 * kDaySeconds);
    for (int day = kDays - 1; day >= 0; --day) PassTwice(kSaturday - day * kDaySeconds);
  }

  time_t Now() { return clock_.Now().tv_sec; }
  std::string Today() { return monitoring::time_keys::Day(static_cast<long>(Now())); }

  WirelessClientReport monitor;

 private:
  /// Two passes, because the first one only takes the counters.
  void PassTwice(time_t moment) {
    for (const int second : {0, kMinuteSeconds}) {
      AdvanceTo(moment + second);
      Pass();
    }
  }

  void Describe() const {
    for (int first = 0; first < clients_; first += kClientsPerAccessPoint) {
      probe::DeviceSnapshot snapshot;
      snapshot.is_wireless = true;
      snapshot.basic_info->type = records::DeviceType::kAccessPoint;
      snapshot.radios["wlan1"].band = records::WIFIBandType::k5GHz;
      snapshot.ssid_config["Office@BOTH"] = {};
      records::SSIDIfState& network = snapshot.ssid_interfaces["ath1"];
      network.ssid = "Office";
      network.radio = "wlan1";
      for (int client = first; client < first + kClientsPerAccessPoint; ++client) {
        network.clients.push_back({.mac = Mac(client),
                                   .hostname = "client-" + std::to_string(client),
                                   .mode = records::WIFIOpMode::k802_11ac,
                                   .data_rate = 866,
                                   .in_bytes = octets_,
                                   .out_bytes = octets_ * 3});
      }
      probe::DeviceCentre::Instance().Replace("AA:AA:AA:AA:" + std::to_string(first), std::move(snapshot));
    }
  }

  /// MACs in no order, as those of real clients.
  static std::string Mac(int client) {
    const auto scattered = static_cast<std::uint32_t>(client) * 2'654'435'761U;
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "B0:00:%02X:%02X:%02X:%02X", scattered >> 24U, (scattered >> 16U) & 0xFFU,
                  (scattered >> 8U) & 0xFFU, scattered & 0xFFU);
    return text.data();
  }

  const int clients_;
  std::uint64_t octets_ = 0;
  probe::VirtualClock clock_{kSaturday};
  probe::ClockInstallation installation_{clock_};
};

/// One pass, with a row for every client in each of seven days and four weeks.
void BM_ClientReportPass(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  const double rows = static_cast<double>(state.range(0)) * (kDays + kWeeks);
  state.counters["bytes_per_row"] = bench::HeapGrowth([&] { network.FillAllPeriods(); }) / rows;
  bench::TimeRounds(
      state, "client", [&] { network.Advance(kMinuteSeconds); }, [&] { network.Pass(); });
}
BENCHMARK(BM_ClientReportPass)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(50'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

/// The report on one day.
void BM_ClientReport(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  network.FillAllPeriods();
  const std::string today = network.Today();
  bench::TimeTexts(state, "client", "report_bytes",
                   [&] { return network.monitor.GetWirelessReport(monitoring::kDaily, today); });
}
BENCHMARK(BM_ClientReport)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(50'000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

/// The pass after the clock was set back by a minute: today's rows go, and the week is rebuilt from its other six days.
void BM_ClientReportPassAfterTheClockWasSetBack(benchmark::State& state) {
  WatchedNetwork network(state.range(0));
  network.FillAllPeriods();
  bench::TimeRounds(
      state, "client", [&] { network.Advance(-kMinuteSeconds); }, [&] { network.Pass(); });
}
BENCHMARK(BM_ClientReportPassAfterTheClockWasSetBack)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(50'000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5)
    ->Complexity(benchmark::oN);

}  // namespace
