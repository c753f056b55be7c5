#include "probe/subscriptions/subscription_service.h"

#include <utility>

using utilities::lock::lock_guard;

subscribes::SubscribesManager& subscribes::SubscribesManager::GetInstance() {
  return probe::SubscriptionService::Instance();
}

namespace probe {

SubscriptionService& SubscriptionService::Instance() {
  static SubscriptionService service;
  return service;
}

void SubscriptionService::AddSubscriber(const std::string& topic, std::shared_ptr<subscribes::Subscriber> subscriber) {
  const lock_guard held(lock_);
  subscribers_[topic].swap(subscriber);
}

subscribes::SubscriptionList SubscriptionService::GetSubscribeList(const std::string& topic) {
  const lock_guard held(lock_);
  const auto found = subscriptions_.find(topic);
  return found == subscriptions_.end() ? subscribes::SubscriptionList{} : found->second;
}

std::shared_ptr<subscribes::Subscriber> SubscriptionService::SubscriberOf(const std::string& topic) const {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(topic);
  return found == subscribers_.end() ? nullptr : found->second;
}

std::optional<subscribes::ParsedRequest> SubscriptionService::Parse(const std::string& topic,
                                                                    json_object* request) const {
  const auto subscriber = SubscriberOf(topic);
  if (subscriber == nullptr) return std::nullopt;
  return subscriber->FilterParser(request);
}

void SubscriptionService::File(const std::string& topic, lws* connection, const subscribes::ParsedRequest& filters) {
  const lock_guard held(lock_);
  auto& list = subscriptions_[topic];
  for (const auto& [sid, filter] : filters) list[sid][connection] = filter;
}

bool SubscriptionService::Unsubscribe(const std::string& topic, lws* connection, const std::string& sid) {
  const lock_guard held(lock_);
  const auto list = subscriptions_.find(topic);
  if (list == subscriptions_.end()) return false;
  const auto connections = list->second.find(sid);
  if (connections == list->second.end() || connections->second.erase(connection) == 0) return false;
  if (connections->second.empty()) list->second.erase(connections);
  return true;
}

void SubscriptionService::Disconnect(lws* connection) {
  const lock_guard held(lock_);
  for (auto& [topic, list] : subscriptions_) {
    for (auto& [sid, connections] : list) connections.erase(connection);
    std::erase_if(list, [](const auto& entry) { return entry.second.empty(); });
  }
}

void SubscriptionService::Clear() {
  std::map<std::string, std::shared_ptr<subscribes::Subscriber>> subscribers;
  std::map<std::string, subscribes::SubscriptionList> subscriptions;
  const lock_guard held(lock_);
  subscribers_.swap(subscribers);  // freed after the lock is let go: their destructors are the plug-in's code
  subscriptions_.swap(subscriptions);
}

}  // namespace probe
