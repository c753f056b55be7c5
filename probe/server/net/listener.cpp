#include "probe/server/net/listener.h"

#include <fcntl.h>

#include <boost/asio/ip/v6_only.hpp>
#include <stdexcept>
#include <utility>

#include "probe/host/log.h"
#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;

// A port that was free on the first address may be taken on the next; then another one is tried.
constexpr int kAttempts = 50;

// How long to wait when the system has no descriptor left for a connection, which then stays in the backlog.
constexpr std::chrono::milliseconds kRetryAfter{100};

bool IsAbsent(const error_code& error) {
  return error == boost::system::errc::address_not_available || error == asio::error::address_family_not_supported;
}

}  // namespace

Listener::Listener(asio::io_context& loop, const std::vector<std::string>& addresses, std::uint16_t port,
                   bool pass_over_absent) {
  if (addresses.empty()) throw std::runtime_error("server.listen names no address");
  for (const std::string& address : addresses) {
    addresses_.push_back(CanonicalAddress(address));
    if (addresses_.back().empty())
      throw std::runtime_error("server.listen = \"" + address + "\" is not a numeric IP address");
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt)
    if (Reserve(loop, port, pass_over_absent)) return;
  throw std::runtime_error("no port is free on all addresses of server.listen");
}

error_code Listener::Bind(Acceptor& acceptor, const asio::ip::tcp::endpoint& endpoint) {
  error_code error;
  if (acceptor.open(endpoint.protocol(), error)) return error;
  ::fcntl(acceptor.native_handle(), F_SETFD, FD_CLOEXEC);  // which the library does not set
  acceptor.set_option(Acceptor::reuse_address(true), error);
  if (endpoint.address().is_v6()) acceptor.set_option(asio::ip::v6_only(true), error);
  return acceptor.bind(endpoint, error);
}

/// Takes `port` on every address. False when it was left to the system and is taken on one of them.
bool Listener::Reserve(asio::io_context& loop, std::uint16_t port, bool pass_over_absent) {
  entries_.clear();
  port_ = port;
  std::vector<std::string> reserved;
  for (const std::string& address : addresses_) {
    Acceptor& acceptor = entries_.emplace_back(loop).acceptor;
    const error_code error = Bind(acceptor, {asio::ip::make_address(address), port_});
    if (!error) {
      port_ = acceptor.local_endpoint().port();
      reserved.push_back(address);
      continue;
    }
    entries_.pop_back();
    if (port == 0 && error == asio::error::address_in_use) return false;
    if (!pass_over_absent || !IsAbsent(error))
      throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port_) + ": " +
                               error.message());
    log::Warning("[WebServer] this machine has no address %s, so the probe doesn't listen there", address.c_str());
  }
  if (entries_.empty()) throw std::runtime_error("this machine has none of the addresses of server.listen");
  addresses_ = std::move(reserved);
  return true;
}

void Listener::Start(std::function<void(Transport::Socket socket)> on_accept) {
  on_accept_ = std::move(on_accept);
  for (Entry& entry : entries_) entry.acceptor.listen();
  for (Entry& entry : entries_) Accept(entry);
}

void Listener::Close() {
  error_code ignored;
  for (Entry& entry : entries_) {
    entry.retry.Stop();
    entry.acceptor.close(ignored);
  }
}

void Listener::Accept(Entry& entry) {
  entry.acceptor.async_accept(
      [this, &entry](error_code error, Transport::Socket socket) { OnAccept(entry, error, std::move(socket)); });
}

void Listener::OnAccept(Entry& entry, error_code error, Transport::Socket socket) {
  if (!entry.acceptor.is_open()) return;
  if (!error) {
    error_code ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);  // which the library does not set
    try {
      on_accept_(std::move(socket));
    } catch (const std::exception& failure) {
      log::Error("[WebServer] an accepted connection could not be served: %s", failure.what());
    }
  }
  // a connection that ended before it was accepted is no failure of the listener
  if (!error || error == asio::error::connection_aborted) return Accept(entry);
  if (log_rate_.Ask(Timer::Clock::now()))
    log::Error("[WebServer] no connection can be accepted: %s", error.message().c_str());
  entry.retry.Start(kRetryAfter, [this, &entry] { Accept(entry); });
}

}  // namespace probe
