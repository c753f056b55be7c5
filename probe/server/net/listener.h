#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "probe/server/net/log_rate_limiter.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/transport.h"

namespace probe {

/// Accepts connections on all the addresses of a server, under one port.
///
/// Threads: the event loop's only, but for its making and `Start`.
class Listener {
 public:
  /// Reserves the addresses. `port` 0: any that is free on all of them. `pass_over_absent`: an address that this
  /// machine does not have is left out instead of being an error.
  ///
  /// Fails: throws `std::runtime_error` with a text for an administrator.
  Listener(boost::asio::io_context& loop, const std::vector<std::string>& addresses, std::uint16_t port,
           bool pass_over_absent);
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  std::uint16_t port() const { return port_; }

  /// The addresses that this machine has, in their canonical notation; at least one.
  const std::vector<std::string>& addresses() const { return addresses_; }

  /// Listens, and hands every connection to `on_accept`. Fails: throws `boost::system::system_error`.
  void Start(std::function<void(Transport::Socket socket)> on_accept);

  /// Stops listening. Connections that nobody has accepted are reset.
  void Close();

 private:
  using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

  /// The socket of one address, and the wait after a failure to accept there.
  struct Entry {
    explicit Entry(boost::asio::io_context& loop) : acceptor(loop.get_executor()), retry(loop.get_executor()) {}

    Acceptor acceptor;
    Timer retry;
  };

  static boost::system::error_code Bind(Acceptor& acceptor, const boost::asio::ip::tcp::endpoint& endpoint);
  bool Reserve(boost::asio::io_context& loop, std::uint16_t port, bool pass_over_absent);
  void Accept(Entry& entry);
  void OnAccept(Entry& entry, boost::system::error_code error, Transport::Socket socket);

  std::vector<std::string> addresses_;
  std::uint16_t port_ = 0;
  std::list<Entry> entries_;
  std::function<void(Transport::Socket socket)> on_accept_;
  LogRateLimiter log_rate_;
};

}  // namespace probe
