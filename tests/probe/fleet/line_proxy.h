#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace test {

/// A line to a server on the loopback that can be cut, held up and slowed down.
///
/// Threads: one of its own carries the octets; the functions are for the test's.
class LineProxy {
 public:
  /// Leads to this port, which need not be open yet.
  explicit LineProxy(int port);
  ~LineProxy();
  LineProxy(const LineProxy&) = delete;
  LineProxy& operator=(const LineProxy&) = delete;

  /// Where clients connect.
  std::string url() const;

  /// Breaks all connections, and takes no other.
  void Cut();

  /// Carries nothing any more, and breaks nothing: nobody hears that the line is gone.
  void Hold();

  /// Each piece of at most 16 KiB takes so long.
  void SlowDown(std::chrono::milliseconds delay);

  /// Carries all that comes, at once.
  void Mend();

 private:
  class Connection;
  enum class State { kCarries, kIsCut, kIsHeld };

  void Accept();
  void Become(State state, std::chrono::milliseconds delay);

  const boost::asio::ip::tcp::endpoint server_;
  boost::asio::io_context context_;
  boost::asio::ip::tcp::acceptor acceptor_;
  State state_ = State::kCarries;  // its thread's alone, as the next two
  std::chrono::milliseconds delay_{0};
  std::set<std::shared_ptr<Connection>> connections_;
  std::thread thread_;
};

}  // namespace test
