#include "probe/server/net/transport.h"

#include <array>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <optional>
#include <utility>

#include "probe/server/net/ip_address.h"
#include "probe/server/net/tcp_progress.h"

namespace probe {
namespace {

namespace asio = boost::asio;

std::string TextOf(const asio::ip::tcp::endpoint& endpoint) {
  const std::string text = endpoint.address().to_string();
  return CanonicalAddress(text.substr(0, text.find('%')));  // a link-local address comes with its zone
}

class SocketTransport final : public Transport {
 public:
  SocketTransport(Socket socket, asio::ssl::context* tls) : socket_(std::move(socket)) {
    if (tls != nullptr) tls_.emplace(socket_, *tls);
  }

  executor_type get_executor() override { return socket_.get_executor(); }

  std::string peer_address() const override {
    Error error;
    const auto endpoint = socket_.remote_endpoint(error);
    return error ? std::string() : TextOf(endpoint);
  }
  std::string local_address() const override {
    Error error;
    const auto endpoint = socket_.local_endpoint(error);
    return error ? std::string() : TextOf(endpoint);
  }
  std::uint64_t octets_taken_by_peer() const override {
    // the library has no const access to the descriptor
    return OctetsTakenByPeer(const_cast<Socket&>(socket_).native_handle());
  }

  void Handshake(std::function<void(Error error)> done) override {
    if (tls_) return tls_->async_handshake(asio::ssl::stream_base::server, std::move(done));
    asio::post(get_executor(), [done = std::move(done)] { done({}); });
  }
  void ReadSome(asio::mutable_buffer into, Transferred done) override {
    if (tls_) return tls_->async_read_some(into, std::move(done));
    socket_.async_read_some(into, std::move(done));
  }
  void WriteSome(Buffers from, Transferred done) override {
    if (tls_) return tls_->async_write_some(from, std::move(done));  // one record, into which small buffers are joined
    socket_.async_write_some(from, std::move(done));
  }

  void Finish(std::function<void()> done) override {
    if (!tls_) return FinishTcp(std::move(done));
    // whatever becomes of the close_notify, TCP is to be ended as without TLS
    tls_->async_shutdown([this, done = std::move(done)](Error) { FinishTcp(done); });
  }
  void Close() override {
    Error ignored;
    socket_.close(ignored);
  }

 private:
  using Dropped = std::array<char, 4096>;

  void FinishTcp(std::function<void()> done) {
    Error ignored;
    socket_.shutdown(Socket::shutdown_send, ignored);
    Drain(std::make_shared<Dropped>(), std::move(done));
  }

  /// The transport must stay alive until `done` is called, which whoever waits for it sees to.
  void Drain(const std::shared_ptr<Dropped>& dropped, std::function<void()> done) {
    socket_.async_read_some(asio::buffer(*dropped), [this, dropped, done = std::move(done)](Error error, std::size_t) {
      if (error) return done();
      Drain(dropped, done);
    });
  }

  Socket socket_;
  std::optional<asio::ssl::stream<Socket&>> tls_;
};

}  // namespace

std::unique_ptr<Transport> MakeTransport(Transport::Socket socket, asio::ssl::context* tls) {
  return std::make_unique<SocketTransport>(std::move(socket), tls);
}

}  // namespace probe
