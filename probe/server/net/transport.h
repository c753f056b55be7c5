#pragma once

#include <array>
#include <boost/asio/async_result.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/role.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace boost::asio::ssl {
class context;
}

namespace probe {

/// The octets of one connection: over TCP, with TLS or without, or from memory where there is no socket. It is the
/// stream of the websocket library, whose code is thus compiled once for all kinds.
///
/// One read and one write may be under way at a time. Their functions are called on the event loop, never before the
/// call that started them has returned, and exactly once, also after `Close`.
/// Threads: the event loop's only.
class Transport {
 public:
  using Error = boost::system::error_code;
  using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;
  using Transferred = std::function<void(Error error, std::size_t octets)>;
  using executor_type = boost::asio::io_context::executor_type;

  /// What one write takes from, in this order. Their octets must stay as they are until it has completed.
  using Buffers = std::array<boost::asio::const_buffer, 4>;

  virtual ~Transport() = default;

  virtual executor_type get_executor() = 0;

  /// Addresses in the notation of `CanonicalAddress`; empty when the connection is gone already.
  virtual std::string peer_address() const = 0;
  virtual std::string local_address() const = 0;

  /// How many octets the peer has taken, as `OctetsTakenByPeer`.
  virtual std::uint64_t octets_taken_by_peer() const = 0;

  /// Does the TLS handshake, if there is TLS.
  virtual void Handshake(std::function<void(Error error)> done) = 0;

  virtual void ReadSome(boost::asio::mutable_buffer into, Transferred done) = 0;
  virtual void WriteSome(const Buffers& from, Transferred done) = 0;

  /// Sends the end of the stream, then reads and drops what the peer still sends until it ends the connection, too. The
  /// system resets a connection that is closed with unread octets, and its last answer is lost.
  ///
  /// Source: RFC 9112, section 9.6.
  virtual void Finish(std::function<void()> done) = 0;

  /// Ends the connection at once. What is under way completes with an error.
  virtual void Close() = 0;

  /// Keeps what reads and writes work on: each that is started from now on holds it until it has completed. Null: lets
  /// it go, then at the latest.
  void Keep(std::shared_ptr<void> kept) { kept_ = std::move(kept); }

  /// Has these octets, which were read too many, read again by `async_read_some`.
  void Unread(std::string octets) { unread_ = std::move(octets); }

  template <typename MutableBuffers, typename Handler>
  auto async_read_some(const MutableBuffers& into, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Error, std::size_t)>(
        [this](auto&& then, const MutableBuffers& buffers) {
          // a read may fill less than there is room for, so the first buffer is enough
          ReadAgainOrSome(*boost::asio::buffer_sequence_begin(buffers), Shared(std::forward<decltype(then)>(then)));
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
          WriteSome(parts, Shared(std::forward<decltype(then)>(then)));
        },
        handler, from);
  }

 private:
  /// The library's handlers can only be moved, a function can be copied: copies share the one handler.
  template <typename Handler>
  Transferred Shared(Handler&& handler) {
    auto shared = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
    return [shared, kept = kept_](Error error, std::size_t octets) { std::move (*shared)(error, octets); };
  }

  void ReadAgainOrSome(boost::asio::mutable_buffer into, Transferred then);

  std::string unread_;
  std::shared_ptr<void> kept_;
};

/// The transport of an accepted socket. `tls`: null for none; it must outlive the transport.
std::unique_ptr<Transport> MakeTransport(Transport::Socket socket, boost::asio::ssl::context* tls);

/// The library asks for it when it has done with a connection, which then ends it as every other.
template <typename Handler>
void async_teardown(boost::beast::role_type, Transport& transport, Handler&& handler) {
  boost::asio::post(transport.get_executor(),
                    [then = std::forward<Handler>(handler)]() mutable { then(Transport::Error{}); });
}

// What the library would need for its blocking calls and its own time limits, of which none are used here.
inline void teardown(boost::beast::role_type, Transport&, Transport::Error&) {}
inline void beast_close_socket(Transport& transport) {
  transport.Close();
}

}  // namespace probe
