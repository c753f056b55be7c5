#pragma once

#include <algorithm>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/role.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "probe/server/net/transport.h"

namespace probe {

/// A `Transport` as the stream that the websocket library wants, so that its code is compiled once for all transports.
///
/// Octets that came with the handshake are read before those of the transport.
/// Threads: the event loop's only.
class TransportStream {
 public:
  using executor_type = boost::asio::io_context::executor_type;

  TransportStream(std::unique_ptr<Transport> transport, std::string early)
      : transport_(std::move(transport)), early_(std::move(early)) {}

  executor_type get_executor() const noexcept { return transport_->executor(); }
  Transport& transport() const { return *transport_; }

  template <typename Buffers, typename Handler>
  auto async_read_some(const Buffers& into, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Transport::Error, std::size_t)>(
        [this](auto&& then, const Buffers& buffers) {
          // a read may fill less than there is room for, so the first buffer is enough
          Read(*boost::asio::buffer_sequence_begin(buffers), Shared(std::forward<decltype(then)>(then)));
        },
        handler, into);
  }

  template <typename Buffers, typename Handler>
  auto async_write_some(const Buffers& from, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Transport::Error, std::size_t)>(
        [this](auto&& then, const Buffers& buffers) {
          Transport::Buffers parts;
          std::size_t count = 0;
          for (auto part = boost::asio::buffer_sequence_begin(buffers);
               part != boost::asio::buffer_sequence_end(buffers) && count < parts.size(); ++part) {
            if (const boost::asio::const_buffer octets(*part); octets.size() > 0) parts[count++] = octets;
          }
          transport_->WriteSome(parts, Shared(std::forward<decltype(then)>(then)));
        },
        handler, from);
  }

 private:
  /// The library's handlers can only be moved, a function can be copied: copies share the one handler.
  template <typename Handler>
  static Transport::Transferred Shared(Handler&& handler) {
    auto shared = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
    return [shared](Transport::Error error, std::size_t octets) { std::move (*shared)(error, octets); };
  }

  void Read(boost::asio::mutable_buffer into, Transport::Transferred then) {
    if (early_.empty()) return transport_->ReadSome(into, std::move(then));
    const std::size_t count = boost::asio::buffer_copy(into, boost::asio::buffer(early_));
    early_.erase(0, count);
    boost::asio::post(get_executor(), [then = std::move(then), count] { then({}, count); });
  }

  std::unique_ptr<Transport> transport_;
  std::string early_;
};

/// The library asks for it when it has done with a connection, which then ends it as every other.
template <typename Handler>
void async_teardown(boost::beast::role_type, TransportStream& stream, Handler&& handler) {
  boost::asio::post(stream.get_executor(),
                    [then = std::forward<Handler>(handler)]() mutable { then(Transport::Error{}); });
}

// What the library would need for its blocking calls and its own time limits, of which none are used here.
inline void teardown(boost::beast::role_type, TransportStream&, Transport::Error&) {}
inline void beast_close_socket(TransportStream& stream) {
  stream.transport().Close();
}

}  // namespace probe
