// Does a network fit into the memory of a small appliance? All six monitors of the plug-in watch it until they hold all
// that they ever hold; then each of them sends a message to a subscriber, and both reports are made.
//
//   bash -c 'ulimit -v 524288; build/release/bin/bench_appliance --benchmark_filter=Interfaces/20000'
//
// Counters, in octets for one thing: `host`, its readings; `monitors`; and in MB, `peak_mb`, the largest resident size
// of the process, which belongs to this one network only when no other was measured before.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

#include "bench/stopwatch.h"
#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/filter.h"
#include "monitor/health/health_monitor.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/traffic/traffic_monitor.h"
#include "monitor/wirelesstop/wireless_top_filter.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"

namespace {

namespace records = vexora_probe::models::controller;

constexpr time_t kSaturday = 1'795'219'200;  // 2026-11-21 00:00 UTC: the week has seven days
constexpr int kMinuteSeconds = 60;
constexpr int kDaySeconds = 86'400;
constexpr int kPassesEach = 5;  // the network report takes samples in every fifth pass
constexpr int kDays = 62;       // until the longest history is full
constexpr int kSlots = 288;     // samples of the network report in a day
constexpr int kPortsEach = 50;
constexpr int kNetworksEach = 8;  // on two bands

/// So many interfaces on switches, and access points with so many clients each.
struct Size {
  int interfaces = 0;
  int access_points = 0;
  int clients_each = 0;
};

std::string Mac(int prefix, int number) {
  std::string text = "00:00:00:00:00:00";
  constexpr const char* kDigits = "0123456789ABCDEF";
  auto rest = static_cast<unsigned>(number);
  for (const std::size_t place : {16U, 15U, 13U, 12U, 10U, 9U}) {
    text[place] = kDigits[rest % 16];
    rest /= 16;
  }
  text[0] = kDigits[prefix % 16];
  return text;
}

class Appliance {
 public:
  explicit Appliance(const Size& size) : size_(size) {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
    tzset();
    probe::DeviceCentre::Instance().Clear();
  }
  ~Appliance() { probe::DeviceCentre::Instance().Clear(); }
  Appliance(const Appliance&) = delete;
  Appliance& operator=(const Appliance&) = delete;

  void Advance(int seconds) {
    now_ += seconds;
    octets_ += static_cast<std::uint64_t>(seconds) * 1'000'000;
    clock_.Set(now_);
    auto& centre = probe::DeviceCentre::Instance();
    for (int first = 0; first < size_.interfaces; first += kPortsEach) centre.Replace(Mac(1, first), Switch());
    for (int number = 0; number < size_.access_points; ++number) centre.Replace(Mac(2, number), AccessPoint(number));
  }

  void Pass() {
    const auto update = [this](Monitor& monitor) {
      monitor.set_current_time(static_cast<long>(now_));
      monitor.DataUpdate();
    };
    for (Monitor* monitor :
         std::initializer_list<Monitor*>{&client_count_, &health_, &traffic_, &client_report_, &top_}) {
      update(*monitor);
    }
    for (int pass = 0; pass < kPassesEach; ++pass) update(network_report_);
  }

  /// Weeks and histories, then a day with all samples of the network report.
  void Fill() {
    for (int day = 0; day < kDays; ++day) {
      Advance(kDaySeconds);
      Pass();
    }
    constexpr int kSlotSeconds = 5 * kMinuteSeconds;
    for (int slot = 1; slot < (size_.access_points == 0 ? 1 : kSlots); ++slot) {
      now_ += kSlotSeconds;
      clock_.Set(now_);
      Pass();
    }
  }

  /// What one subscriber of each topic and one reader of each report get.
  std::size_t Messages() {
    std::size_t octets = 0;
    Filter filter;
    filter.interval = monitoring::kView1m;
    octets += traffic_.GenerateJsonMsg(monitoring::kTrafficMonitor, filter, {"a"}).size();
    WirelessTopFilter top;
    top.wireless_clients.orderby = "total";
    top.wireless_clients.count = 10;
    octets += top_.GenerateJsonMsg(monitoring::kWirelessTopMonitor, &top, {"a"}).size();
    const std::string day = Monitor::GetDateStr(static_cast<long>(now_));
    octets += client_report_.GetWirelessReport(monitoring::kDaily, day).size();
    octets += network_report_.GetWirelessReport(monitoring::kDaily, day).size();
    return octets;
  }

 private:
  std::shared_ptr<const records::TrafficStats> Traffic(int index) const {
    return std::make_shared<records::TrafficStats>(
        records::TrafficStats{.if_index = index, .in_bytes = octets_, .out_bytes = octets_ * 2});
  }

  probe::DeviceSnapshot Switch() const {
    probe::DeviceSnapshot snapshot;
    snapshot.basic_info->type = records::DeviceType::kSwitch;
    snapshot.sample_time = now_;
    for (int port = 0; port < kPortsEach; ++port) {
      auto state = std::make_shared<records::InterfaceState>();
      state->traffic = Traffic(port);
      snapshot.interfaces["ge" + std::to_string(port)] = std::move(state);
    }
    return snapshot;
  }

  probe::DeviceSnapshot AccessPoint(int number) const {
    probe::DeviceSnapshot snapshot;
    snapshot.is_wireless = true;
    snapshot.basic_info->type = records::DeviceType::kAccessPoint;
    snapshot.basic_info->hostname = "access-point-" + std::to_string(number);
    snapshot.sample_time = now_;
    snapshot.polling_time = now_;
    snapshot.radios["radio0"].band = records::WIFIBandType::k2_4GHz;
    snapshot.radios["radio1"].band = records::WIFIBandType::k5GHz;
    for (int network = 0; network < kNetworksEach; ++network) {
      const std::string ssid = "network-" + std::to_string(network);
      snapshot.ssid_config[ssid + "@BOTH"] = {.name = ssid};
      for (const char* radio : {"radio0", "radio1"}) {
        snapshot.ssid_interfaces[ssid + radio] = {
            .ssid = ssid, .radio = radio, .traffic = Traffic(network), .client_count = 0, .clients = {}};
      }
    }
    for (int client = 0; client < size_.clients_each; ++client) {
      records::SSIDIfState& network = snapshot.ssid_interfaces["network-" + std::to_string(client % 8) + "radio1"];
      ++network.client_count;
      network.clients.push_back({.mac = Mac(3, number * size_.clients_each + client),
                                 .hostname = "client-" + std::to_string(client),
                                 .mode = records::WIFIOpMode::k802_11ac,
                                 .data_rate = 866,
                                 .in_bytes = octets_,
                                 .out_bytes = octets_ * 3});
    }
    return snapshot;
  }

  const Size size_;
  ClientCountMonitor client_count_;
  HealthMonitor health_;
  WirelessClientReport client_report_;
  vexora_probe::monitor::WirelessNetworkReport network_report_;
  TrafficMonitor traffic_;
  WirelessTopMonitor top_;
  time_t now_ = kSaturday - kDays * kDaySeconds;
  std::uint64_t octets_ = 0;
  probe::VirtualClock clock_{kSaturday};
  probe::ClockInstallation installation_{clock_};
};

void Measure(benchmark::State& state, const Size& size) {
  for (auto _ : state) {
    Appliance appliance(size);
    const double empty = bench::HeapBytes();
    appliance.Advance(kMinuteSeconds);
    const double read = bench::HeapBytes();
    appliance.Fill();
    const auto things = static_cast<double>(state.range(0));
    state.counters["host"] = (read - empty) / things;
    state.counters["monitors"] = (bench::HeapBytes() - read) / things;
    state.counters["messages_mb"] = static_cast<double>(appliance.Messages()) / 1e6;
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peak_mb"] = static_cast<double>(usage.ru_maxrss) / 1e3;
}

/// Interfaces of switches, 50 ports each.
void BM_Interfaces(benchmark::State& state) {
  Measure(state, {.interfaces = static_cast<int>(state.range(0)), .access_points = 0, .clients_each = 0});
}
BENCHMARK(BM_Interfaces)->Arg(10'000)->Arg(20'000)->Arg(40'000)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Access points with eight SSIDs on two bands and nobody on them.
void BM_AccessPoints(benchmark::State& state) {
  Measure(state, {.interfaces = 0, .access_points = static_cast<int>(state.range(0)), .clients_each = 0});
}
BENCHMARK(BM_AccessPoints)->Arg(1'000)->Arg(2'000)->Arg(4'000)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Clients, 50 on each access point.
void BM_Clients(benchmark::State& state) {
  constexpr int kClientsEach = 50;
  Measure(state, {.interfaces = 0,
                  .access_points = static_cast<int>(state.range(0)) / kClientsEach,
                  .clients_each = kClientsEach});
}
BENCHMARK(BM_Clients)->Arg(20'000)->Arg(40'000)->Arg(80'000)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Switches with ten thousand interfaces, and so many access points with twenty clients each.
void BM_Mixed(benchmark::State& state) {
  Measure(state, {.interfaces = 10'000, .access_points = static_cast<int>(state.range(0)), .clients_each = 20});
}
BENCHMARK(BM_Mixed)->Arg(1'000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
