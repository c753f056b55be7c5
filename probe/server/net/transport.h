#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace boost::asio::ssl {
class context;
}

namespace probe {

/// The octets of one connection: over TCP, with TLS or without, or from memory where there is no socket.
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

  /// What one write takes from, in this order. They and their octets must stay as they are until it has completed.
  using Buffers = std::span<const boost::asio::const_buffer>;

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
  virtual void WriteSome(Buffers from, Transferred done) = 0;

  /// Sends the end of the stream, then reads and drops what the peer still sends until it ends the connection, too. The
  /// system resets a connection that is closed with unread octets, and its last answer is lost.
  ///
  /// Source: RFC 9112, section 9.6.
  virtual void Finish(std::function<void()> done) = 0;

  /// Ends the connection at once. What is under way completes with an error.
  virtual void Close() = 0;
};

/// The transport of an accepted socket. `tls`: null for none; it must outlive the transport.
std::unique_ptr<Transport> MakeTransport(Transport::Socket socket, boost::asio::ssl::context* tls);

}  // namespace probe
