#include "probe/server/net/ip_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>
#include <cstring>

namespace probe {
namespace {

std::string TextOf(const in_addr& address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET, &address, text.data(), text.size()) == nullptr ? std::string() : text.data();
}

std::string TextOf(const in6_addr& address) {
  if (IN6_IS_ADDR_V4MAPPED(&address)) {
    in_addr mapped{};
    std::memcpy(&mapped, &address.s6_addr[12], sizeof mapped);
    return TextOf(mapped);
  }
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET6, &address, text.data(), text.size()) == nullptr ? std::string() : text.data();
}

/// The bytes of a socket address as the type that its family calls for.
template <typename Address>
Address As(const sockaddr_storage& storage) {
  Address address{};
  std::memcpy(&address, &storage, sizeof address);
  return address;
}

}  // namespace

SocketAddress MakeSocketAddress(std::string_view address, std::uint16_t port) {
  const std::string text(address);
  SocketAddress result;
  sockaddr_in v4{};
  sockaddr_in6 v6{};
  if (inet_pton(AF_INET, text.c_str(), &v4.sin_addr) == 1) {
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    std::memcpy(&result.storage, &v4, sizeof v4);
    result.length = sizeof v4;
  } else if (inet_pton(AF_INET6, text.c_str(), &v6.sin6_addr) == 1) {
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    std::memcpy(&result.storage, &v6, sizeof v6);
    result.length = sizeof v6;
  }
  return result;
}

std::string CanonicalAddress(std::string_view text) {
  return AddressText(MakeSocketAddress(text, 0).storage);
}

std::string AddressGroup(const std::string& address) {
  std::string canonical = CanonicalAddress(address);
  if (canonical.empty()) return address;
  if (canonical.starts_with("127.")) return "127.0.0.0/8";
  in6_addr prefix{};
  if (inet_pton(AF_INET6, canonical.c_str(), &prefix) != 1) return canonical;
  std::memset(&prefix.s6_addr[8], 0, 8);
  return TextOf(prefix) + "/64";
}

std::string AddressText(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET) return TextOf(As<sockaddr_in>(address).sin_addr);
  if (address.ss_family == AF_INET6) return TextOf(As<sockaddr_in6>(address).sin6_addr);
  return {};
}

std::uint16_t PortOf(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET) return ntohs(As<sockaddr_in>(address).sin_port);
  if (address.ss_family == AF_INET6) return ntohs(As<sockaddr_in6>(address).sin6_port);
  return 0;
}

std::string LocalAddress(int socket) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
  return AddressText(address);
}

std::string PeerAddress(int socket) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
  return AddressText(address);
}

}  // namespace probe
