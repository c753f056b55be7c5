#pragma once

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "probe/server/net/transport.h"

namespace test {

/// What a connection has led to, which outlives it.
struct Outcome {
  std::string sent;  ///< By the server.
  bool has_ended = false;
};

/// A client without a socket, that sends what it is given in pieces, takes at most so many octets at once, and ends
/// when it has sent everything.
class MemoryTransport : public probe::Transport {
 public:
  MemoryTransport(boost::asio::io_context& loop, std::string_view octets, std::size_t piece, Outcome& outcome,
                  std::size_t taken_at_once = std::numeric_limits<std::size_t>::max())
      : loop_(loop), octets_(octets), piece_(piece), taken_at_once_(taken_at_once), outcome_(outcome) {}
  ~MemoryTransport() override { outcome_.has_ended = true; }

  executor_type get_executor() override { return loop_.get_executor(); }
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
  void WriteSome(Buffers from, Transferred done) override {
    std::string taken(std::min(taken_at_once_, boost::asio::buffer_size(from)), '\0');
    const std::size_t count = boost::asio::buffer_copy(boost::asio::buffer(taken), from);
    outcome_.sent += taken;
    boost::asio::post(loop_, [done = std::move(done), count] { done({}, count); });
  }
  void Finish(std::function<void()> done) override { boost::asio::post(loop_, std::move(done)); }
  void Close() override {}

 private:
  boost::asio::io_context& loop_;
  std::string_view octets_;
  const std::size_t piece_;
  const std::size_t taken_at_once_;
  Outcome& outcome_;
};

}  // namespace test
