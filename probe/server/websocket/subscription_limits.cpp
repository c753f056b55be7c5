#include "probe/server/websocket/subscription_limits.h"

namespace probe {

std::optional<ProtocolError> SubscriptionLimits::Add(ConnectionId connection, const std::string& topic,
                                                     const std::map<std::string, std::string>& filters) {
  if (auto refused = CheckSizes(filters)) return refused;
  std::map<Subscription, std::string> after;
  if (const auto found = filters_.find(connection); found != filters_.end()) after = found->second;
  std::map<TopicAndFilter, long> changes;
  for (const auto& [sid, filter] : filters) {
    const auto [entry, is_new] = after.try_emplace({topic, sid}, filter);
    if (!is_new) --changes[{topic, entry->second}];
    ++changes[{topic, filter}];
    entry->second = filter;
  }
  if (after.size() > limits_.sids_per_connection)
    return ProtocolError{error_code::kTooManySids, "One connection may have no more subscriptions than " +
                                                       LimitText("sids_per_connection", limits_.sids_per_connection) +
                                                       "."};
  if (DistinctAfter(changes) > limits_.distinct_filters)
    return ProtocolError{error_code::kTooManyFilters,
                         "All clients together may ask for no more different filters than " +
                             LimitText("distinct_filters", limits_.distinct_filters) + "."};
  Apply(changes);
  if (!after.empty()) filters_[connection].swap(after);
  return std::nullopt;
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

std::size_t SubscriptionLimits::DistinctAfter(const std::map<TopicAndFilter, long>& changes) const {
  std::size_t distinct = uses_.size();
  for (const auto& [filter, change] : changes) {
    const auto found = uses_.find(filter);
    const long before = found == uses_.end() ? 0 : found->second;
    if (before == 0 && change > 0) ++distinct;
    if (before > 0 && before + change == 0) --distinct;
  }
  return distinct;
}

void SubscriptionLimits::Apply(const std::map<TopicAndFilter, long>& changes) {
  for (const auto& [filter, change] : changes) {
    const auto entry = uses_.try_emplace(filter, 0).first;
    entry->second += change;
    if (entry->second == 0) uses_.erase(entry);
  }
}

bool SubscriptionLimits::Remove(ConnectionId connection, const std::string& topic, const std::string& sid) {
  const auto found = filters_.find(connection);
  if (found == filters_.end()) return false;
  const auto subscription = found->second.find({topic, sid});
  if (subscription == found->second.end()) return false;
  Apply({{{topic, subscription->second}, -1}});
  found->second.erase(subscription);
  if (found->second.empty()) filters_.erase(found);
  return true;
}

void SubscriptionLimits::RemoveAll(ConnectionId connection) {
  const auto found = filters_.find(connection);
  if (found == filters_.end()) return;
  std::map<TopicAndFilter, long> changes;
  for (const auto& [subscription, filter] : found->second) --changes[{subscription.first, filter}];
  Apply(changes);
  filters_.erase(found);
}

}  // namespace probe
