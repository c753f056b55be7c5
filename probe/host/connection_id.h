#pragma once

#include <cstdint>

struct lws;

namespace probe {

/// One connection of a client, as the host knows it. An id is given once and never again, so a message for a client
/// that has gone reaches nobody else.
///
/// The contract has a pointer in its place; the two functions below are the only ones that turn one into the other.
enum class ConnectionId : std::uintptr_t {};

/// No connection.
inline constexpr ConnectionId kNoConnection{0};

/// The handle under which the plug-in knows a connection. It points to nothing.
inline lws* ToHandle(ConnectionId id) {
  return reinterpret_cast<lws*>(static_cast<std::uintptr_t>(id));  // NOLINT(performance-no-int-to-ptr)
}

/// The connection behind a handle of `ToHandle`.
inline ConnectionId FromHandle(const lws* handle) {
  return ConnectionId{reinterpret_cast<std::uintptr_t>(handle)};
}

}  // namespace probe
