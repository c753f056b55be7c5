#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "probe/host/connection_id.h"
#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/rate_limiter.h"
#include "probe/server/websocket/message_assembler.h"
#include "probe/server/websocket/outbox.h"

namespace probe {

/// Only the server thread may touch it. Of what it points to only the outbox is shared, and has a lock of its own.
struct Connection {
  using Clock = std::chrono::steady_clock;

  Connection(ConnectionId own_id, lws* own_socket, std::string its_peer, const ServerLimits& limits,
             Clock::time_point now)
      : id(own_id),
        socket(own_socket),
        peer(std::move(its_peer)),
        outbox(std::make_shared<Outbox>(limits.queue_messages, limits.queue_bytes)),
        incoming(limits.message_bytes),
        rate(limits.messages_per_second, now),
        moved_at(now) {}

  const ConnectionId id;   ///< What the host and, as a handle, the plug-in know it by.
  lws* const socket;       ///< What the library knows it by: a pointer, which may be used again for another.
  const std::string peer;  ///< Address of the client.
  const std::shared_ptr<Outbox> outbox;
  IncomingMessage incoming;
  RateLimit rate;

  std::shared_ptr<const OutgoingMessage> sending;  ///< The message that is being written; null: none is.
  std::size_t sent = 0;                            ///< Octets of it that the library has taken.

  bool is_watched = false;           ///< Something is unsent, so it is looked after that it moves.
  std::uint64_t taken_by_peer = 0;   ///< Octets, when it was last seen moving.
  Clock::time_point moved_at;        ///< When it was last seen moving.
  std::optional<int> farewell_code;  ///< It is being closed with this code; nothing else is sent any more.
};

/// Only the server thread may touch it. A TCP connection, from the moment when it was accepted.
struct Visitor {
  std::string address;
  Gate::Verdict verdict = Gate::Verdict::kAdmitted;
  RateLimit rate;  ///< Of the requests that come over it before it becomes a websocket.
};

}  // namespace probe
