// One table of all monitors: what a steady pass costs, beside the plain version that the tests compare with and a loop
// that does little more than finding each thing, all in one run.
//
// Counters, times for one thing (an interface, a device, a client, an access point):
//   ns, plain, loop       processor time of a pass: of the plug-in with what it asks the host, of the plain version, of
//                         the reference loop; 0 where the plain version would take too long
//   of_plain, of_loop     the first as a multiple of the others
//   growth                the first as a multiple of that of the smallest size
//   bytes                 heap that the monitor keeps
//   allocations           of a pass, those of the host included

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/allocations.h"
#include "bench/keyed_traffic.h"
#include "bench/stopwatch.h"
#include "monitor/clientcount/client_count_monitor.h"
#include "monitor/engine/constants.h"
#include "monitor/health/health_monitor.h"
#include "monitor/reports/client/wireless_client_report.h"
#include "monitor/reports/network/wireless_network_report.h"
#include "monitor/traffic/traffic_monitor.h"
#include "monitor/wirelesstop/wireless_top_monitor.h"
#include "platform/device_records.h"
#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "probe/host/device_centre.h"
#include "tests/plain/client_count_monitor.h"
#include "tests/plain/client_report.h"
#include "tests/plain/health_monitor.h"
#include "tests/plain/network_report.h"
#include "tests/plain/traffic_monitor.h"
#include "tests/plain/wireless_top_monitor.h"

namespace {

namespace records = vexora_probe::models::controller;

constexpr time_t kMidnight = 1'795'219'200;  // 2026-11-21 00:00 UTC
constexpr int kMinuteSeconds = 60;
constexpr int kDaySeconds = 86'400;
constexpr int kPortsEach = 50;
constexpr int kClientsEach = 50;
constexpr int kNetworksEach = 8;  // on two bands

/// Something with counters, as the reference loops see it.
struct Thing {
  std::uint64_t key = 0;
  std::uint64_t octets = 0;
};

/// A reference: each thing is found by a number in a hash table, and its counter goes into a ring of thirty.
class KeyedRings {
 public:
  void Pass(const std::vector<Thing>& things) {
    for (const Thing& thing : things) {
      Entry& entry = entries_[thing.key];
      entry.samples[entry.next] = thing.octets - std::exchange(entry.last, thing.octets);
      entry.next = entry.next + 1 == entry.samples.size() ? 0 : entry.next + 1;
    }
  }

 private:
  struct Entry {
    std::array<std::uint64_t, 30> samples{};
    std::size_t next = 0;
    std::uint64_t last = 0;
  };
  std::unordered_map<std::uint64_t, Entry> entries_;
};

/// What a pass of a reference does with all things.
using Loop = std::function<void(const std::vector<Thing>& things, time_t now)>;

Loop RingLoop() {
  return [rings = std::make_shared<KeyedRings>()](const std::vector<Thing>& things, time_t /*now*/) {
    rings->Pass(things);
  };
}

/// The same with all that a traffic monitor has to do: speeds, and means over five longer times.
Loop TrafficLoop() {
  return [keyed = std::make_shared<bench::KeyedTraffic>(), rows = std::vector<bench::KeyedTraffic::Row>()](
             const std::vector<Thing>& things, time_t now) mutable {
    rows.clear();
    for (const Thing& thing : things) {
      rows.push_back({.key = thing.key, .in = thing.octets, .out = thing.octets * 2, .sampled_at = now});
    }
    keyed->Fold(rows, now);
  };
}

/// A device with its counters at a moment.
using Describe = probe::DeviceSnapshot (*)(int number, time_t now, std::uint64_t octets);

std::shared_ptr<const records::TrafficStats> Traffic(int index, std::uint64_t octets) {
  return std::make_shared<records::TrafficStats>(
      records::TrafficStats{.if_index = index, .in_bytes = octets, .out_bytes = octets * 2});
}

probe::DeviceSnapshot Switch(int number, time_t now, std::uint64_t octets) {
  probe::DeviceSnapshot snapshot;
  snapshot.basic_info->hostname = "switch-" + std::to_string(number);
  snapshot.sample_time = now;
  for (int port = 0; port < kPortsEach; ++port) {
    auto state = std::make_shared<records::InterfaceState>();
    state->traffic = Traffic(port, octets);
    snapshot.interfaces["ge" + std::to_string(port)] = std::move(state);
  }
  return snapshot;
}

probe::DeviceSnapshot AccessPoint(int number, time_t now) {
  probe::DeviceSnapshot snapshot;
  snapshot.is_wireless = true;
  snapshot.basic_info->type = records::DeviceType::kAccessPoint;
  snapshot.basic_info->hostname = "ap-" + std::to_string(number);
  snapshot.polling_time = now;
  snapshot.radios["radio0"].band = records::WIFIBandType::k2_4GHz;
  snapshot.radios["radio1"].band = records::WIFIBandType::k5GHz;
  return snapshot;
}

/// MACs in no order, as those of real clients.
std::string ClientMac(int number) {
  constexpr std::uint32_t kOdd = 2'654'435'761;
  return "B0:00:" + std::to_string(static_cast<std::uint32_t>(number) * kOdd);
}

probe::DeviceSnapshot AccessPointWithClients(int number, time_t now, std::uint64_t octets) {
  probe::DeviceSnapshot snapshot = AccessPoint(number, now);
  snapshot.ssid_config["Office@BOTH"] = {};
  records::SSIDIfState& network = snapshot.ssid_interfaces["ath1"];
  network = {
      .ssid = "Office", .radio = "radio1", .traffic = Traffic(1, octets), .client_count = kClientsEach, .clients = {}};
  for (int client = number * kClientsEach; client < (number + 1) * kClientsEach; ++client) {
    network.clients.push_back({.mac = ClientMac(client),
                               .hostname = "client-" + std::to_string(client),
                               .mode = records::WIFIOpMode::k802_11ac,
                               .data_rate = 866,
                               .in_bytes = octets,
                               .out_bytes = octets * 3});
  }
  return snapshot;
}

probe::DeviceSnapshot AccessPointWithNetworks(int number, time_t now, std::uint64_t octets) {
  probe::DeviceSnapshot snapshot = AccessPoint(number, now);
  for (int network = 0; network < kNetworksEach; ++network) {
    const std::string ssid = "network-" + std::to_string(network);
    snapshot.ssid_config[ssid + "@BOTH"] = {.name = ssid};
    for (const char* radio : {"radio0", "radio1"}) {
      snapshot.ssid_interfaces[ssid + radio] = {
          .ssid = ssid, .radio = radio, .traffic = Traffic(network, octets), .client_count = network, .clients = {}};
    }
  }
  return snapshot;
}

/// A monitor, its plain version, and a network for them.
struct Subject {
  const char* name;
  std::function<std::unique_ptr<Monitor>()> make;
  std::function<std::unique_ptr<plain::Monitor>()> make_plain;
  Loop (*make_loop)();
  Describe describe;
  int things_each;    ///< Of a device.
  int counters_each;  ///< Of a thing, for the reference loop.
  int passes;         ///< Until samples are taken.
  int fill_passes;    ///< Samples until the monitor holds all that it ever holds, or the morning of a day.
  int fill_seconds;   ///< Between these.
  std::int64_t plain_limit;
  std::vector<std::int64_t> sizes;  ///< Things.
};

template <typename Kind>
auto Maker() {
  return [] { return std::make_unique<Kind>(); };
}

// The six views are full after so many passes a day apart: the chain needs 5, 2, 6, 2 and 12 samples to begin.
constexpr int kAllViews = 5 + 2 + 6 + 2 + 12 + 31;

std::vector<Subject> LiveMonitors() {
  return {{"traffic",
           Maker<TrafficMonitor>(),
           Maker<plain::TrafficMonitor>(),
           &TrafficLoop,
           &Switch,
           kPortsEach,
           1,
           1,
           kAllViews,
           kDaySeconds,
           10'000,
           {1'000, 10'000, 100'000}},
          {"client_count",
           Maker<ClientCountMonitor>(),
           Maker<plain::ClientCountMonitor>(),
           &RingLoop,
           &AccessPointWithClients,
           1,
           2,
           1,
           kAllViews,
           kDaySeconds,
           1'000,
           {100, 1'000, 4'000}},
          {"health",
           Maker<HealthMonitor>(),
           Maker<plain::HealthMonitor>(),
           &RingLoop,
           &AccessPointWithClients,
           1,
           1,
           1,
           1,
           kMinuteSeconds,
           4'000,
           {100, 1'000, 4'000}},
          {"wireless_top",
           Maker<WirelessTopMonitor>(),
           Maker<plain::WirelessTopMonitor>(),
           &RingLoop,
           &AccessPointWithClients,
           kClientsEach,
           1,
           1,
           1,
           kMinuteSeconds,
           50'000,
           {1'000, 10'000, 50'000}}};
}

std::vector<Subject> Reports() {
  return {{"client_report",
           Maker<WirelessClientReport>(),
           Maker<plain::ClientReport>(),
           &RingLoop,
           &AccessPointWithClients,
           kClientsEach,
           2,
           1,
           14,
           kDaySeconds / 2,
           50'000,
           {1'000, 10'000, 50'000}},
          {"network_report",
           Maker<vexora_probe::monitor::WirelessNetworkReport>(),
           Maker<plain::NetworkReport>(),
           &RingLoop,
           &AccessPointWithNetworks,
           1,
           2 * kNetworksEach,
           5,
           96,
           5 * kMinuteSeconds,
           10,
           {10, 100, 1'000}}};
}

const std::vector<Subject>& Subjects() {
  static const std::vector<Subject> subjects = [] {
    std::vector<Subject> all = LiveMonitors();
    for (Subject& report : Reports()) all.push_back(std::move(report));
    return all;
  }();
  return subjects;
}

/// The network of a subject, of so many things, at a moment that moves on.
class Scene {
 public:
  Scene(const Subject& subject, std::int64_t things) : subject_(subject), things_(things) {
    setenv("TZ", "UTC", 1);  // NOLINT(concurrency-mt-unsafe): before any thread
    tzset();
    probe::DeviceCentre::Instance().Clear();
  }
  ~Scene() { probe::DeviceCentre::Instance().Clear(); }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  void Advance(int seconds) {
    now_ += seconds;
    octets_ += static_cast<std::uint64_t>(seconds) * 1'000;
    clock_.Set(now_);
    const auto devices = static_cast<int>(things_ / subject_.things_each);
    for (int device = 0; device < devices; ++device) {
      probe::DeviceCentre::Instance().Replace("AA:AA:AA:AA:" + std::to_string(device),
                                              subject_.describe(device, now_, octets_));
    }
  }

  void Pass(Monitor& monitor) const {
    for (int pass = 0; pass < subject_.passes; ++pass) {
      monitor.set_current_time(now_);
      monitor.DataUpdate();
    }
  }
  void Pass(plain::Monitor& monitor) const {
    for (int pass = 0; pass < subject_.passes; ++pass) monitor.Pass(now_);
  }

  time_t now() const { return now_; }

  /// What the reference loop finds.
  std::vector<Thing> Things() const {
    std::vector<Thing> things;
    for (std::int64_t number = 0; number < things_ * subject_.counters_each; ++number) {
      things.push_back({.key = static_cast<std::uint64_t>(number), .octets = octets_});
    }
    return things;
  }

 private:
  const Subject& subject_;
  std::int64_t things_;
  time_t now_ = kMidnight;
  std::uint64_t octets_ = 0;
  probe::VirtualClock clock_{kMidnight};
  probe::ClockInstallation installation_{clock_};
};

/// The smallest size's time, by subject.
double& FirstTime(const std::string& name) {
  static std::map<std::string, double> times;
  return times[name];
}

double NanosecondsEach(const bench::Stopwatch& stopwatch, const benchmark::State& state, std::int64_t things) {
  return stopwatch.Milliseconds() * 1e6 / static_cast<double>(state.iterations()) / static_cast<double>(things);
}

void BM_Pass(benchmark::State& state, const Subject& subject, std::int64_t things) {
  Scene scene(subject, things);
  scene.Advance(kMinuteSeconds);  // what the host holds is not counted
  const auto monitor = subject.make();
  const auto plain = subject.make_plain();
  const bool has_plain = things <= subject.plain_limit;
  double bytes = 0;
  const Loop loop = subject.make_loop();
  for (int pass = 0; pass < subject.fill_passes; ++pass) {
    scene.Advance(subject.fill_seconds);
    bytes += bench::HeapGrowth([&] { scene.Pass(*monitor); });
    if (has_plain) scene.Pass(*plain);
    loop(scene.Things(), scene.now());
  }
  bench::Stopwatch product_time;
  bench::Stopwatch plain_time;
  bench::Stopwatch loop_time;
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    state.PauseTiming();
    scene.Advance(kMinuteSeconds * subject.passes);
    const auto numbers = scene.Things();
    loop_time.Time([&] { loop(numbers, scene.now()); });
    if (has_plain) plain_time.Time([&] { scene.Pass(*plain); });
    const std::uint64_t before = bench::Allocations();
    state.ResumeTiming();
    product_time.Time([&] { scene.Pass(*monitor); });
    allocations += bench::Allocations() - before;
  }
  const double product = NanosecondsEach(product_time, state, things);
  double& first = FirstTime(subject.name);
  if (things == subject.sizes.front()) first = product;
  const double plain_each = NanosecondsEach(plain_time, state, things);
  const double loop_each = NanosecondsEach(loop_time, state, things);
  state.counters["ns"] = product;
  state.counters["plain"] = plain_each;
  state.counters["loop"] = loop_each;
  state.counters["of_plain"] = has_plain ? product / plain_each : 0;
  state.counters["of_loop"] = product / loop_each;
  state.counters["growth"] = first == 0 ? 0 : product / first;
  state.counters["bytes"] = bytes / static_cast<double>(things);
  state.counters["allocations"] =
      static_cast<double>(allocations) / static_cast<double>(state.iterations()) / static_cast<double>(things);
}

/// The client report of a day as text. Counters: `length` of the text; octets that the process takes at most while it
/// is built, by the plug-in and by the plain version; and the first as a multiple of the other two.
void BM_ReportText(benchmark::State& state) {
  const Subject& subject = *std::find_if(Subjects().begin(), Subjects().end(),
                                         [](const Subject& each) { return each.name == std::string("client_report"); });
  Scene scene(subject, state.range(0));
  const auto monitor = subject.make();
  const auto plain = subject.make_plain();
  for (int pass = 0; pass < 2; ++pass) {
    scene.Advance(kMinuteSeconds);
    scene.Pass(*monitor);
    scene.Pass(*plain);
  }
  const std::string day = Monitor::GetDateStr(static_cast<long>(scene.now()));
  double product_bytes = 0;
  double plain_bytes = 0;
  std::size_t length = 0;
  for (auto _ : state) {
    state.PauseTiming();
    plain_bytes = bench::PeakGrowth([&] { benchmark::DoNotOptimize(plain->Report(monitoring::kDaily, day)); });
    state.ResumeTiming();
    product_bytes = bench::PeakGrowth([&] { length = monitor->GetWirelessReport(monitoring::kDaily, day).size(); });
  }
  state.counters["length"] = static_cast<double>(length);
  state.counters["bytes"] = product_bytes;
  state.counters["plain_bytes"] = plain_bytes;
  state.counters["of_plain"] = product_bytes / plain_bytes;
  state.counters["of_length"] = product_bytes / static_cast<double>(length);
}
BENCHMARK(BM_ReportText)->Name("client_report_text")->Arg(50'000)->Iterations(3)->Unit(benchmark::kMillisecond);

const bool kIsRegistered = [] {
  constexpr int kMeasuredPasses = 10;
  for (const Subject& subject : Subjects()) {
    for (const std::int64_t size : subject.sizes) {
      benchmark::RegisterBenchmark((std::string(subject.name) + "/" + std::to_string(size)).c_str(), &BM_Pass,
                                   std::cref(subject), size)
          ->Iterations(kMeasuredPasses)
          ->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}();

}  // namespace
