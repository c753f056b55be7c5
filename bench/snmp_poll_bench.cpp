#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "probe/sources/snmp/net_snmp_agent.h"
#include "probe/sources/snmp/snmp_settings.h"
#include "tests/support/snmp/messages.h"

// What one poll of a switch costs the processor, beside the command-line programs that ask for the same columns, one
// process for each. The agents run in a process of their own and are not counted.

namespace {

using probe::snmp::NetSnmpAgent;
using probe::snmp::Oid;
using probe::snmp::Value;
using probe::snmp::ValueType;

constexpr std::uint32_t kPorts = 24;  // interfaces of the switch

/// The columns of IF-MIB that tell of interfaces and their traffic.
std::vector<Oid> Columns(bool is_extension) {
  std::vector<Oid> columns;
  const Oid table = is_extension ? Oid{1, 3, 6, 1, 2, 1, 31, 1, 1, 1} : Oid{1, 3, 6, 1, 2, 1, 2, 2, 1};
  const std::vector<std::uint32_t> numbers =
      is_extension ? std::vector<std::uint32_t>{1, 6, 10, 15, 19} : std::vector<std::uint32_t>{2, 3, 5, 6, 8, 10, 16};
  for (const std::uint32_t number : numbers) {
    Oid column = table;
    column.push_back(number);
    columns.push_back(column);
  }
  return columns;
}

const std::vector<Oid>& SystemGroup() {
  static const std::vector<Oid> objects{{1, 3, 6, 1, 2, 1, 1, 1, 0},
                                        {1, 3, 6, 1, 2, 1, 1, 2, 0},
                                        {1, 3, 6, 1, 2, 1, 1, 3, 0},
                                        {1, 3, 6, 1, 2, 1, 1, 5, 0}};
  return objects;
}

std::map<Oid, Value> Switch() {
  std::map<Oid, Value> objects;
  for (const Oid& object : SystemGroup()) objects[object] = {ValueType::kOctets, std::string("a switch")};
  for (const bool is_extension : {false, true}) {
    for (Oid cell : Columns(is_extension)) {
      cell.push_back(0);
      for (cell.back() = 1; cell.back() <= kPorts; ++cell.back()) {
        objects[cell] = {ValueType::kCounter64, std::uint64_t{1'000'000'000'000} + cell.back()};
      }
    }
  }
  // So that the last column ends with another object, as on a device.
  objects[{1, 3, 6, 1, 2, 1, 99, 1, 0}] = {ValueType::kInteger, std::int64_t{1}};
  return objects;
}

/// Agents on loopback ports of their own, in a process that ends with this one.
class Agents {
 public:
  explicit Agents(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) Bind();
    child_ = fork();
    if (child_ == 0) Serve();
    for (const pollfd& one : sockets_) close(one.fd);
  }
  ~Agents() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  Agents(const Agents&) = delete;
  Agents& operator=(const Agents&) = delete;

  const std::vector<std::uint16_t>& ports() const { return ports_; }

 private:
  void Bind() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length) != 0) std::abort();
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
    sockets_.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
    ports_.push_back(ntohs(address.sin_port));
  }

  [[noreturn]] void Serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::map<Oid, Value> objects = Switch();
    std::array<char, 65536> buffer{};
    while (true) {
      poll(sockets_.data(), sockets_.size(), -1);
      for (const pollfd& one : sockets_) {
        if (one.revents == 0) continue;
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const ssize_t size =
            recvfrom(one.fd, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
        const auto request = test::ReadSnmpRequest(std::string(buffer.data(), static_cast<std::size_t>(size)));
        if (!request) continue;
        const std::string answer = test::AnswerFrom(objects, *request);
        sendto(one.fd, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&from), length);
      }
    }
  }

  std::vector<pollfd> sockets_;
  std::vector<std::uint16_t> ports_;
  pid_t child_ = 0;
};

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
    probe::snmp::DeviceSettings settings;
    settings.address = "127.0.0.1";
    settings.port = port;
    settings.community = "public";
    devices.push_back(std::make_unique<NetSnmpAgent>(settings));
  }
  std::uint64_t pdus = 0;
  for ([[maybe_unused]] const auto iteration : state) {
    const double before = ProcessorSeconds(RUSAGE_SELF);
    for (const auto& device : devices) {
      device->StartPoll(std::chrono::steady_clock::time_point::max());
      if (device->Get(SystemGroup()).values.empty()) state.SkipWithError("no answer");
      for (const bool is_extension : {false, true}) {
        const auto table = device->ReadTable(Columns(is_extension), 1'000);
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
      for (const Oid& column : Columns(is_extension)) {
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
