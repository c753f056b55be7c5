#pragma once

#include <libwebsockets.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/server/connection_events.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/library_timer.h"
#include "probe/server/net/listener.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/connection.h"
#include "probe/server/websocket/message_router.h"

namespace probe {

/// One run of the web server: its thread, and what the library's events become there.
///
/// Threads: made and destroyed on one thread; the other public functions on any.
class ServerRun {
 public:
  /// Listens, and serves from now on. Fails: as `WebServer::Start`.
  ServerRun(ServerSettings settings, SubscriptionService& service, HttpService http);

  /// Stops, as `WebServer::Stop`.
  ~ServerRun();
  ServerRun(const ServerRun&) = delete;
  ServerRun& operator=(const ServerRun&) = delete;

  /// As those of `WebServer`.
  ConnectionId OpenWithin(std::function<void(const std::string& text)> receiver);
  std::uint16_t port() const { return port_; }
  const std::vector<std::string>& addresses() const { return addresses_; }

 private:
  using Fate = ServerLoop::Fate;

  void Run();
  void BeginStop();
  void ArmWatch();
  static int OnEvent(lws* socket, lws_callback_reasons reason, void* session, void* data, std::size_t length);
  Fate Dispatch(lws* socket, lws_callback_reasons reason, void* data, std::size_t length);
  Fate DispatchOpen(Connection& connection, lws_callback_reasons reason, void* data, std::size_t length);
  Fate OnWake();

  std::vector<std::string> addresses_;
  std::uint16_t port_ = 0;
  std::shared_ptr<PostOffice> office_;
  std::unique_ptr<ServerLoop> loop_;
  std::atomic<bool> must_stop_{false};
  bool is_stopping_ = false;  // server thread only, from here on
  bool is_grace_over_ = false;
  LibraryTimer watch_;
  LibraryTimer grace_;
  std::unique_ptr<ListeningContext> context_;
  std::thread thread_;
};

}  // namespace probe
