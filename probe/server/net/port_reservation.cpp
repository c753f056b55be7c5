#include "probe/server/net/port_reservation.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "probe/host/log.h"
#include "probe/server/net/ip_address.h"

namespace probe {
namespace {

constexpr int kAttempts = 50;

/// A socket bound to an address, or -1 with `errno`. It does not listen yet.
int Bound(const SocketAddress& address) {
  const int descriptor = socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return -1;
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (address.storage.ss_family == AF_INET6) setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address.storage), address.length) == 0) return descriptor;
  const int reason = errno;
  close(descriptor);
  errno = reason;
  return -1;
}

std::uint16_t PortBoundTo(int descriptor) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
  return PortOf(address);
}

bool IsAbsent(int reason) {
  return reason == EADDRNOTAVAIL || reason == EAFNOSUPPORT;
}

}  // namespace

PortReservation::PortReservation(const std::vector<std::string>& addresses, std::uint16_t port, bool pass_over_absent) {
  if (addresses.empty()) throw std::runtime_error("server.listen names no address");
  for (const std::string& address : addresses) {
    if (CanonicalAddress(address).empty())
      throw std::runtime_error("server.listen = \"" + address + "\" is not a numeric IP address");
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (Reserve(addresses, port, pass_over_absent)) return;
    Release();
    if (port != 0) break;
  }
  throw std::runtime_error("no port is free on all addresses of server.listen");
}

PortReservation::~PortReservation() {
  Release();
}

void PortReservation::Release() {
  for (const int descriptor : sockets_) close(descriptor);
  sockets_.clear();
  addresses_.clear();
  port_ = 0;
}

bool PortReservation::Reserve(const std::vector<std::string>& addresses, std::uint16_t port, bool pass_over_absent) {
  port_ = port;
  for (const std::string& address : addresses) {
    const std::string canonical = CanonicalAddress(address);
    const int descriptor = Bound(MakeSocketAddress(canonical, port_));
    if (descriptor >= 0) {
      sockets_.push_back(descriptor);
      addresses_.push_back(canonical);
      if (port_ == 0) port_ = PortBoundTo(descriptor);
      continue;
    }
    const int reason = errno;
    if (pass_over_absent && IsAbsent(reason)) {
      log::Info("[WebServer] this machine has no address %s, so the probe doesn't listen there", canonical.c_str());
      continue;
    }
    if (port == 0 && reason == EADDRINUSE) return false;
    throw std::runtime_error("cannot listen on " + canonical + " port " + std::to_string(port_) + ": " +
                             std::generic_category().message(reason));
  }
  if (sockets_.empty()) throw std::runtime_error("this machine has none of the addresses of server.listen");
  return true;
}

}  // namespace probe
