#pragma once

#include <boost/asio/async_result.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/role.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "probe/asio/shared_handler.h"
#include "probe/server/net/transport.h"
#include "probe/server/websocket/outbox.h"

namespace probe {

/// The stream below the websocket library, which reads all frames over it and writes its handshake and control frames.
/// Messages are written here, past the library: that would hand the system no more than 64 KiB at once.
///
/// A message is written in frames of 64 KiB, and between two of them there is room for a control frame.
/// Threads: the event loop's only.
class FrameStream {
 public:
  using Error = Transport::Error;
  using executor_type = Transport::executor_type;

  /// `on_read` is told of the octets of each read before the library gets them.
  FrameStream(Transport& transport, std::function<void(std::size_t octets)> on_read);
  ~FrameStream();
  FrameStream(const FrameStream&) = delete;
  FrameStream& operator=(const FrameStream&) = delete;

  executor_type get_executor() { return transport_.get_executor(); }

  /// Keeps what this stream is a part of: each read and write that is started from now on holds it until it has
  /// completed. Null: lets it go, then at the latest.
  void Keep(std::shared_ptr<void> kept) { kept_ = std::move(kept); }

  /// Has these octets, which were read too many, read again.
  void Unread(std::string octets) { unread_ = std::move(octets); }

  /// Writes a message. One at a time; `done` is called when it is written, but not once writing has failed or a close
  /// frame has gone out, after which there is no other frame.
  void WriteMessage(std::shared_ptr<const OutgoingMessage> message, std::function<void()> done);

  template <typename MutableBuffers, typename Handler>
  auto async_read_some(const MutableBuffers& into, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Error, std::size_t)>(
        [this](auto&& then, const MutableBuffers& buffers) {
          // a read may fill less than there is room for, so the first buffer is enough
          Read(*boost::asio::buffer_sequence_begin(buffers), SharedHandler(std::forward<decltype(then)>(then)));
        },
        handler, into);
  }

  template <typename ConstBuffers, typename Handler>
  auto async_write_some(const ConstBuffers& from, Handler&& handler) {
    return boost::asio::async_initiate<Handler, void(Error, std::size_t)>(
        [this](auto&& then, const ConstBuffers& buffers) {
          WriteControl(boost::beast::buffers_to_string(buffers), SharedHandler(std::forward<decltype(then)>(then)));
        },
        handler, from);
  }

 private:
  struct Sending;

  void Read(boost::asio::mutable_buffer into, Transport::Transferred done);
  void WriteControl(std::string octets, Transport::Transferred done);
  void WriteNext();
  void Write(Transport::Buffers from, void (FrameStream::*on_written)(Error error, std::size_t count));
  void OnControlWritten(Error error, std::size_t count);
  void OnFramesWritten(Error error, std::size_t count);
  void EndMessages();

  Transport& transport_;
  const std::function<void(std::size_t octets)> on_read_;
  std::shared_ptr<void> kept_;
  std::string unread_;

  bool is_writing_ = false;
  bool has_closed_ = false;  // the close frame has gone out, or writing has failed

  std::string control_;                     // what the library writes
  boost::asio::const_buffer control_rest_;  // of it, that is not written yet
  Transport::Transferred control_done_;

  std::unique_ptr<Sending> sending_;  // the message that is being written; null: none is
};

/// The library asks for it when it has done with a connection, which then ends it as every other.
template <typename Handler>
void async_teardown(boost::beast::role_type, FrameStream& stream, Handler&& handler) {
  boost::asio::post(stream.get_executor(),
                    [then = std::forward<Handler>(handler)]() mutable { then(FrameStream::Error{}); });
}

// What the library would need for its blocking calls and its own time limits, of which none are used here.
inline void teardown(boost::beast::role_type, FrameStream&, FrameStream::Error&) {}
inline void beast_close_socket(FrameStream&) {}

}  // namespace probe
