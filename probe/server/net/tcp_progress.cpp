#include "probe/server/net/tcp_progress.h"

// The kernel's header and not <netinet/tcp.h>, whose record ends before the counter.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>

namespace probe {

std::uint64_t OctetsTakenByPeer(int socket) {
  tcp_info info{};
  socklen_t length = sizeof info;
  if (getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length) != 0) return 0;
  return length < offsetof(tcp_info, tcpi_bytes_received) ? 0 : info.tcpi_bytes_acked;
}

}  // namespace probe
