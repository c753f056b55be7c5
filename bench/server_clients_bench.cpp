// What clients cost the server: idle ones in memory, busy ones in time.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/websocket_clients.h"

namespace {

using bench::Client;
using bench::Clock;
using bench::CpuSeconds;
using bench::Readers;
using bench::Seconds;
using bench::Served;

/// Memory of the process that is in use.
double ResidentBytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/statm");
  double pages = 0;
  file >> pages >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// Clients in a process of their own, whose memory is not counted with the server's. Made before the server starts its
/// threads.
class ClientProcess {
 public:
  ClientProcess(std::size_t clients, bool has_tls) {
    if (pipe(to_.data()) != 0 || pipe(from_.data()) != 0) throw std::runtime_error("pipe");
    process_ = fork();
    if (process_ == 0) Connect(clients, has_tls);
    if (process_ < 0) throw std::runtime_error("fork");
    close(std::exchange(from_[1], -1));  // so that the end of a client that failed is seen
  }
  ~ClientProcess() {
    for (const int end : {to_[0], to_[1], from_[0], from_[1]}) close(end);
    waitpid(process_, nullptr, 0);
  }
  ClientProcess(const ClientProcess&) = delete;
  ClientProcess& operator=(const ClientProcess&) = delete;

  /// Has all clients subscribe, and waits until they have.
  void ConnectTo(std::uint16_t port) {
    char done = 0;
    if (write(to_[1], &port, sizeof port) != sizeof port || read(from_[0], &done, 1) != 1 || done != 1)
      throw std::runtime_error("the clients could not connect");
  }

 private:
  [[noreturn]] void Connect(std::size_t clients, bool has_tls) try {
    close(to_[1]);
    std::uint16_t port = 0;
    char done = 1;
    if (read(to_[0], &port, sizeof port) != sizeof port) _exit(1);
    SSL_CTX* const tls = has_tls ? SSL_CTX_new(TLS_client_method()) : nullptr;
    std::vector<std::unique_ptr<Client>> connected;
    for (std::size_t i = 0; i < clients; ++i) {
      connected.push_back(std::make_unique<Client>(port, tls));
      connected.back()->Subscribe("sid");
    }
    if (write(from_[1], &done, 1) != 1) _exit(1);
    _exit(read(to_[0], &done, 1) == 0 ? 0 : 1);  // when the other process closes its end
  } catch (const std::exception&) {
    _exit(1);
  }

  std::array<int, 2> to_{};
  std::array<int, 2> from_{};
  pid_t process_ = -1;
};

void IdleConnections(benchmark::State& state, bool has_tls) {
  constexpr std::size_t kIdle = 1000;
  for (auto _ : state) {
    ClientProcess clients(kIdle, has_tls);
    const Served served(1, has_tls);
    const double before = ResidentBytes();
    clients.ConnectTo(served.port());
    constexpr double kMebibyte = 1024 * 1024;
    state.counters["MiB_for_1000"] = (ResidentBytes() - before) / kMebibyte;
  }
}

void BM_IdleConnections(benchmark::State& state) {
  IdleConnections(state, false);
}
BENCHMARK(BM_IdleConnections)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_IdleConnectionsOverTls(benchmark::State& state) {
  IdleConnections(state, true);
}
BENCHMARK(BM_IdleConnectionsOverTls)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Ten clients send 20,000 subscribes a second between them, and another one measures how long it waits for answers.
void BM_SubscribesAndAnotherClient(benchmark::State& state) {
  constexpr std::size_t kSenders = 10;
  constexpr std::size_t kRounds = 3000;  // milliseconds
  constexpr std::size_t kEach = 2;       // messages of a sender a millisecond
  for (auto _ : state) {
    Served served(kSenders, false);
    Readers readers(served.clients());
    std::string batch;
    for (std::size_t i = 0; i < kEach; ++i) batch += Client::SubscribeFrame("sid");
    Client& other = served.Connect();
    std::atomic<bool> is_over{false};
    std::atomic<double> sender_cpu{0};
    std::atomic<double> sent_for{0};
    const double cpu_before = CpuSeconds(RUSAGE_SELF) - readers.cpu_seconds();
    std::thread flood([&] {
      const auto began = Clock::now();
      for (std::size_t round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < kSenders; ++i) served.clients()[i]->Send(batch);
        std::this_thread::sleep_until(began + std::chrono::milliseconds(round + 1));
      }
      sent_for = Seconds(Clock::now() - began);
      sender_cpu = CpuSeconds(RUSAGE_THREAD);
      is_over = true;
    });
    std::vector<double> waits;
    const double own_before = CpuSeconds(RUSAGE_THREAD);
    while (!is_over) {
      const auto began = Clock::now();
      other.Send(Client::SubscribeFrame("other"));
      other.ReadUntil("]");
      waits.push_back(Seconds(Clock::now() - began));
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    flood.join();
    const double own_cpu = CpuSeconds(RUSAGE_THREAD) - own_before;
    const double cpu = CpuSeconds(RUSAGE_SELF) - readers.cpu_seconds() - cpu_before - own_cpu - sender_cpu;
    std::sort(waits.begin(), waits.end());
    constexpr double kMessages = kRounds * kEach * kSenders;
    state.counters["messages_per_second"] = kMessages / sent_for;
    state.counters["server_cpu_us_per_message"] = 1e6 * cpu / kMessages;
    state.counters["other_p50_ms"] = 1e3 * waits[waits.size() / 2];
    state.counters["other_p99_ms"] = 1e3 * waits[waits.size() * 99 / 100];
  }
}
BENCHMARK(BM_SubscribesAndAnotherClient)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
