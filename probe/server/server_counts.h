#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace probe {

/// What became of the messages to websocket clients since the server was made, answers to their requests included.
///
/// Threads: any.
struct MessageCounts {
  using Count = std::atomic<std::uint64_t>;

  Count sent{0};          ///< Handed to the system, all of it.
  Count superseded{0};    ///< Unsent when a newer one of the same topic and SIDs came.
  Count queue_full{0};    ///< Dropped unsent: too many, or too large, waited for its client.
  Count queues_full{0};   ///< Dropped unsent: what waited for all clients together was too much.
  Count disconnected{0};  ///< Dropped, unsent or half sent: the connection was closed.
};

/// How much of everything a server has at present.
///
/// Threads: the event loop writes, any reads.
struct ServerCounts {
  std::atomic<std::size_t> http_connections{0};  ///< Without those that became websockets.
  std::atomic<std::size_t> websockets{0};
  std::atomic<std::size_t> subscriptions{0};  ///< Of clients: a topic and a SID each.
  std::atomic<std::size_t> filters{0};        ///< Different ones among them.
};

}  // namespace probe
