#include "probe/server/net/listener.h"

#include <utility>

#include "probe/host/log.h"

namespace probe {
namespace {

namespace asio = boost::asio;

// How long to wait when the system has no descriptor left for a connection, which then stays in the backlog.
constexpr std::chrono::milliseconds kRetryAfter{100};

}  // namespace

Listener::Listener(asio::io_context& loop, const std::vector<int>& bound_sockets,
                   std::function<void(Transport::Socket socket)> on_accept)
    : on_accept_(std::move(on_accept)) {
  for (const int descriptor : bound_sockets)
    addresses_.emplace_back(loop).acceptor.assign(asio::ip::tcp::v4(), descriptor);  // accepting asks for no family
  for (Address& address : addresses_) address.acceptor.listen();
}

void Listener::Start() {
  for (Address& address : addresses_) Accept(address);
}

void Listener::Close() {
  boost::system::error_code ignored;
  for (Address& address : addresses_) {
    address.retry.Stop();
    address.acceptor.close(ignored);
  }
}

void Listener::Accept(Address& address) {
  address.acceptor.async_accept([this, &address](boost::system::error_code error, Transport::Socket socket) {
    OnAccept(address, error, std::move(socket));
  });
}

void Listener::OnAccept(Address& address, boost::system::error_code error, Transport::Socket socket) {
  if (!address.acceptor.is_open()) return;
  if (!error) {
    boost::system::error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    on_accept_(std::move(socket));
  }
  // A connection that ended before it was accepted is none of the listener's troubles.
  if (!error || error == asio::error::connection_aborted) return Accept(address);
  const auto line = log_rate_.Ask(Timer::Clock::now());
  if (line.may_be_written) log::Error("[WebServer] no connection can be accepted: %s", error.message().c_str());
  address.retry.Start(kRetryAfter, [this, &address] { Accept(address); });
}

}  // namespace probe
