#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "probe/sources/snmp/device_figures.h"
#include "probe/sources/snmp/device_poll.h"
#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "probe/sources/snmp/stop_event.h"
#include "tests/support/snmp/agent_process.h"

// What one poll of a switch costs the processor, beside the command-line programs that ask for the same columns, one
// process for each. The agents run in a process of their own and are not counted.

namespace {

using probe::snmp::NetSnmpAgent;
using probe::snmp::Oid;

constexpr std::uint32_t kPorts = 24;  // interfaces of the switch

/// So many agents that answer at once.
class Agents : public test::AgentProcess {
 public:
  explicit Agents(std::size_t count)
      : AgentProcess(test::SwitchObjects(kPorts), std::vector<std::chrono::milliseconds>(count)) {}
};

probe::snmp::DeviceSettings SettingsOf(std::uint16_t port) {
  probe::snmp::DeviceSettings settings;
  settings.address = "127.0.0.1";
  settings.port = port;
  settings.community = "public";
  return settings;
}

double ProcessorSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// A pass over so many devices, as the poller's threads make it, one device after the other.
void BM_SnmpPoll(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const Agents agents(count);
  std::vector<std::unique_ptr<NetSnmpAgent>> devices;
  for (const std::uint16_t port : agents.ports()) {
    devices.push_back(std::make_unique<NetSnmpAgent>(SettingsOf(port)));
  }
  std::uint64_t pdus = 0;
  for ([[maybe_unused]] const auto iteration : state) {
    const double before = ProcessorSeconds(RUSAGE_SELF);
    for (const auto& device : devices) {
      device->StartPoll(std::chrono::steady_clock::time_point::max());
      if (device->Get(test::SwitchSystemGroup()).values.empty()) state.SkipWithError("no answer");
      for (const bool is_extension : {false, true}) {
        const auto table = device->ReadTable(test::SwitchColumns(is_extension), 1'000);
        if (table.columns.front().size() != kPorts) state.SkipWithError("not every interface was read");
      }
      pdus += device->statistics().pdus;
    }
    state.SetIterationTime(ProcessorSeconds(RUSAGE_SELF) - before);
  }
  const double polls = static_cast<double>(state.iterations()) * static_cast<double>(count);
  state.counters["pdus_per_poll"] = static_cast<double>(pdus) / polls;
  state.counters["cpu_per_poll"] = benchmark::Counter(polls, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_SnmpPoll)->Arg(10)->Arg(100)->Arg(500)->UseManualTime()->Unit(benchmark::kMillisecond);

/// Memory of a device from poll to poll, that of the library included: its session, what is remembered of its tables,
/// and its figures with their snapshot.
void BM_SnmpDeviceMemory(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const Agents agents(count);
  const probe::snmp::ProfileCatalogue catalogue({VEXORA_PROFILES});
  const probe::snmp::StopEvent stop;
  struct Device {
    std::unique_ptr<probe::snmp::DevicePoll> poll;
    std::unique_ptr<probe::snmp::DeviceFigures> figures;
  };
  for ([[maybe_unused]] const auto iteration : state) {
    std::vector<Device> devices;
    devices.reserve(count);
    const std::size_t before = mallinfo2().uordblks;
    for (const std::uint16_t port : agents.ports()) {
      devices.push_back({probe::snmp::MakeDevicePoll(SettingsOf(port), catalogue, stop),
                         std::make_unique<probe::snmp::DeviceFigures>(SettingsOf(port))});
    }
    constexpr std::int64_t kTicks = 3'000;  // of 30 s
    for (std::int64_t poll = 1; poll <= 3; ++poll) {
      for (const Device& device : devices) {
        const auto result = device.poll->Poll(std::chrono::steady_clock::time_point::max());
        if (!result.reading || !device.figures->Take(*result.reading, {.steady_ticks = poll * kTicks, .wall = poll})) {
          state.SkipWithError("a device has no snapshot");
          return;
        }
      }
    }
    const std::size_t octets = mallinfo2().uordblks - before;
    state.counters["octets_per_device"] = static_cast<double>(octets) / static_cast<double>(count);
  }
}
BENCHMARK(BM_SnmpDeviceMemory)->Arg(500)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Runs a program and waits for its end. False when it failed.
bool Run(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  // Without MIB files, which it would read for longer than it polls.
  std::string no_mibs = "MIBS=";
  std::array<char*, 2> environment{no_mibs.data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int error = posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), environment.data());
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return error == 0 && waitpid(pid, &status, 0) == pid && status == 0;
}

/// The same columns of one device, each read by a process of its own.
void BM_SnmpBulkWalkProcesses(benchmark::State& state) {
  const Agents agents(1);
  const std::string address = "127.0.0.1:" + std::to_string(agents.ports().front());
  for ([[maybe_unused]] const auto iteration : state) {
    const double before = ProcessorSeconds(RUSAGE_CHILDREN);
    bool is_read = true;
    for (const bool is_extension : {false, true}) {
      for (const Oid& column : test::SwitchColumns(is_extension)) {
        is_read = is_read && Run({"/usr/bin/snmpbulkwalk", "-v2c", "-cpublic", "-Cr25", "-On", address,
                                  probe::snmp::OidText(column)});
      }
    }
    if (!is_read) state.SkipWithError("snmpbulkwalk failed");
    state.SetIterationTime(ProcessorSeconds(RUSAGE_CHILDREN) - before);
  }
  state.counters["cpu_per_poll"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_SnmpBulkWalkProcesses)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
