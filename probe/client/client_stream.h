#pragma once

#include <array>
#include <boost/asio/async_result.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/role.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "probe/asio/shared_handler.h"

namespace probe {

/// The octets of a client's connection, with TLS or without. It is the stream of the websocket library, whose code is
/// thus compiled once for both.
///
/// Threads: one.
class ClientStream {
 public:
  using Error = boost::system::error_code;
  using executor_type = boost::asio::io_context::executor_type;
  using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, executor_type>;
  using Transferred = std::function<void(Error error, std::size_t octets)>;

  /// `tls`: null for none; it must outlive the stream, as must `io`.
  ClientStream(boost::asio::io_context& io, boost::asio::ssl::context* tls);

  executor_type get_executor() { return socket_.get_executor(); }

  /// To open, connect, cancel and close it.
  Socket& socket() { return socket_; }

  /// Does the TLS handshake, if there is TLS. By `host` a server with several certificates chooses one.
  ///
  /// Source: RFC 6066, section 3.
  void Handshake(const std::string& host, std::function<void(Error error)> done);

  template <typename MutableBuffers, typename Handler>
  auto async_read_some(const MutableBuffers& into, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Error, std::size_t)>(
        [this](auto&& then, const MutableBuffers& buffers) {
          // a read may fill less than there is room for, so the first buffer is enough
          ReadSome(*boost::asio::buffer_sequence_begin(buffers), SharedHandler(std::forward<decltype(then)>(then)));
        },
        handler, into);
  }

  template <typename ConstBuffers, typename Handler>
  auto async_write_some(const ConstBuffers& from, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Error, std::size_t)>(
        [this](auto&& then, const ConstBuffers& buffers) {
          Buffers parts;
          std::size_t count = 0;
          for (auto part = boost::asio::buffer_sequence_begin(buffers);
               part != boost::asio::buffer_sequence_end(buffers) && count < parts.size(); ++part) {
            if (const boost::asio::const_buffer octets(*part); octets.size() > 0) parts[count++] = octets;
          }
          WriteSome(parts, SharedHandler(std::forward<decltype(then)>(then)));
        },
        handler, from);
  }

 private:
  using Buffers = std::array<boost::asio::const_buffer, 4>;

  void ReadSome(boost::asio::mutable_buffer into, Transferred done);
  void WriteSome(const Buffers& from, Transferred done);

  Socket socket_;
  std::optional<boost::asio::ssl::stream<Socket&>> tls_;
};

/// The library asks for it when a connection was closed by both sides: it waits for nothing more.
template <typename Handler>
void async_teardown(boost::beast::role_type, ClientStream& stream, Handler&& handler) {
  ClientStream::Error ignored;
  stream.socket().close(ignored);
  boost::asio::post(stream.get_executor(),
                    [then = std::forward<Handler>(handler)]() mutable { then(ClientStream::Error{}); });
}

// What the library would need for its blocking calls and its own time limits, of which none are used here.
inline void teardown(boost::beast::role_type, ClientStream&, ClientStream::Error&) {}
inline void beast_close_socket(ClientStream&) {}

}  // namespace probe
