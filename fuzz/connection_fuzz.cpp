#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
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
#include "probe/server/connection_events.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/net/transport.h"
#include "probe/server/websocket/message_router.h"

using fuzzing::Require;

namespace {

constexpr std::uint16_t kPort = 8765;

/// What a connection has led to, which outlives it.
struct Outcome {
  std::string sent;  ///< By the server.
  bool has_ended = false;
};

/// A client without a socket, that sends what it is given in pieces, reads everything and then ends.
class MemoryTransport final : public probe::Transport {
 public:
  MemoryTransport(boost::asio::io_context& loop, std::string_view octets, std::size_t piece, Outcome& outcome)
      : loop_(loop), octets_(octets), piece_(piece), outcome_(outcome) {}
  ~MemoryTransport() override { outcome_.has_ended = true; }

  boost::asio::io_context::executor_type executor() override { return loop_.get_executor(); }
  std::string peer_address() const override { return "127.0.0.1"; }
  std::string local_address() const override { return "127.0.0.1"; }
  std::uint64_t octets_taken_by_peer() const override { return outcome_.sent.size(); }

  void Handshake(std::function<void(Error error)> done) override {
    boost::asio::post(loop_, [done = std::move(done)] { done({}); });
  }
  void ReadSome(boost::asio::mutable_buffer into, Transferred done) override {
    const std::string_view part = octets_.substr(0, std::min(piece_, into.size()));
    octets_.remove_prefix(part.size());
    boost::asio::buffer_copy(into, boost::asio::buffer(part));
    const Error error = part.empty() && into.size() > 0 ? Error(boost::asio::error::eof) : Error();
    boost::asio::post(loop_, [done = std::move(done), error, count = part.size()] { done(error, count); });
  }
  void WriteSome(const Buffers& from, Transferred done) override {
    std::size_t count = 0;
    for (const auto& part : from) {
      outcome_.sent.append(static_cast<const char*>(part.data()), part.size());
      count += part.size();
    }
    boost::asio::post(loop_, [done = std::move(done), count] { done({}, count); });
  }
  void Finish(std::function<void()> done) override { boost::asio::post(loop_, std::move(done)); }
  void Close() override {}

 private:
  boost::asio::io_context& loop_;
  std::string_view octets_;
  const std::size_t piece_;
  Outcome& outcome_;
};

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

/// Serves one client that sends these octets.
Outcome Serve(std::string_view octets, std::size_t piece) {
  static probe::SubscriptionService* const service = [] {
    auto* made = new probe::SubscriptionService;  // for as long as the process lasts
    made->AddSubscriber("Topic", std::make_shared<Subscriber>());
    probe::log::SetLevel(probe::log::Level::kError);
    return made;
  }();
  Outcome outcome;
  boost::asio::io_context loop(1);
  auto router = std::make_shared<probe::MessageRouter>([] {});
  {
    probe::ConnectionEvents events(loop, probe::ServerSettings{}, kPort, *service, router, {});
    events.OnAccept(std::make_unique<MemoryTransport>(loop, octets, piece, outcome));
    loop.run();
    Require(outcome.has_ended);
  }
  return outcome;
}

constexpr char kHandshake[] =
    "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";

}  // namespace

/// Octets into a connection: as requests, and after a good handshake as frames. However they are cut into pieces, the
/// answer is the same, it is HTTP, and the connection ends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view octets(reinterpret_cast<const char*>(data), size);
  const Outcome whole = Serve(octets, size + 1);
  Require(whole.sent.empty() || whole.sent.starts_with("HTTP/1."));
  Require(Serve(octets, 1).sent == whole.sent);
  const Outcome frames = Serve(std::string(kHandshake).append(octets), size + sizeof kHandshake);
  Require(frames.sent.starts_with("HTTP/1.1 101 "));
  return 0;
}
