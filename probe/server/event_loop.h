#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/server/connection_events.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/listener.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/tls_context.h"
#include "probe/server/websocket/message_router.h"

namespace probe {

/// One run of the web server, and the owner of all that it takes: the thread that runs the event loop, the listener,
/// the connections.
///
/// Threads: made and destroyed on one thread; the other public functions on any. Other threads reach what runs on the
///          loop by posting to it, and in no other way.
class EventLoop {
 public:
  /// Listens, and serves from now on. Fails: as `WebServer::Start`.
  EventLoop(ServerSettings settings, SubscriptionService& service, HttpService http,
            std::function<void(const std::string& why)> on_failure);

  /// Stops, as `WebServer::Stop`.
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// As those of `WebServer`.
  ConnectionId AddLocalReceiver(std::function<void(const std::string& text)> receiver);
  std::uint16_t port() const { return port_; }
  const std::vector<std::string>& addresses() const { return addresses_; }

 private:
  void Run();
  void StartStop();
  void FinishStop();

  const std::function<void(const std::string& why)> on_failure_;
  boost::asio::io_context io_;
  std::vector<std::string> addresses_;
  std::uint16_t port_ = 0;
  std::shared_ptr<MessageRouter> router_;
  std::unique_ptr<TlsContext> tls_;  // null: no TLS
  std::unique_ptr<Listener> listener_;
  std::optional<ConnectionEvents> events_;
  Timer grace_;
  std::thread thread_;
};

}  // namespace probe
