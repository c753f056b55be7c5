#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/subscriptions.h"
#include "probe/server/http/access_rules.h"
#include "probe/server/http/http_requests.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/rejection_log.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/connection.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/subscription_requests.h"

namespace probe {

/// What happens on the server thread: every event of a socket ends up here, and nothing else touches the sockets.
///
/// Threads: the server thread only, except where a declaration says otherwise.
class ServerLoop {
 public:
  using Clock = std::chrono::steady_clock;

  /// What the library is to do with the connection of an event.
  enum class Fate { kKeep, kClose };

  /// `http`: what is served besides the websocket; empty functions: nothing.
  ServerLoop(const ServerSettings& settings, std::uint16_t port, SubscriptionService& service,
             std::shared_ptr<PostOffice> office, HttpService http = {});

  /// How often a connection with something unsent is looked after.
  std::chrono::microseconds watch_interval() const;

  /// Whether a TCP connection that was just accepted may stay until its request is read.
  Fate OnAccept(const std::string& address);
  /// The library made a record for the connection of the last `OnAccept`, or let go of one.
  void OnSocketCreated(lws* socket);
  void OnSocketGone(lws* socket);

  /// A request: answered here, unless it is an upgrade that may go ahead (`kKeep`).
  Fate OnUpgradeRequest(lws* socket);
  Fate OnPlainRequest(lws* socket);

  /// A plain request that is being answered: the library waits for it, its socket can take data, or it is over.
  void OnAnswerAwaited(lws* socket) { http_.Await(socket); }
  Fate OnAnswerWritable(lws* socket);
  void OnRequestGone(lws* socket) { http_.Forget(socket); }

  /// A websocket connection: it is open, a piece of a message came in, it can take data, it is gone.
  void OnOpen(lws* socket);
  void OnReceive(Connection& connection, std::string_view piece, bool is_binary, bool is_last);
  Fate OnWritable(Connection& connection);
  void OnClosed(Connection& connection);

  /// Another thread has put messages into outboxes, or has answered requests.
  void OnMail();

  /// Looks for clients that are stuck. False when there is nobody left to watch.
  bool WatchProgress(Clock::time_point now);

  /// Takes leave of everybody and lets nobody in any more.
  void BeginStop();
  bool has_connections() const { return !connections_.empty(); }

  /// The connection of a socket; null before it is open and after it is gone.
  static Connection* ConnectionOf(lws* socket);

 private:
  void Answer(Connection& connection, const ProtocolError& error);
  void Queue(Connection& connection, std::string text);
  void HandleMessage(Connection& connection, IncomingMessage::State state);
  void Forget(Connection& connection);
  void SayFarewell(Connection& connection, int code);
  void Watch(Connection& connection, Clock::time_point now);
  bool HasUnsent(const Connection& connection) const;
  bool WriteFragment(Connection& connection);
  std::optional<Refusal> CheckGate(lws* socket) const;
  std::optional<Refusal> CheckRate(lws* socket);
  void Refuse(lws* socket, const RequestHead& head, const Refusal& refusal);
  std::string AddressOf(lws* socket) const;

  const ServerLimits limits_;
  const AccessRules rules_;
  const std::shared_ptr<PostOffice> office_;
  RequestDesk desk_;
  HttpDesk http_;
  Gate gate_;
  RefusalLog refusals_;
  std::vector<unsigned char> frame_;  // room for a fragment and the head of its frame
  bool is_stopping_ = false;
  std::optional<Visitor> arriving_;   // accepted, and without a record of the library's yet
  std::map<lws*, Visitor> visitors_;  // socket -> who
  std::map<ConnectionId, std::unique_ptr<Connection>> connections_;  // the open websocket connections
};

}  // namespace probe
