#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <openssl/ssl.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "monitor/engine/filter.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/web_server.h"

namespace bench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

/// Processor time of the process or of this thread, user and system.
inline double CpuSeconds(int who) {
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
      fcntl(client->socket(), F_SETFL, O_NONBLOCK);
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
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before any thread
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
  std::uint16_t port() const { return server_->port(); }

  /// What the engine sends to. A subscription is filed after its answer, so the last one is waited for.
  std::vector<lws*> Handles() {
    std::vector<lws*> handles;
    while (handles.size() < clients_.size()) {
      handles.clear();
      const auto subscriptions = service_.GetSubscribeList("T");
      for (const auto& [connection, filter] : subscriptions.at("sid")) handles.push_back(connection);
    }
    return handles;
  }

 private:
  SSL_CTX* const tls_;
  probe::SubscriptionService service_;
  std::unique_ptr<probe::WebServer> server_;
  std::vector<std::unique_ptr<Client>> clients_;
};

}  // namespace bench
