#pragma once

#include <string>

#include "probe/server/net/connection_limiter.h"
#include "probe/server/net/rate_limiter.h"

namespace probe {

/// What is known of a connection from the moment when it was accepted, whatever becomes of it.
struct AcceptedConnection {
  std::string address;  ///< Of the client.
  ConnectionLimiter::Verdict verdict = ConnectionLimiter::Verdict::kAccepted;
  RateLimiter rate;  ///< Of its requests, then of its messages.
};

}  // namespace probe
