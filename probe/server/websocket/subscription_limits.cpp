#include "probe/server/websocket/subscription_limits.h"

namespace probe {

std::optional<ProtocolError> SubscriptionLimits::Add(ConnectionId connection, const std::string& topic,
                                                     const std::map<std::string, std::string>& filters) {
  if (auto refused = CheckSizes(filters)) return refused;
  const auto found = filters_.find(connection);
  Filters after = found == filters_.end() ? Filters() : found->second;
  for (const auto& [sid, filter] : filters) after[{topic, sid}] = filter;
  if (after.size() > limits_.sids_per_connection)
    return ProtocolError{error_code::kTooManySids, "One connection may have no more subscriptions than " +
                                                       LimitText("sids_per_connection", limits_.sids_per_connection) +
                                                       "."};
  Exchange(connection, after);
  if (uses_.size() <= limits_.distinct_filters) return std::nullopt;
  Exchange(connection, after);
  return ProtocolError{error_code::kTooManyFilters, "All clients together may ask for no more different filters than " +
                                                        LimitText("distinct_filters", limits_.distinct_filters) + "."};
}

std::optional<ProtocolError> SubscriptionLimits::CheckSizes(const std::map<std::string, std::string>& filters) const {
  for (const auto& [sid, filter] : filters) {
    if (sid.size() > limits_.sid_bytes)
      return ProtocolError{error_code::kTooLarge,
                           "A SID may have no more octets than " + LimitText("sid_bytes", limits_.sid_bytes) + "."};
    if (filter.size() > limits_.filter_bytes)
      return ProtocolError{error_code::kTooLarge, "A filter may have no more octets of JSON than " +
                                                      LimitText("filter_bytes", limits_.filter_bytes) + "."};
  }
  return std::nullopt;
}

void SubscriptionLimits::Exchange(ConnectionId connection, Filters& other) {
  Filters& mine = filters_[connection];
  for (const auto& [subscription, filter] : other) ++uses_[{subscription.first, filter}];
  for (const auto& [subscription, filter] : mine) {
    const auto use = uses_.find({subscription.first, filter});
    if (--use->second == 0) uses_.erase(use);
  }
  subscriptions_ += other.size();
  subscriptions_ -= mine.size();
  mine.swap(other);
  if (mine.empty()) filters_.erase(connection);
}

bool SubscriptionLimits::Remove(ConnectionId connection, const std::string& topic, const std::string& sid) {
  const auto found = filters_.find(connection);
  if (found == filters_.end()) return false;
  Filters after = found->second;
  if (after.erase({topic, sid}) == 0) return false;
  Exchange(connection, after);
  return true;
}

void SubscriptionLimits::RemoveAll(ConnectionId connection) {
  Filters none;
  Exchange(connection, none);
}

}  // namespace probe
