#include "probe/client/client_stream.h"

namespace probe {

namespace asio = boost::asio;

ClientStream::ClientStream(asio::io_context& io, asio::ssl::context* tls) : socket_(io) {
  if (tls != nullptr) tls_.emplace(socket_, *tls);
}

void ClientStream::Handshake(const std::string& host, std::function<void(Error error)> done) {
  if (!tls_) return asio::post(get_executor(), [done = std::move(done)] { done({}); });
  SSL_set_tlsext_host_name(tls_->native_handle(), host.c_str());
  tls_->async_handshake(asio::ssl::stream_base::client, std::move(done));
}

void ClientStream::ReadSome(asio::mutable_buffer into, Transferred done) {
  if (tls_) return tls_->async_read_some(into, std::move(done));
  socket_.async_read_some(into, std::move(done));
}

void ClientStream::WriteSome(const Buffers& from, Transferred done) {
  if (tls_) return tls_->async_write_some(from, std::move(done));
  socket_.async_write_some(from, std::move(done));
}

}  // namespace probe
