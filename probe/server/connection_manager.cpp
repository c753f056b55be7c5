#include "probe/server/connection_manager.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

#include "probe/host/connection_id.h"
#include "probe/server/http/http_head.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/ip_address.h"
#include "probe/server/net/rate_limiter.h"
#include "probe/server/net/transport.h"
#include "probe/server/websocket/close_codes.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/protocol.h"
#include "probe/text/secret.h"

namespace probe {
namespace {

/// How many of so many places connections may hold that have not finished a request, or not logged in: a quarter.
std::size_t UnfinishedOf(std::size_t places) {
  return std::max<std::size_t>(places / 4, 1);
}

// Memory is given back when queues that held so much have come down to so little, and a moment later, when what their
// clients leave behind is gone, too.
constexpr std::size_t kManyOctets = std::size_t{4} * 1024 * 1024;
constexpr std::size_t kFewOctets = std::size_t{1} * 1024 * 1024;
constexpr std::chrono::seconds kQuietTime{1};

}  // namespace

ConnectionManager::ConnectionManager(boost::asio::io_context& loop, const ServerSettings& settings, std::uint16_t port,
                                     SubscriptionService& service, std::shared_ptr<MessageRouter> router,
                                     std::shared_ptr<PushBudget> budget, std::shared_ptr<QueueTotal> queues,
                                     std::shared_ptr<ServerCounts> counts, HttpService http)
    : limits_(settings.limits),
      rules_(settings, port),
      proxies_(settings.trusted_proxies),
      router_(std::move(router)),
      budget_(std::move(budget)),
      queues_(std::move(queues)),
      counts_(std::move(counts)),
      subscriptions_(settings.limits, service, *budget_),
      limiter_(settings.limits),
      address_rates_(settings.limits),
      quiet_(loop.get_executor()),
      requests_(loop, std::move(http)) {}

ConnectionManager::~ConnectionManager() = default;

// --- before a websocket is open -------------------------------------------------------------------------------------

void ConnectionManager::OnAccept(std::unique_ptr<Transport> transport) {
  if (on_idle_) return;
  const std::string address = transport->peer_address();
  const bool is_proxy = proxies_.Contains(address);
  CloseOldestUnfinished(address, is_proxy ? limits_.connections : limits_.connections_per_address);
  AcceptedConnection accepted{address, is_proxy ? limiter_.AcquireForProxy() : limiter_.Acquire(address),
                              NewRates(address), is_proxy ? address : std::string()};
  if (accepted.place.admission() == ConnectionLimiter::Admission::kRejectionLimit)
    return rejections_.Note(address, "too many rejections are pending", RejectionLog::Clock::now());
  const auto connection = std::make_shared<HttpConnection>(std::move(transport), std::move(accepted),
                                                           limits_.stuck_after, requests_, *this);
  http_connections_.emplace(connection.get(), connection);
  if (connection->accepted().place.admission() == ConnectionLimiter::Admission::kAccepted)
    unfinished_[AddressGroup(address)].push_back(connection.get());
  CountConnections();
  connection->Start();
}

void ConnectionManager::CloseOldestUnfinished(const std::string& address, std::size_t places) {
  const std::size_t most = UnfinishedOf(places);
  const auto found = unfinished_.find(AddressGroup(address));
  if (found == unfinished_.end() || found->second.size() < most) return;
  rejections_.Note(address, "it has begun " + std::to_string(most) + " requests and finished none",
                   RejectionLog::Clock::now());
  // Kept for as long as it closes, for it takes itself out.
  const auto oldest = http_connections_.at(found->second.front());
  oldest->Close();
}

void ConnectionManager::NoteFinished(HttpConnection& connection) {
  const AcceptedConnection& accepted = connection.accepted();
  const auto found = unfinished_.find(AddressGroup(accepted.proxy.empty() ? accepted.address : accepted.proxy));
  if (found == unfinished_.end()) return;
  std::erase(found->second, &connection);
  if (found->second.empty()) unfinished_.erase(found);
}

RequestRates ConnectionManager::NewRates(const std::string& address) {
  const auto now = RateLimiter::Clock::now();
  return {limits_, address_rates_.Of(AddressGroup(address), now), now};
}

void ConnectionManager::NameClient(AcceptedConnection& accepted, const RequestHead& head) {
  if (accepted.proxy.empty()) return;
  std::string client = proxies_.ClientOf(accepted.proxy, head.forwarded_for);
  if (client == accepted.address) return;
  accepted.rates = NewRates(client);
  accepted.address = std::move(client);
}

HttpError ConnectionManager::TooManyOfAnAddress() const {
  return {429, "Refused: one address may have no more connections than " +
                   LimitText("connections_per_address", limits_.connections_per_address) + "."};
}

std::optional<HttpError> ConnectionManager::CheckPlace(const AcceptedConnection& accepted) const {
  switch (accepted.place.admission()) {
    case ConnectionLimiter::Admission::kAccepted:
      return {};
    case ConnectionLimiter::Admission::kAddressLimit:
      return TooManyOfAnAddress();
    case ConnectionLimiter::Admission::kConnectionLimit:
    case ConnectionLimiter::Admission::kRejectionLimit:
      break;
  }
  constexpr unsigned kRetryAfter = 1;  // Units: s; connections without a request end soon
  return HttpError{
      503, "Refused: the probe serves no more connections than " + LimitText("connections", limits_.connections) + ".",
      kRetryAfter};
}

std::optional<HttpError> ConnectionManager::CheckRates(AcceptedConnection& accepted, bool is_authorized) const {
  const std::string allowed = LimitText("messages_per_second", limits_.messages_per_second) + ".";
  switch (accepted.rates.Count(is_authorized, RateLimiter::Clock::now())) {
    case RequestRates::Limit::kNone:
      return {};
    case RequestRates::Limit::kConnection:
      return HttpError{429, "Refused: a connection may have no more requests than " + allowed};
    case RequestRates::Limit::kAddress:
      break;
  }
  return HttpError{429, "Refused: all connections of one address together may have no more requests than " +
                            std::to_string(AddressRates::kTimes) + " times " + allowed};
}

std::optional<HttpError> ConnectionManager::OnRequest(HttpConnection& connection, const RequestHead& head) {
  NoteFinished(connection);
  AcceptedConnection& accepted = connection.accepted();
  NameClient(accepted, head);  // for the log lines, too, of what is refused
  // Host and Origin come before everything else: see `AccessRules`.
  auto error = rules_.CheckCaller(head);
  if (!error) error = CheckPlace(accepted);
  if (error) return error;
  const bool is_upgrade = !head.upgrade.empty();
  const Access access = is_upgrade ? Access::kToken : requests_.LookUp(head.path);
  error = CheckToken(accepted.address, head, access);
  // Now, for the token of the head is wiped before the upgrade.
  accepted.must_log_in = !error && is_upgrade && rules_.MustLogIn(head);
  accepted.holder = rules_.HolderOf(head).value_or("");
  if (is_upgrade && !accepted.must_log_in)
    accepted.topics = requests_.TopicsAt(head.path, accepted.holder).value_or("");
  // Who has no token takes nothing from who has. A token that was not looked at, because anybody may ask for this path
  // or because too many wrong ones came, counts as none: else the rates would tell whether it is the right one.
  const bool was_looked_at = access == Access::kToken && !(error && error->status == 429);
  const bool is_authorized = rules_.HasToken(head) && (was_looked_at || !rules_.BringsToken(head));
  if (!is_upgrade || !is_authorized) {
    if (auto too_fast = CheckRates(accepted, is_authorized)) return too_fast;
  }
  // A websocket is one client's; what a proxy asks over other connections may be for any.
  if (!error && is_upgrade && !accepted.proxy.empty() && !limiter_.Assign(accepted.place, accepted.address))
    return TooManyOfAnAddress();
  return error;
}

std::optional<HttpError> ConnectionManager::CheckToken(const std::string& address, const RequestHead& head,
                                                       Access access) {
  const bool is_upgrade = !head.upgrade.empty();
  const auto now = TokenGuard::Clock::now();
  const std::string group = AddressGroup(address);
  if (access == Access::kToken && rules_.BringsToken(head)) {
    // A right one that is short, too: else a refusal would tell which it is. A long one nobody finds by trying, and
    // then a neighbour's wrong ones lock nobody out.
    const bool passes = rules_.has_long_token() && rules_.HasToken(head);
    if (const auto left = passes ? std::nullopt : guard_.BlockedFor(group, now))
      return HttpError{429, "Refused: too many wrong tokens came from this address.",
                       static_cast<unsigned>(left->count())};
  }
  auto error = is_upgrade ? rules_.CheckUpgrade(head, HasWebsocket(head)) : rules_.CheckPlainRequest(head, access);
  if (!error && is_upgrade && rules_.MustLogIn(head)) {
    const auto waiting = awaiting_login_.find(group);
    if (waiting != awaiting_login_.end() && waiting->second.size() >= UnfinishedOf(limits_.connections_per_address))
      return HttpError{429, "Refused: too many connections of this address have not logged in."};
  }
  if (error && error->status == 401 && rules_.BringsToken(head)) guard_.NoteWrong(group, now);
  return error;
}

bool ConnectionManager::HasWebsocket(const RequestHead& head) const {
  const auto holder = rules_.HolderOf(head);
  // Who logs in by a message can be told nothing by its holder yet.
  if (!holder && requests_.are_websockets_by_holder()) return !rules_.MustLogIn(head);
  return requests_.TopicsAt(head.path, holder.value_or("")).has_value();
}

void ConnectionManager::OnRefused(HttpConnection& connection, const HttpError& error) {
  if (error.status == 404 || error.status == 426) return;  // a wrong path is no attack, and not worth a line
  rejections_.Note(connection.accepted().address, std::to_string(error.status) + " " + error.text,
                   RejectionLog::Clock::now());
}

void ConnectionManager::OnUpgrade(HttpConnection& connection, const RequestHead& head) {
  const auto ended = http_connections_.extract(&connection);
  AcceptedConnection accepted = std::move(connection.accepted());
  const ConnectionId id = MessageRouter::NewId();
  const auto opened =
      std::make_shared<Connection>(id, connection.TakeTransport(), std::move(accepted), limits_, queues_, *this);
  connections_.emplace(id, opened);
  CountConnections();
  if (opened->accepted().must_log_in) {
    opened->AwaitLogin();
    awaiting_login_[AddressGroup(opened->accepted().address)].insert(id);
  }
  opened->Start(head, connection.TakeRest());
  if (on_idle_) opened->StartClose(close_code::kGoingAway);
}

void ConnectionManager::OnEnd(HttpConnection& connection) {
  NoteFinished(connection);
  connection.accepted().place.Release();  // handlers that are still to run may keep the connection for a while
  http_connections_.erase(&connection);
  CountConnections();
}

void ConnectionManager::CountConnections() {
  counts_->http_connections = http_connections_.size();
  counts_->websockets = connections_.size();
}

// --- while it is open -----------------------------------------------------------------------------------------------

void ConnectionManager::OnStart(Connection& connection) {
  budget_->Add(connection.id(), connection.outbox(), connection.accepted().address);
  router_->Add(connection.id(), connection.outbox(), connection.accepted().address);
}

bool ConnectionManager::OnLogin(Connection& connection, const std::string& text) {
  NoteLoginOver(connection);
  const auto now = TokenGuard::Clock::now();
  const std::string& address = connection.accepted().address;
  const std::string group = AddressGroup(address);
  // As with a handshake: see `CheckToken`.
  const bool is_blocked = guard_.BlockedFor(group, now).has_value();
  const bool is_looked_at = !is_blocked || rules_.has_long_token();
  auto login = is_looked_at && text.size() <= rules_.MostLoginBytes() ? ReadLogin(text) : std::nullopt;
  const bool is_right = login && rules_.HolderOfToken(login->token);
  if (login) Wipe(login->token);
  if (is_right) return true;
  if (!is_blocked) guard_.NoteWrong(group, now);
  rejections_.Note(address, "its login failed", now);
  return false;
}

void ConnectionManager::NoteLoginOver(const Connection& connection) {
  const auto waiting = awaiting_login_.find(AddressGroup(connection.accepted().address));
  if (waiting == awaiting_login_.end()) return;
  waiting->second.erase(connection.id());
  if (waiting->second.empty()) awaiting_login_.erase(waiting);
}

void ConnectionManager::OnMessage(Connection& connection, const std::string& text) {
  subscriptions_.Handle(connection.id(), connection.accepted().topics, text,
                        [&](std::string reply) { connection.Reply(std::move(reply)); });
  CountSubscriptions();
}

void ConnectionManager::CountSubscriptions() {
  counts_->subscriptions = subscriptions_.limits().subscriptions();
  counts_->filters = subscriptions_.limits().distinct_filters();
}

void ConnectionManager::OnWakeup() {
  for (const ConnectionId id : router_->TakePending()) {
    if (const auto found = connections_.find(id); found != connections_.end()) found->second->OnOutbox();
  }
}

void ConnectionManager::OnClosing(Connection& connection) {
  NoteLoginOver(connection);
  router_->Remove(connection.id());
  subscriptions_.Forget(connection.id());
  CountSubscriptions();
}

void ConnectionManager::OnEnd(Connection& connection) {
  connections_.erase(connection.id());
  CountConnections();
  had_long_queues_ = had_long_queues_ || queues_->TakePeak() >= kManyOctets;
  if (!on_idle_ && had_long_queues_) quiet_.Start(kQuietTime, [this] { GiveMemoryBack(); });
  if (on_idle_ && connections_.empty()) on_idle_();
}

void ConnectionManager::GiveMemoryBack() {
  if (queues_->octets() >= kFewOctets) return;  // the next connection that ends asks again
  had_long_queues_ = false;
  // The C library keeps what was freed between blocks that are in use, in each of its arenas. malloc_trim(3)
  malloc_trim(0);
}

// --- the end --------------------------------------------------------------------------------------------------------

void ConnectionManager::Replace(AccessRules rules, TrustedProxies proxies) {
  const bool are_same_tokens = rules.KeepSessionsOf(rules_);
  rules_ = std::move(rules);
  proxies_ = std::move(proxies);
  if (are_same_tokens) return;
  for (const auto& [id, connection] : std::map(connections_)) connection->StartClose(close_code::kPolicyViolation);
}

void ConnectionManager::StartStop(std::function<void()> on_idle) {
  on_idle_ = std::move(on_idle);
  quiet_.Stop();
  // Over copies, for a connection that ends takes itself out.
  for (const auto& [id, connection] : std::map(connections_)) connection->StartClose(close_code::kGoingAway);
  if (connections_.empty()) on_idle_();
}

void ConnectionManager::AbortAll() {
  for (const auto& [id, connection] : std::map(connections_)) connection->Abort();
  for (const auto& [key, connection] : std::map(http_connections_)) connection->Close();
}

}  // namespace probe
