// What the server adds to what the system itself takes for the same octets, and what clients cost it.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "monitor/engine/filter.h"
#include "platform/sending.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/web_server.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kClients = 100;
constexpr std::size_t kMessageBytes = 1'660'000;

double Seconds(Clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

/// Processor time of the process or of this thread, user and system.
double CpuSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  constexpr double kMicro = 1e-6;
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         kMicro * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/// One end of a connection, over TLS or not. Reads and drops; what it sent is counted.
class Client {
 public:
  Client(std::uint16_t port, SSL_CTX* tls) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) throw std::runtime_error("connect");
    if (tls == nullptr) return;
    tls_ = SSL_new(tls);
    SSL_set_fd(tls_, socket_);
    if (SSL_connect(tls_) != 1) throw std::runtime_error("TLS handshake");
  }
  ~Client() {
    SSL_free(tls_);
    close(socket_);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  int socket() const { return socket_; }

  void Send(const std::string& octets) {
    const auto size = static_cast<int>(octets.size());
    const auto sent = tls_ == nullptr ? send(socket_, octets.data(), octets.size(), MSG_NOSIGNAL)
                                      : SSL_write(tls_, octets.data(), size);
    if (sent != size) throw std::runtime_error("send");
  }

  /// Reads until `end` has come.
  void ReadUntil(const std::string& end) {
    std::string received;
    std::array<char, 4096> part{};
    while (received.find(end) == std::string::npos) {
      const auto count = tls_ == nullptr ? recv(socket_, part.data(), part.size(), 0)
                                         : SSL_read(tls_, part.data(), static_cast<int>(part.size()));
      if (count <= 0) throw std::runtime_error("the server hung up");
      received.append(part.data(), static_cast<std::size_t>(count));
    }
  }

  /// Becomes a websocket with a subscription.
  void Subscribe(const std::string& sid) {
    Send(
        "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
    ReadUntil("\r\n\r\n");
    Send(SubscribeFrame(sid));
    ReadUntil("]");
  }

  static std::string SubscribeFrame(const std::string& sid) {
    const std::string text = R"({"subscribe":{"topic":"T","request":[{"sid":")" + sid + R"("}]}})";
    return std::string("\x81") + static_cast<char>(0x80 | static_cast<int>(text.size())) + std::string(4, '\0') + text;
  }

  /// Drops what has come. How many octets that were, of the plain text.
  std::size_t Drop(std::vector<char>& room) {
    std::size_t total = 0;
    for (;;) {
      // with MSG_TRUNC the system drops the octets itself
      const auto count = tls_ == nullptr ? recv(socket_, room.data(), room.size(), MSG_DONTWAIT | MSG_TRUNC)
                                         : SSL_read(tls_, room.data(), static_cast<int>(room.size()));
      if (count <= 0) return total;
      total += static_cast<std::size_t>(count);
    }
  }

 private:
  int socket_;
  SSL* tls_ = nullptr;
};

/// Reads everything that comes to some clients, on a thread of its own.
class Readers {
 public:
  explicit Readers(const std::vector<std::unique_ptr<Client>>& clients) : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
    for (const auto& client : clients) {
      epoll_event event{};
      event.events = EPOLLIN;
      event.data.ptr = client.get();
      epoll_ctl(epoll_, EPOLL_CTL_ADD, client->socket(), &event);
      const timeval short_wait{0, 1};  // TLS reads with a blocking call
      setsockopt(client->socket(), SOL_SOCKET, SO_RCVTIMEO, &short_wait, sizeof short_wait);
    }
    thread_ = std::thread([this] { Run(); });
  }
  ~Readers() {
    must_stop_ = true;
    thread_.join();
    close(epoll_);
  }
  Readers(const Readers&) = delete;
  Readers& operator=(const Readers&) = delete;

  /// Waits until so many octets have come since the last call.
  void WaitFor(std::size_t octets) {
    while (octets_ < octets) std::this_thread::sleep_for(std::chrono::microseconds(100));
    octets_ -= octets;
  }
  double cpu_seconds() const { return cpu_seconds_; }

 private:
  void Run() {
    std::vector<char> room(1 << 20);
    std::array<epoll_event, 128> events{};
    while (!must_stop_) {
      const int count = epoll_wait(epoll_, events.data(), events.size(), 50);
      for (int i = 0; i < count; ++i)
        octets_ += static_cast<Client*>(events[static_cast<std::size_t>(i)].data.ptr)->Drop(room);
      cpu_seconds_ = CpuSeconds(RUSAGE_THREAD);
    }
  }

  const int epoll_;
  std::atomic<std::size_t> octets_{0};
  std::atomic<double> cpu_seconds_{0};
  std::atomic<bool> must_stop_{false};
  std::thread thread_;
};

/// Every element of a request is a subscription.
class Subscriber final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* request) override {
    subscribes::ParsedRequest parsed;
    for (std::size_t i = 0; i < json_object_array_length(request); ++i) {
      json_object* sid = nullptr;
      json_object_object_get_ex(json_object_array_get_idx(request, i), "sid", &sid);
      parsed[json_object_get_string(sid)] = std::make_shared<Filter>();
    }
    return parsed;
  }
  void PushDataBySID(const subscribes::SubscriptionList&) override {}
};

/// A certificate for as long as the process lasts.
class Certificate {
 public:
  Certificate() : folder_(std::filesystem::temp_directory_path() / ("bench." + std::to_string(getpid()))) {
    std::filesystem::create_directories(folder_);
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=probe -keyout '" +
        key() + "' -out '" + certificate() + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("openssl made no certificate");
  }
  ~Certificate() { std::filesystem::remove_all(folder_); }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;

  std::string certificate() const { return folder_ / "certificate.pem"; }
  std::string key() const { return folder_ / "key.pem"; }

 private:
  std::filesystem::path folder_;
};

/// A server without limits to speak of, and its clients.
class Served {
 public:
  Served(std::size_t clients, bool has_tls) : tls_(has_tls ? SSL_CTX_new(TLS_client_method()) : nullptr) {
    probe::log::SetLevel(probe::log::Level::kError);
    service_.AddSubscriber("T", std::make_shared<Subscriber>());
    probe::ServerSettings settings;
    settings.port = 0;
    settings.limits.connections = settings.limits.connections_per_address = 4000;
    settings.limits.messages_per_second = 1'000'000'000;
    if (has_tls) {
      static const Certificate certificate;
      settings.tls_certificate = certificate.certificate();
      settings.tls_key = certificate.key();
    }
    server_ = std::make_unique<probe::WebServer>(settings, service_);
    server_->Start();
    while (clients_.size() < clients) Connect();
  }
  ~Served() { SSL_CTX_free(tls_); }

  Client& Connect() {
    clients_.push_back(std::make_unique<Client>(server_->port(), tls_));
    clients_.back()->Subscribe("sid");
    return *clients_.back();
  }
  const std::vector<std::unique_ptr<Client>>& clients() const { return clients_; }

  std::vector<lws*> Handles() {
    std::vector<lws*> handles;
    for (const auto& [connection, filter] : service_.GetSubscribeList("T")["sid"]) handles.push_back(connection);
    return handles;
  }

 private:
  SSL_CTX* const tls_;
  probe::SubscriptionService service_;
  std::unique_ptr<probe::WebServer> server_;
  std::vector<std::unique_ptr<Client>> clients_;
};

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
  const std::size_t octets = has_tls ? kClients * messages[0]->frames.size() : kClients * messages[0]->frames.size();
  Readers bare_readers(bare.clients);
  Readers readers(served.clients());
  Cost bare_cost;
  Cost cost;
  const SalSendByCon send = GetSalSendByCon();
  for (auto _ : state) {
    bare_cost.Add(bare_readers, [&] {
      bare.Send(messages);
      bare_readers.WaitFor(octets);
    });
    cost.Add(readers, [&] {
      for (std::size_t i = 0; i < kClients; ++i) send(handles[i], messages[i]->text);
      readers.WaitFor(octets);
    });
  }
  const auto rounds = static_cast<double>(state.iterations());
  constexpr double kMilli = 1e3;
  state.counters["bare_ms"] = kMilli * bare_cost.wall / rounds;
  state.counters["server_ms"] = kMilli * cost.wall / rounds;
  state.counters["wall_ratio"] = cost.wall / bare_cost.wall;
  state.counters["bare_cpu_ms"] = kMilli * bare_cost.cpu / rounds;
  state.counters["server_cpu_ms"] = kMilli * cost.cpu / rounds;
  state.counters["cpu_ratio"] = cost.cpu / bare_cost.cpu;
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

/// Memory of the process that is in use.
double ResidentBytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/statm");
  double pages = 0;
  file >> pages >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void IdleConnections(benchmark::State& state, bool has_tls) {
  constexpr std::size_t kIdle = 1000;
  for (auto _ : state) {
    Served served(1, has_tls);
    const double before = ResidentBytes();
    for (std::size_t i = 0; i < kIdle; ++i) served.Connect();
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
    std::vector<std::unique_ptr<Client>> senders;
    Served* const server = &served;
    Client& other = server->Connect();
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
