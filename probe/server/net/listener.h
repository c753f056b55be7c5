#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <list>
#include <vector>

#include "probe/server/net/log_rate_limiter.h"
#include "probe/server/net/timer.h"
#include "probe/server/net/transport.h"

namespace probe {

/// Accepts connections on all the addresses of a server. Threads: the event loop's only, but for its making.
class Listener {
 public:
  /// Listens on these sockets, which are bound and now the listener's, from `Start` on.
  ///
  /// Fails: throws `boost::system::system_error` when one of them cannot listen.
  Listener(boost::asio::io_context& loop, const std::vector<int>& bound_sockets,
           std::function<void(Transport::Socket socket)> on_accept);
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  void Start();

  /// Listens no more. Connections that nobody has accepted are reset.
  void Close();

 private:
  using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

  /// One address that is listened on.
  struct Address {
    explicit Address(boost::asio::io_context& loop) : acceptor(loop.get_executor()), retry(loop.get_executor()) {}

    Acceptor acceptor;
    Timer retry;
  };

  void Accept(Address& address);
  void OnAccept(Address& address, boost::system::error_code error, Transport::Socket socket);

  const std::function<void(Transport::Socket socket)> on_accept_;
  std::list<Address> addresses_;
  LogRateLimiter log_rate_;
};

}  // namespace probe
