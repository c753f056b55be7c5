#include "probe/server/connection_events.h"

#include <libwebsockets.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/http/http_head.h"
#include "probe/server/net/fragment.h"
#include "probe/server/net/tcp_progress.h"

namespace probe {
namespace {

// Source: IANA, WebSocket Close Code Number Registry.
constexpr int kTryAgainLater = 1013;

// What is written in one go, before other connections get their turn.
constexpr int kFragmentsAtOnce = 8;

// How long a client that is being closed may take, at most, to take the last octets.
constexpr std::chrono::seconds kFarewell{5};

/// Whether programs ask for this path, and get errors in JSON.
bool IsForPrograms(const std::string& path) {
  return path.starts_with("/api/") || path == "/healthz";
}

unsigned long long NumberOf(const Connection& connection) {
  return static_cast<unsigned long long>(connection.id);
}

}  // namespace

ServerLoop::ServerLoop(const ServerSettings& settings, std::uint16_t port, SubscriptionService& service,
                       std::shared_ptr<PostOffice> office, HttpService http)
    : limits_(settings.limits),
      rules_(settings, port),
      office_(std::move(office)),
      desk_(settings.limits, service),
      http_(
          std::move(http), [to_wake = office_] { to_wake->WakeServer(); }, settings.limits.stuck_after),
      gate_(settings.limits),
      frame_(LWS_PRE + kFragmentBytes) {}

std::chrono::microseconds ServerLoop::watch_interval() const {
  const std::chrono::microseconds stuck_after = limits_.stuck_after;
  return std::clamp<std::chrono::microseconds>(stuck_after / 10, std::chrono::milliseconds(20),
                                               std::chrono::seconds(1));
}

Connection* ServerLoop::ConnectionOf(lws* socket) {
  return static_cast<Connection*>(lws_get_opaque_user_data(socket));
}

// --- before the websocket is open -----------------------------------------------------------------------------------

ServerLoop::Fate ServerLoop::OnAccept(const std::string& address) {
  if (is_stopping_) return Fate::kClose;
  if (arriving_) gate_.Leave(arriving_->address, arriving_->verdict);  // the library let it go before it had a record
  arriving_ = Visitor{address, gate_.Arrive(address), RateLimit(limits_.messages_per_second, Clock::now())};
  if (arriving_->verdict != Gate::Verdict::kTooManyWaiting) return Fate::kKeep;
  refusals_.Note(address, "too many clients are being turned away at once", Clock::now());
  return Fate::kClose;
}

void ServerLoop::OnSocketCreated(lws* socket) {
  if (!arriving_) return;
  visitors_.insert_or_assign(socket, *arriving_);
  arriving_.reset();
}

void ServerLoop::OnSocketGone(lws* socket) {
  const auto visitor = visitors_.find(socket);
  if (visitor == visitors_.end()) return;
  gate_.Leave(visitor->second.address, visitor->second.verdict);
  visitors_.erase(visitor);
}

std::string ServerLoop::AddressOf(lws* socket) const {
  const auto visitor = visitors_.find(socket);
  return visitor == visitors_.end() ? std::string() : visitor->second.address;
}

std::optional<Refusal> ServerLoop::CheckGate(lws* socket) const {
  const auto visitor = visitors_.find(socket);
  const auto verdict = visitor == visitors_.end() ? Gate::Verdict::kAllTaken : visitor->second.verdict;
  if (verdict == Gate::Verdict::kAdmitted) return std::nullopt;
  if (verdict == Gate::Verdict::kAddressTaken)
    return Refusal{429, "Refused: one address may have no more connections than " +
                            LimitText("connections_per_address", limits_.connections_per_address) + "."};
  return Refusal{
      503, "Refused: the probe serves no more connections than " + LimitText("connections", limits_.connections) + "."};
}

std::optional<Refusal> ServerLoop::CheckRate(lws* socket) {
  const auto visitor = visitors_.find(socket);
  if (visitor == visitors_.end() || visitor->second.rate.Count(Clock::now()) == RateLimit::Verdict::kPass) return {};
  return Refusal{429, "Refused: a connection may have no more requests than " +
                          LimitText("messages_per_second", limits_.messages_per_second) + "."};
}

void ServerLoop::Refuse(lws* socket, const RequestHead& head, const Refusal& refusal) {
  refusals_.Note(AddressOf(socket), std::to_string(refusal.status) + " " + refusal.text, Clock::now());
  AnswerWithRefusal(socket, refusal, IsForPrograms(head.path));
}

ServerLoop::Fate ServerLoop::OnUpgradeRequest(lws* socket) {
  const RequestHead head = ReadRequestHead(socket);
  auto refusal = rules_.CheckCaller(head);
  if (!refusal) refusal = CheckGate(socket);
  if (!refusal) refusal = rules_.CheckUpgrade(head);
  if (!refusal) return Fate::kKeep;
  Refuse(socket, head, *refusal);
  return Fate::kClose;
}

ServerLoop::Fate ServerLoop::OnPlainRequest(lws* socket) {
  const RequestHead head = ReadRequestHead(socket);
  auto refusal = rules_.CheckCaller(head);
  if (!refusal) refusal = CheckGate(socket);
  if (!refusal) refusal = CheckRate(socket);
  if (!refusal) refusal = rules_.CheckPlainRequest(head, http_.DoorOf(head.path));
  if (!refusal && !http_.Begin(socket, head, rules_.AllowedOrigin(head)))
    refusal = Refusal{503, "Refused: too many requests wait for an answer."};
  if (!refusal) return Fate::kKeep;
  if (refusal->status == 404 || refusal->status == 426) {  // a wrong path is no attack, and not worth a line
    AnswerWithRefusal(socket, *refusal, IsForPrograms(head.path));
  } else {
    Refuse(socket, head, *refusal);
  }
  return Fate::kClose;
}

ServerLoop::Fate ServerLoop::OnAnswerWritable(lws* socket) {
  return http_.OnWritable(socket) ? Fate::kKeep : Fate::kClose;
}

// --- while it is open -----------------------------------------------------------------------------------------------

void ServerLoop::OnOpen(lws* socket) {
  const ConnectionId id = PostOffice::NewConnectionId();
  auto connection = std::make_unique<Connection>(id, socket, AddressOf(socket), limits_, Clock::now());
  Connection& opened = *connections_.emplace(id, std::move(connection)).first->second;
  lws_set_opaque_user_data(socket, &opened);
  office_->Open(id, opened.outbox, opened.peer);
  if (is_stopping_) SayFarewell(opened, LWS_CLOSE_STATUS_GOINGAWAY);
}

void ServerLoop::OnClosed(Connection& connection) {
  lws_set_opaque_user_data(connection.socket, nullptr);
  Forget(connection);
  connections_.erase(connection.id);
}

void ServerLoop::OnReceive(Connection& connection, std::string_view piece, bool is_binary, bool is_last) {
  if (connection.farewell_code) return;
  const auto state = connection.incoming.Add(piece, is_binary, is_last);
  if (state != IncomingMessage::State::kIncomplete) HandleMessage(connection, state);
}

void ServerLoop::HandleMessage(Connection& connection, IncomingMessage::State state) {
  const std::string text = connection.incoming.Take();
  const auto rate = connection.rate.Count(Clock::now());
  if (rate == RateLimit::Verdict::kSwallowed) return;
  if (rate == RateLimit::Verdict::kRefuse)
    return Answer(connection,
                  {error_code::kTooFast, "A client may send no more messages than " +
                                             LimitText("messages_per_second", limits_.messages_per_second) +
                                             ". This one and those that follow too fast are not looked at."});
  if (state == IncomingMessage::State::kBinary)
    return Answer(connection, {error_code::kNotText, "Messages are text; this one is binary."});
  if (state == IncomingMessage::State::kTooLarge)
    return Answer(connection,
                  {error_code::kTooLarge,
                   "The message is larger than " + LimitText("message_bytes", limits_.message_bytes) + " allows."});
  desk_.Handle(connection.id, text, [&](std::string reply) { Queue(connection, std::move(reply)); });
}

void ServerLoop::Answer(Connection& connection, const ProtocolError& error) {
  Queue(connection, ErrorText(error));
}

void ServerLoop::Queue(Connection& connection, std::string text) {
  if (connection.outbox->Put(std::move(text), OutgoingMessage::Kind::kReply))
    PostOffice::LogFirstDrop(connection.id, connection.peer);
  Watch(connection, Clock::now());
  lws_callback_on_writable(connection.socket);
}

void ServerLoop::OnMail() {
  http_.OnDone();
  const auto now = Clock::now();
  for (const ConnectionId id : office_->TakeAwaited()) {
    const auto found = connections_.find(id);
    if (found == connections_.end()) continue;
    Watch(*found->second, now);
    lws_callback_on_writable(found->second->socket);
  }
}

ServerLoop::Fate ServerLoop::OnWritable(Connection& connection) {
  if (connection.farewell_code) {
    lws_close_reason(connection.socket, static_cast<lws_close_status>(*connection.farewell_code), nullptr, 0);
    return Fate::kClose;
  }
  for (int i = 0; i < kFragmentsAtOnce && HasUnsent(connection); ++i) {
    if (lws_send_pipe_choked(connection.socket) != 0) break;
    if (!WriteFragment(connection)) return Fate::kClose;
  }
  if (connection.sending != nullptr || !connection.outbox->IsEmpty()) lws_callback_on_writable(connection.socket);
  return Fate::kKeep;
}

bool ServerLoop::WriteFragment(Connection& connection) {
  if (connection.sending == nullptr) {
    connection.sending = connection.outbox->Take();
    connection.sent = 0;
    if (connection.sending == nullptr) return true;
  }
  // The library writes a frame's head in front of the data, and the text of a message must not change. So a fragment
  // is copied, small enough to stay in the processor's cache.
  const std::string& text = connection.sending->text();
  const std::size_t length = std::min(kFragmentBytes, text.size() - connection.sent);
  std::memcpy(frame_.data() + LWS_PRE, text.data() + connection.sent, length);
  const bool is_first = connection.sent == 0;
  const bool is_last = connection.sent + length == text.size();
  const int how = lws_write_ws_flags(LWS_WRITE_TEXT, is_first ? 1 : 0, is_last ? 1 : 0);
  const int written =
      lws_write(connection.socket, frame_.data() + LWS_PRE, length, static_cast<lws_write_protocol>(how));
  if (written < 0) return false;
  connection.sent += length;  // what the socket did not take, the library has
  if (is_last) connection.sending = nullptr;
  return true;
}

// --- slow clients, and the end --------------------------------------------------------------------------------------

bool ServerLoop::HasUnsent(const Connection& connection) const {
  return connection.sending != nullptr || !connection.outbox->IsEmpty() || lws_partial_buffered(connection.socket) != 0;
}

void ServerLoop::Watch(Connection& connection, Clock::time_point now) {
  if (connection.is_watched || connection.farewell_code) return;
  connection.is_watched = true;
  connection.moved_at = now;
  connection.taken_by_peer = OctetsTakenByPeer(lws_get_socket_fd(connection.socket));
}

bool ServerLoop::WatchProgress(Clock::time_point now) {
  bool is_anybody_watched = false;
  for (auto& [id, connection] : connections_) {
    if (!connection->is_watched || connection->farewell_code) continue;
    connection->is_watched = HasUnsent(*connection);
    is_anybody_watched = is_anybody_watched || connection->is_watched;
    const std::uint64_t taken = OctetsTakenByPeer(lws_get_socket_fd(connection->socket));
    if (taken != connection->taken_by_peer) {
      connection->taken_by_peer = taken;
      connection->moved_at = now;
    } else if (connection->is_watched && now - connection->moved_at >= limits_.stuck_after) {
      SayFarewell(*connection, kTryAgainLater);
      const std::string limit = LimitText("stuck_after_seconds", static_cast<std::size_t>(limits_.stuck_after.count()));
      log::Info("[WebServer] connection %llu of %s is closed with 1013: it took nothing for %s", NumberOf(*connection),
                connection->peer.c_str(), limit.c_str());
    }
  }
  return is_anybody_watched;
}

void ServerLoop::Forget(Connection& connection) {
  if (connection.farewell_code) return;  // forgotten when it was said
  connection.outbox->Close();
  office_->Close(connection.id);
  desk_.Forget(connection.id);
}

void ServerLoop::SayFarewell(Connection& connection, int code) {
  if (connection.farewell_code) return;
  Forget(connection);
  connection.farewell_code = code;
  connection.sending = nullptr;
  lws_callback_on_writable(connection.socket);
  // A client that takes nothing cannot be told either. It gets a last chance, and then the connection is cut.
  const auto last_chance = std::clamp(limits_.stuck_after, std::chrono::seconds(1), kFarewell);
  lws_set_timeout(connection.socket, PENDING_TIMEOUT_CLOSE_SEND, static_cast<int>(last_chance.count()));
}

void ServerLoop::BeginStop() {
  is_stopping_ = true;
  for (auto& [id, connection] : connections_) SayFarewell(*connection, LWS_CLOSE_STATUS_GOINGAWAY);
}

}  // namespace probe
