// What the server adds to what the system itself takes for the same octets.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/websocket_clients.h"
#include "platform/sending.h"

namespace {

using bench::Client;
using bench::Clock;
using bench::CpuSeconds;
using bench::Readers;
using bench::Seconds;
using bench::Served;

constexpr std::size_t kClients = 100;
constexpr std::size_t kMessageBytes = 1'660'000;

/// A message of the benchmark's size, and the frames of which a client gets it.
struct Message {
  explicit Message(std::size_t number)
      : text(R"({"name":"T","data":{"sid":["sid"],"number":)" + std::to_string(number)) {
    text += R"(,"x":")" + std::string(kMessageBytes - text.size() - 8, 'x') + "\"}}";
    constexpr std::size_t kFragment = 65532;
    for (std::size_t at = 0; at < text.size(); at += kFragment) {
      const std::size_t length = std::min(kFragment, text.size() - at);
      const bool is_last = at + length == text.size();
      frames += static_cast<char>((at == 0 ? 1 : 0) | (is_last ? 0x80 : 0));
      frames += '\x7e';
      frames += static_cast<char>(length >> 8);
      frames += static_cast<char>(length & 0xff);
      frames.append(text, at, length);
    }
  }
  std::string text;
  std::string frames;
};

/// Connections that a loop of bare system calls writes to.
class BareServer {
 public:
  BareServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 128) != 0)
      throw std::runtime_error("listen");
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    for (std::size_t i = 0; i < kClients; ++i) {
      clients.push_back(std::make_unique<Client>(ntohs(address.sin_port), nullptr));
      sockets_.push_back(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    }
  }
  ~BareServer() {
    for (const int socket : sockets_) close(socket);
    close(listener_);
  }
  BareServer(const BareServer&) = delete;
  BareServer& operator=(const BareServer&) = delete;

  /// Writes to every client, whose turn comes when its socket can take more.
  void Send(const std::vector<const Message*>& messages) {
    std::vector<pollfd> waiting;
    std::vector<std::size_t> sent(kClients, 0);
    std::size_t open = kClients;
    while (open > 0) {
      waiting.clear();
      for (std::size_t i = 0; i < kClients; ++i)
        waiting.push_back({sent[i] < messages[i]->frames.size() ? sockets_[i] : -1, POLLOUT, 0});
      poll(waiting.data(), waiting.size(), -1);
      for (std::size_t i = 0; i < kClients; ++i) {
        if (waiting[i].revents == 0) continue;
        const std::string& frames = messages[i]->frames;
        iovec part{const_cast<char*>(frames.data()) + sent[i], frames.size() - sent[i]};
        msghdr header{};
        header.msg_iov = &part;
        header.msg_iovlen = 1;
        if (const auto count = sendmsg(sockets_[i], &header, MSG_NOSIGNAL); count > 0)
          sent[i] += static_cast<std::size_t>(count);
        if (sent[i] == frames.size()) --open;
      }
    }
  }

  std::vector<std::unique_ptr<Client>> clients;

 private:
  int listener_;
  std::vector<int> sockets_;
};

/// Wall and processor time of one way of sending, without the readers' part of the latter.
struct Cost {
  double wall = 0;
  double cpu = 0;

  template <typename Send>
  void Add(const Readers& readers, Send send) {
    const auto began = Clock::now();
    const double cpu_before = CpuSeconds(RUSAGE_SELF) - readers.cpu_seconds();
    send();
    wall += Seconds(Clock::now() - began);
    cpu += CpuSeconds(RUSAGE_SELF) - readers.cpu_seconds() - cpu_before;
  }
};

void PushBesideBareSendmsg(benchmark::State& state, std::size_t different_texts, bool has_tls) {
  Served served(kClients, has_tls);
  const auto handles = served.Handles();
  BareServer bare;
  std::vector<std::unique_ptr<Message>> texts;
  for (std::size_t i = 0; i < different_texts; ++i) texts.push_back(std::make_unique<Message>(i));
  std::vector<const Message*> messages;
  for (std::size_t i = 0; i < kClients; ++i) messages.push_back(texts[i % different_texts].get());
  std::size_t octets = 0;
  for (const Message* message : messages) octets += message->frames.size();
  Readers bare_readers(bare.clients);
  Readers readers(served.clients());
  Cost bare_cost;
  Cost cost;
  double handing_over = 0;  // processor time in which the sender copies a text, or compares it with the one before
  const SalSendByCon send = GetSalSendByCon();
  for (auto _ : state) {
    bare_cost.Add(bare_readers, [&] {
      bare.Send(messages);
      bare_readers.WaitFor(octets);
    });
    cost.Add(readers, [&] {
      const double before = CpuSeconds(RUSAGE_THREAD);
      for (std::size_t i = 0; i < kClients; ++i) send(handles[i], messages[i]->text);
      handing_over += CpuSeconds(RUSAGE_THREAD) - before;
      readers.WaitFor(octets);
    });
  }
  const auto rounds = static_cast<double>(state.iterations());
  constexpr double kMilli = 1e3;
  state.counters["bare_ms"] = kMilli * bare_cost.wall / rounds;
  state.counters["server_ms"] = kMilli * cost.wall / rounds;
  state.counters["wall_ratio"] = cost.wall / bare_cost.wall;
  state.counters["bare_cpu_ms"] = kMilli * bare_cost.cpu / rounds;
  state.counters["handover_cpu_ms"] = kMilli * handing_over / rounds;
  state.counters["loop_cpu_ms"] = kMilli * (cost.cpu - handing_over) / rounds;
  state.counters["cpu_ratio"] = cost.cpu / bare_cost.cpu;
  state.counters["loop_cpu_ratio"] = (cost.cpu - handing_over) / bare_cost.cpu;
}

void BM_PushOfOneTextTo100(benchmark::State& state) {
  PushBesideBareSendmsg(state, 1, false);
}
BENCHMARK(BM_PushOfOneTextTo100)->Iterations(20)->Unit(benchmark::kMillisecond);

void BM_PushOf100TextsTo100(benchmark::State& state) {
  PushBesideBareSendmsg(state, kClients, false);
}
BENCHMARK(BM_PushOf100TextsTo100)->Iterations(20)->Unit(benchmark::kMillisecond);

void BM_PushOfOneTextOverTlsTo100(benchmark::State& state) {
  PushBesideBareSendmsg(state, 1, true);
}
BENCHMARK(BM_PushOfOneTextOverTlsTo100)->Iterations(5)->Unit(benchmark::kMillisecond);

}  // namespace
