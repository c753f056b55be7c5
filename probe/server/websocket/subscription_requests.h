#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/protocol.h"
#include "probe/server/websocket/push_budget.h"
#include "probe/server/websocket/subscription_limits.h"

namespace probe {

/// Carries out what clients ask for: reads a message, keeps to the limits, files subscriptions, answers.
///
/// Threads: the event loop only. It calls the plug-in (`FilterParser`).
class SubscriptionRequests {
 public:
  /// Takes the text of an answer on its way to the client.
  using Reply = std::function<void(std::string text)>;

  SubscriptionRequests(const ServerLimits& limits, SubscriptionService& service, PushBudget& budget);

  /// Carries out one message of a connection, whose topics the service knows with `topics` before them, and answers it
  /// exactly once. The answer to a subscription goes out
  /// before the subscription is filed, so that no message of the topic can be ahead of it.
  void Handle(ConnectionId connection, const std::string& topics, std::string_view text, const Reply& reply);

  /// Forgets a connection and all its subscriptions.
  void Forget(ConnectionId connection);

  const SubscriptionLimits& limits() const { return subscription_limits_; }

 private:
  void Subscribe(ConnectionId connection, const std::string& topics, const SubscribeRequest& request,
                 const Reply& reply);
  void Unsubscribe(ConnectionId connection, const std::string& topics, const UnsubscribeRequest& request,
                   const Reply& reply);

  std::size_t max_depth_;
  SubscriptionService& service_;
  PushBudget& budget_;
  SubscriptionLimits subscription_limits_;
};

}  // namespace probe
