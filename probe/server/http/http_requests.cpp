#include "probe/server/http/http_requests.h"

#include <libwebsockets.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "probe/server/http/http_head.h"
#include "probe/server/net/fragment.h"

namespace probe {
namespace {

// How long a worker may take before the client is hung up on: longer than any pass of the engine that a report may
// have to wait for.
constexpr int kAnswerSeconds = 60;

}  // namespace

HttpDesk::HttpDesk(HttpService service, std::function<void()> wake, std::chrono::seconds stuck_after)
    : seconds_to_move_(static_cast<int>(stuck_after.count())),
      fragment_(LWS_PRE + kFragmentBytes),
      workers_(std::move(service), std::move(wake)) {}

Door HttpDesk::DoorOf(const std::string& path) const {
  const auto& door = workers_.service().door;
  return door ? door(path) : Door::kNone;
}

bool HttpDesk::Begin(lws* socket, const RequestHead& head, std::string origin) {
  HttpRequest request{head.path, ReadArguments(socket), head.accept_encoding.find("gzip") != std::string::npos};
  const HttpWorkers::Ticket ticket = ++last_ticket_;
  if (!workers_.Submit(ticket, std::move(request))) return false;
  Forget(socket);
  exchanges_[socket] = Exchange{ticket, head.is_head, head.if_none_match, std::move(origin), {}, false, 0};
  sockets_[ticket] = socket;
  return true;
}

void HttpDesk::Await(lws* socket) {
  lws_set_timeout(socket, PENDING_TIMEOUT_HTTP_CONTENT, kAnswerSeconds);
}

void HttpDesk::OnDone() {
  for (auto& [ticket, answer] : workers_.TakeDone()) {
    const auto found = sockets_.find(ticket);
    if (found == sockets_.end()) continue;  // the client has gone
    lws* const socket = found->second;
    sockets_.erase(found);
    exchanges_[socket].answer = std::move(answer);
    lws_callback_on_writable(socket);
  }
}

bool HttpDesk::OnWritable(lws* socket) {
  const auto found = exchanges_.find(socket);
  if (found == exchanges_.end()) return true;
  Exchange& exchange = found->second;
  if (!exchange.answer) return true;
  AllowTime(socket);
  if (!exchange.is_head_written) return WriteHead(socket, exchange);
  return WriteBody(socket, exchange);
}

bool HttpDesk::WriteHead(lws* socket, Exchange& exchange) {
  HttpAnswer& answer = *exchange.answer;
  const bool is_not_modified = answer.status == 200 && NamesEtag(exchange.if_none_match, answer.etag);
  if (!WriteAnswerHead(socket, answer, is_not_modified, exchange.origin)) return false;
  exchange.is_head_written = true;
  if (is_not_modified || exchange.is_head || answer.body->empty()) return Finish(socket);
  lws_callback_on_writable(socket);
  return true;
}

bool HttpDesk::WriteBody(lws* socket, Exchange& exchange) {
  const std::string& body = *exchange.answer->body;
  const std::size_t length = std::min(kFragmentBytes, body.size() - exchange.sent);
  std::memcpy(fragment_.data() + LWS_PRE, body.data() + exchange.sent, length);
  exchange.sent += length;
  const bool is_last = exchange.sent == body.size();
  if (lws_write(socket, fragment_.data() + LWS_PRE, length, is_last ? LWS_WRITE_HTTP_FINAL : LWS_WRITE_HTTP) < 0)
    return false;
  if (is_last) return Finish(socket);
  lws_callback_on_writable(socket);
  return true;
}

bool HttpDesk::Finish(lws* socket) {
  Forget(socket);
  return lws_http_transaction_completed(socket) == 0;  // otherwise the client wants no further request
}

void HttpDesk::AllowTime(lws* socket) const {
  lws_set_timeout(socket, PENDING_TIMEOUT_HTTP_CONTENT, seconds_to_move_);
}

void HttpDesk::Forget(lws* socket) {
  const auto found = exchanges_.find(socket);
  if (found == exchanges_.end()) return;
  sockets_.erase(found->second.ticket);
  exchanges_.erase(found);
}

}  // namespace probe
