#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace probe {

/// The one notation of an IP address, so that two of them can be compared as texts: "0:0::1" gives "::1". An IPv4
/// address in IPv6 clothes ("::ffff:127.0.0.1") gives the IPv4 address.
///
/// Fails:   an empty text for what is no numeric address.
/// Source:  RFC 5952.
std::string CanonicalAddress(std::string_view text);

/// The addresses that one client can take at will, as one name: every address of 127.0.0.0/8, and an IPv6 address with
/// its whole /64. Any other IPv4 address stands alone, in the notation of `CanonicalAddress`.
///
/// Fails: gives back as it is what is no numeric address.
std::string AddressGroup(const std::string& address);

/// The address in a socket address, in the notation of `CanonicalAddress`. Empty for other families than IP.
std::string AddressText(const sockaddr_storage& address);

/// The port in a socket address; 0 for other families than IP.
std::uint16_t PortOf(const sockaddr_storage& address);

/// The socket address of a numeric address and a port.
struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;  ///< 0: the text was no numeric address.
};
SocketAddress MakeSocketAddress(std::string_view address, std::uint16_t port);

/// The address of this end of a connected socket, and of the other end; empty when the socket is not connected.
std::string LocalAddress(int socket);
std::string PeerAddress(int socket);

}  // namespace probe
