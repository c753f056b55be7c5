#include "probe/server/net/transport.h"

#include <algorithm>
#include <boost/asio/ssl/stream.hpp>
#include <cstring>
#include <utility>
#include <vector>

#include "probe/server/net/ip_address.h"
#include "probe/server/net/tcp_progress.h"
#include "probe/server/net/tls_context.h"

namespace probe {
namespace {

namespace asio = boost::asio;

// Source: RFC 8446, section 5.1.
constexpr std::size_t kTlsRecordBytes = 16 * 1024;

class PlainTransport : public Transport {
 public:
  explicit PlainTransport(Socket socket) : socket_(std::move(socket)) {}

  asio::io_context::executor_type executor() override { return socket_.get_executor(); }
  std::string peer_address() const override { return PeerAddress(Descriptor()); }
  std::string local_address() const override { return LocalAddress(Descriptor()); }
  std::uint64_t octets_taken_by_peer() const override { return OctetsTakenByPeer(Descriptor()); }

  void Handshake(std::function<void(Error error)> done) override {
    asio::post(socket_.get_executor(), [done = std::move(done)] { done({}); });
  }
  void ReadSome(asio::mutable_buffer into, Transferred done) override {
    socket_.async_read_some(into, std::move(done));
  }
  void WriteSome(const Buffers& from, Transferred done) override { socket_.async_write_some(from, std::move(done)); }

  void Finish(std::function<void()> done) override {
    Error ignored;
    socket_.shutdown(Socket::shutdown_send, ignored);
    Drain(std::make_shared<Dropped>(), std::move(done));
  }
  void Close() override {
    Error ignored;
    socket_.close(ignored);
  }

 protected:
  Socket& socket() { return socket_; }

 private:
  using Dropped = std::array<char, 4096>;

  // getpeername and the like do not change the socket, but the library has no const access to its descriptor
  int Descriptor() const { return const_cast<Socket&>(socket_).native_handle(); }

  /// The transport must stay alive until `done` is called, which whoever waits for it sees to.
  void Drain(const std::shared_ptr<Dropped>& dropped, std::function<void()> done) {
    socket_.async_read_some(asio::buffer(*dropped), [this, dropped, done = std::move(done)](Error error, std::size_t) {
      if (error) return done();
      Drain(dropped, done);
    });
  }

  Socket socket_;
};

class TlsTransport final : public PlainTransport {
 public:
  TlsTransport(Socket socket, TlsContext& tls) : PlainTransport(std::move(socket)), tls_(this->socket(), tls.get()) {}

  void Handshake(std::function<void(Error error)> done) override {
    tls_.async_handshake(asio::ssl::stream_base::server, std::move(done));
  }
  void ReadSome(asio::mutable_buffer into, Transferred done) override { tls_.async_read_some(into, std::move(done)); }

  void WriteSome(const Buffers& from, Transferred done) override {
    const auto first = std::find_if(from.begin(), from.end(), [](const auto& part) { return part.size() > 0; });
    if (first == from.end() || first->size() >= kTlsRecordBytes || first + 1 == from.end())
      return tls_.async_write_some(from, std::move(done));
    // The library makes a record of each part, and of each record a packet, so small ones are joined.
    auto record = std::make_shared<std::vector<char>>(std::min(asio::buffer_size(from), kTlsRecordBytes));
    asio::buffer_copy(asio::buffer(*record), from);
    tls_.async_write_some(asio::buffer(*record),
                          [record, done = std::move(done)](Error error, std::size_t octets) { done(error, octets); });
  }

  void Finish(std::function<void()> done) override {
    // Whatever becomes of the close_notify, TCP is to be ended as without TLS.
    tls_.async_shutdown([this, done = std::move(done)](Error) { PlainTransport::Finish(done); });
  }

 private:
  asio::ssl::stream<Socket&> tls_;
};

}  // namespace

std::unique_ptr<Transport> MakeTransport(Transport::Socket socket, TlsContext* tls) {
  if (tls != nullptr) return std::make_unique<TlsTransport>(std::move(socket), *tls);
  return std::make_unique<PlainTransport>(std::move(socket));
}

}  // namespace probe
