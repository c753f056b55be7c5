#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "probe/host/connection_id.h"
#include "probe/server/net/server_settings.h"
#include "probe/server/websocket/protocol.h"

namespace probe {

/// Keeps count of subscriptions, so that one client cannot take more than its share of SIDs, nor all clients together
/// more than so many distinct filters. What is entered is small, too: SIDs and filters have a size that they must keep.
///
/// Filters are the plug-in's and opaque here; two are taken as different when their JSON differs.
/// Threads: the event loop only.
class SubscriptionLimits {
 public:
  explicit SubscriptionLimits(const ServerLimits& limits) : limits_(limits) {}

  /// Enters the subscriptions of one request: SID -> filter. A SID that the connection has in this topic already is
  /// replaced and does not count twice.
  ///
  /// Fails: the limit that is in the way; nothing is entered then.
  std::optional<ProtocolError> Add(ConnectionId connection, const std::string& topic,
                                   const std::map<std::string, std::string>& filters);

  /// Takes one subscription out. False when there was none.
  bool Remove(ConnectionId connection, const std::string& topic, const std::string& sid);

  /// Takes all subscriptions of a connection out.
  void RemoveAll(ConnectionId connection);

  /// Different (topic, filter) pairs that somebody is subscribed to.
  std::size_t distinct_filters() const { return uses_.size(); }

  /// Subscriptions of all connections together.
  std::size_t subscriptions() const { return subscriptions_; }

 private:
  using Subscription = std::pair<std::string, std::string>;  // topic, SID
  using Filters = std::map<Subscription, std::string>;
  using TopicAndFilter = std::pair<std::string, std::string>;

  std::optional<ProtocolError> CheckSizes(const std::map<std::string, std::string>& filters) const;

  /// Gives a connection other subscriptions, and the caller those that it had.
  void Exchange(ConnectionId connection, Filters& other);

  const ServerLimits limits_;
  std::map<ConnectionId, Filters> filters_;     // those without subscriptions are not in it
  std::map<TopicAndFilter, std::size_t> uses_;  // how many subscriptions share it; never 0
  std::size_t subscriptions_ = 0;
};

}  // namespace probe
