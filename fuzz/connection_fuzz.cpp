#include <boost/asio/io_context.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/require.h"
#include "monitor/engine/filter.h"
#include "probe/host/log.h"
#include "probe/host/subscription_service.h"
#include "probe/server/connection_manager.h"
#include "probe/server/http/http_message.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/server_counts.h"
#include "probe/server/websocket/message_router.h"
#include "probe/server/websocket/outbox.h"
#include "probe/server/websocket/push_budget.h"
#include "probe/text/utf8.h"
#include "tests/probe/server/memory_transport.h"

using fuzzing::Require;
using test::MemoryTransport;
using test::Outcome;

namespace {

constexpr std::uint16_t kPort = 8765;

/// A topic whose every element is a subscription to nothing.
class Subscriber final : public subscribes::Subscriber {
 public:
  subscribes::ParsedRequest FilterParser(json_object* request) override {
    subscribes::ParsedRequest parsed;
    if (json_object_is_type(request, json_type_array) != 0 && json_object_array_length(request) > 0) parsed["sid"];
    return parsed;
  }
  void PushDataBySID(const subscribes::SubscriptionList&) override {}
};

/// What is served besides the websocket: a page that a client may keep, and something behind a token.
probe::HttpService Service() {
  probe::HttpService http;
  http.look_up = [](const std::string& path) -> probe::Access {
    if (path == "/page") return probe::Access::kPublic;
    if (path.starts_with("/api/")) return probe::Access::kToken;
    return probe::Access::kNotFound;
  };
  http.answer = [](const probe::HttpRequest& request) {
    probe::HttpAnswer answer;
    answer.body = std::make_shared<const std::string>(request.path);
    answer.caching = probe::Caching::kRevalidate;
    answer.etag = "\"tag\"";
    answer.is_gzip = request.accepts_gzip;
    return answer;
  };
  return http;
}

/// A server without sockets, for as long as the process lasts.
class Server {
 public:
  Server() {
    probe::log::SetLevel(probe::log::Level::kError);
    service_.AddSubscriber("Topic", std::make_shared<Subscriber>());
    probe::ServerSettings settings;
    settings.trusted_proxies = {"127.0.0.1"};
    settings.limits.messages_per_second = 1'000'000'000;  // so that no answer depends on the time
    connections_ = std::make_unique<probe::ConnectionManager>(
        loop_, settings, kPort, service_, router_, std::make_shared<probe::PushBudget>(settings.limits),
        std::make_shared<probe::QueueTotal>(settings.limits.all_queues_bytes), std::make_shared<probe::ServerCounts>(),
        Service());
  }

  /// Serves one client that sends these octets, in pieces of this size, until its connection has ended.
  Outcome Serve(std::string_view octets, std::size_t piece) {
    Outcome outcome;
    loop_.restart();
    connections_->OnAccept(std::make_unique<MemoryTransport>(loop_, octets, piece, outcome));
    loop_.run();
    Require(outcome.has_ended);
    return outcome;
  }

 private:
  boost::asio::io_context loop_{1};
  probe::SubscriptionService service_;
  std::shared_ptr<probe::MessageRouter> router_ = std::make_shared<probe::MessageRouter>([] {});
  std::unique_ptr<probe::ConnectionManager> connections_;
};

constexpr char kHandshake[] =
    "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";
constexpr char kAccepted[] = "HTTP/1.1 101 ";

unsigned OctetAt(std::string_view octets, std::size_t at) {
  Require(at < octets.size());
  return static_cast<unsigned char>(octets[at]);
}

/// Takes the length of a frame off its front. It has to be in its shortest form. Source: RFC 6455, section 5.2.
std::size_t TakeLength(std::string_view& frames) {
  const unsigned first = OctetAt(frames, 1);
  Require(first < 127);  // not masked, and no answer takes 64 KiB
  const std::size_t length = first < 126 ? first : OctetAt(frames, 2) * 256 + OctetAt(frames, 3);
  Require(first < 126 || length >= 126);
  frames.remove_prefix(first < 126 ? 2 : 4);
  return length;
}

/// What the server sends are whole frames that keep to RFC 6455, texts in UTF-8, and nothing behind a close.
void RequireFrames(std::string_view frames) {
  bool has_closed = false;
  while (!frames.empty()) {
    Require(!has_closed);
    const unsigned head = OctetAt(frames, 0);
    const std::size_t length = TakeLength(frames);
    Require(length <= frames.size());
    const std::string_view payload = frames.substr(0, length);
    frames.remove_prefix(length);
    has_closed = head == 0x88;
    Require(head == 0x81 || ((head == 0x88 || head == 0x8a) && length <= 125));
    if (head == 0x81) Require(length > 0 && probe::IsUtf8(payload));
    if (has_closed && length > 0) {
      const unsigned code = OctetAt(payload, 0) * 256 + OctetAt(payload, 1);
      Require(code >= 1000 && code < 5000 && (code < 1004 || code > 1006) && probe::IsUtf8(payload.substr(2)));
    }
  }
}

}  // namespace

/// Octets into a connection: as requests, and after a good handshake as frames. The connection always ends, the answer
/// is HTTP and the same however the octets are cut into pieces, and what comes after an upgrade is frames.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const server = new Server;
  const std::string_view octets(reinterpret_cast<const char*>(data), size);
  const Outcome whole = server->Serve(octets, size + 1);
  Require(whole.sent.empty() || whole.sent.starts_with("HTTP/1."));
  // a websocket drops the answers that are unsent when the client closes, so there the pieces may show
  if (whole.sent.find(kAccepted) == std::string::npos) Require(server->Serve(octets, 1).sent == whole.sent);
  for (const std::size_t piece : {size + sizeof kHandshake, std::size_t{1}}) {
    const Outcome upgraded = server->Serve(std::string(kHandshake).append(octets), piece);
    Require(upgraded.sent.starts_with(kAccepted));
    RequireFrames(std::string_view(upgraded.sent).substr(upgraded.sent.find("\r\n\r\n") + 4));
  }
  return 0;
}
