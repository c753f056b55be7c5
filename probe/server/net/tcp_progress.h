#pragma once

#include <cstdint>

namespace probe {

/// How many octets the other end of a TCP connection has taken since it began. It stands still for a client that does
/// not read, whatever this side's buffers swallow.
///
/// Fails:   0 when the system does not tell.
/// Source:  tcp(7), TCP_INFO; RFC 4898, tcpEStatsAppHCThruOctetsAcked.
std::uint64_t OctetsTakenByPeer(int socket);

}  // namespace probe
