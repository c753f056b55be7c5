#pragma once

#include <string>

#include "probe/host/connection_id.h"

namespace probe {

/// Is told of every change of the subscriptions, in order.
///
/// Threads: any thread of the host; called with the service's lock held, one call at a time, so it must not call back.
class SubscriptionObserver {
 public:
  virtual ~SubscriptionObserver() = default;

  /// `request` is the client's own request, JSON text; empty when the subscription came from within the host.
  virtual void OnFiled(const std::string& topic, ConnectionId connection, const std::string& request) = 0;
  virtual void OnRemoved(const std::string& topic, ConnectionId connection, const std::string& sid) = 0;
  virtual void OnDisconnected(ConnectionId connection) = 0;

  /// The lists are frozen, and released again: what is told in between takes effect only at the release.
  virtual void OnHeld() = 0;
  virtual void OnReleased() = 0;
};

}  // namespace probe
