#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/server/http/access_rules.h"
#include "probe/server/http/http_connection.h"
#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"
#include "probe/server/http/http_requests.h"
#include "probe/server/http/token_guard.h"
#include "probe/server/net/address_rates.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/log_rate_limiter.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/transport.h"
#include "probe/server/net/trusted_proxies.h"
#include "probe/server/server_counts.h"
#include "probe/server/websocket/connection.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/push_budget.h"
#include "probe/server/websocket/subscription_requests.h"

namespace probe {

/// What happens on the connections of a server: who is let in, what requests and messages lead to, and what is left
/// to do when a connection ends. It owns all connections.
///
/// Threads: the event loop's only, but for its making and its end.
class ConnectionManager final : public HttpEvents, public WebsocketEvents {
 public:
  /// `port`: the port that the server really listens on. `http`: what is served besides the websocket.
  ConnectionManager(boost::asio::io_context& loop, const ServerSettings& settings, std::uint16_t port,
                    SubscriptionService& service, std::shared_ptr<MessageRouter> router,
                    std::shared_ptr<PushBudget> budget, std::shared_ptr<QueueTotal> queues,
                    std::shared_ptr<ServerCounts> counts, HttpService http);
  ~ConnectionManager() override;
  ConnectionManager(const ConnectionManager&) = delete;
  ConnectionManager& operator=(const ConnectionManager&) = delete;

  /// A connection was accepted: it is served from now on.
  void OnAccept(std::unique_ptr<Transport> transport);

  /// Other threads have put messages into outboxes.
  void OnWakeup();

  /// Asks for another token, and takes other hosts, origins and proxies, from now on. Where the token is another,
  /// websockets are closed (1008), for they were opened with the former. Connections of proxies stay what they are.
  void Replace(AccessRules rules, TrustedProxies proxies);

  /// Starts closing all websockets (1001) and refuses new connections. `on_idle` is called when no websocket is left.
  void StartStop(std::function<void()> on_idle);

  /// Ends what has not closed by itself.
  void AbortAll();

 private:
  std::optional<HttpError> OnRequest(HttpConnection& connection, const RequestHead& head) override;
  std::string AllowedOrigin(const RequestHead& head) const override { return rules_.AllowedOrigin(head); }
  std::string SessionCookie(const std::string& holder) const override { return rules_.SessionCookie(holder); }
  void OnRefused(HttpConnection& connection, const HttpError& error) override;
  void OnUpgrade(HttpConnection& connection, const RequestHead& head) override;
  void OnEnd(HttpConnection& connection) override;

  void OnStart(Connection& connection) override;
  bool OnLogin(Connection& connection, const std::string& text) override;
  void OnMessage(Connection& connection, const std::string& text) override;
  void OnClosing(Connection& connection) override;
  void OnEnd(Connection& connection) override;

  /// Whether there is a websocket at a path, as far as its caller may know: who has shown no token learns nothing.
  bool HasWebsocket(const RequestHead& head) const;

  /// Host, Origin and limits have let it pass.
  std::optional<HttpError> CheckToken(const std::string& address, const RequestHead& head, Access access);

  void NoteLoginOver(const Connection& connection);

  void CountConnections();
  void CountSubscriptions();

  /// Gives the memory of queues that were long back to the system, once they are gone.
  void GiveMemoryBack();

  /// Makes room for one more connection of an address without a finished request, which may have a part of these places
  /// only: the oldest goes.
  void CloseOldestUnfinished(const std::string& address, std::size_t places);
  void NoteFinished(HttpConnection& connection);

  RequestRates NewRates(const std::string& address);

  /// A proxy asks for a client, perhaps another than before, for whom the request counts.
  void NameClient(AcceptedConnection& accepted, const RequestHead& head);

  HttpError TooManyOfAnAddress() const;
  std::optional<HttpError> CheckPlace(const AcceptedConnection& accepted) const;
  std::optional<HttpError> CheckRates(AcceptedConnection& accepted, bool is_authorized) const;

  const ServerLimits limits_;
  AccessRules rules_;
  TrustedProxies proxies_;
  const std::shared_ptr<MessageRouter> router_;
  const std::shared_ptr<PushBudget> budget_;
  const std::shared_ptr<QueueTotal> queues_;
  const std::shared_ptr<ServerCounts> counts_;
  SubscriptionRequests subscriptions_;
  ConnectionLimiter limiter_;
  AddressRatesRegister address_rates_;
  TokenGuard guard_;
  RejectionLog rejections_;
  std::function<void()> on_idle_;  // empty: the server is not stopping
  std::map<HttpConnection*, std::shared_ptr<HttpConnection>> http_connections_;
  std::map<std::string, std::deque<HttpConnection*>> unfinished_;  // by group of addresses, oldest first; never empty
  std::map<std::string, std::set<ConnectionId>> awaiting_login_;   // by group of addresses; never empty
  std::map<ConnectionId, std::shared_ptr<Connection>> connections_;
  bool had_long_queues_ = false;  // since memory was given back
  Timer quiet_;                   // until it is
  HttpRequests requests_;         // last: its workers are gone before what their answers would need
};

}  // namespace probe
