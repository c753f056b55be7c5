#include "probe/host/subscription_service.h"

#include <utility>

#include "probe/clock/pass_phase.h"

using utilities::lock::lock_guard;

subscribes::SubscribesManager& subscribes::SubscribesManager::GetInstance() {
  return probe::SubscriptionService::Instance();
}

namespace probe {
namespace {

/// What a push is for that does not belong to a pass.
struct OnePush {
  const std::string& topic;
  const subscribes::SubscriptionList& list;
};

/// The push that runs on this thread outside a pass; null: none.
thread_local const OnePush* one_push = nullptr;

}  // namespace

SubscriptionService& SubscriptionService::Instance() {
  static SubscriptionService service;
  return service;
}

void SubscriptionService::AddSubscriber(const std::string& topic, std::shared_ptr<subscribes::Subscriber> subscriber) {
  const lock_guard held(lock_);
  subscribers_[topic].swap(subscriber);  // the old one is freed by the caller, without the lock
}

subscribes::SubscriptionList SubscriptionService::GetSubscribeList(const std::string& topic) {
  // With this question each monitor begins to push.
  EnterPassPhase(PassPhase::kPush);
  // A subscriber that feeds several topics asks for their lists, whatever it was handed.
  if (one_push != nullptr) return topic == one_push->topic ? one_push->list : subscribes::SubscriptionList{};
  subscribes::SubscriptionList list;
  std::shared_ptr<PushGate> gate;
  {
    const lock_guard held(lock_);
    if (is_silent_) return {};
    const Lists& lists = held_ ? *held_ : subscriptions_;
    const auto found = lists.find(topic);
    if (found != lists.end()) list = found->second;
    gate = gate_;
  }
  // Also for an empty list: the gate tells passes apart by who is asked for.
  if (gate != nullptr) gate->Admit(topic, list);
  return list;
}

subscribes::SubscriptionList SubscriptionService::Subscriptions(const std::string& topic) const {
  const lock_guard held(lock_);
  const auto found = subscriptions_.find(topic);
  return found == subscriptions_.end() ? subscribes::SubscriptionList{} : found->second;
}

void SubscriptionService::SetPushGate(std::shared_ptr<PushGate> gate) {
  const lock_guard held(lock_);
  gate_.swap(gate);  // the old one is freed by the caller, without the lock
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

void SubscriptionService::File(const std::string& topic, ConnectionId connection,
                               const subscribes::ParsedRequest& filters, const std::string& request) {
  const lock_guard held(lock_);
  auto& list = subscriptions_[topic];
  for (const auto& [sid, filter] : filters) {
    list[sid][ToHandle(connection)] = filter;
    filed_of_[connection].emplace(topic, sid);
  }
  // With the lock held, so that the observer hears of changes in the order in which they are made.
  if (observer_ != nullptr) observer_->OnFiled(topic, connection, request);
}

subscribes::SubscriptionList SubscriptionService::OnlyOf(const std::string& topic, ConnectionId connection) const {
  const lock_guard held(lock_);
  subscribes::SubscriptionList list;
  const auto all = subscriptions_.find(topic);
  if (all == subscriptions_.end()) return list;
  for (const auto& [sid, connections] : all->second) {
    const auto found = connections.find(ToHandle(connection));
    if (found != connections.end()) list[sid].insert(*found);
  }
  return list;
}

void SubscriptionService::PushNow(const std::string& topic, ConnectionId connection) {
  const auto subscriber = SubscriberOf(topic);
  const subscribes::SubscriptionList list = OnlyOf(topic, connection);
  if (subscriber == nullptr || list.empty()) return;
  const OnePush push{topic, list};
  one_push = &push;
  subscriber->PushDataBySID(list);  // never throws
  one_push = nullptr;
}

bool SubscriptionService::Unsubscribe(const std::string& topic, ConnectionId connection, const std::string& sid) {
  const lock_guard held(lock_);
  if (!Remove(topic, sid, connection)) return false;
  // There is one: `File` enters each subscription in both maps.
  const auto filed = filed_of_.find(connection);
  filed->second.erase({topic, sid});
  if (filed->second.empty()) filed_of_.erase(filed);
  if (observer_ != nullptr) observer_->OnRemoved(topic, connection, sid);
  return true;
}

bool SubscriptionService::Remove(const std::string& topic, const std::string& sid, ConnectionId connection) {
  const auto list = subscriptions_.find(topic);
  if (list == subscriptions_.end()) return false;
  const auto connections = list->second.find(sid);
  if (connections == list->second.end() || connections->second.erase(ToHandle(connection)) == 0) return false;
  if (connections->second.empty()) list->second.erase(connections);
  return true;
}

void SubscriptionService::Disconnect(ConnectionId connection) {
  const lock_guard held(lock_);
  const auto filed = filed_of_.find(connection);
  if (filed == filed_of_.end()) return;
  for (const auto& [topic, sid] : filed->second) Remove(topic, sid, connection);
  filed_of_.erase(filed);
  if (observer_ != nullptr) observer_->OnDisconnected(connection);
}

void SubscriptionService::SetObserver(SubscriptionObserver* observer) {
  const lock_guard held(lock_);
  observer_ = observer;
}

void SubscriptionService::SetSilent(bool is_silent) {
  const lock_guard held(lock_);
  is_silent_ = is_silent;
}

void SubscriptionService::Hold() {
  const lock_guard held(lock_);
  // A copy, so that clients can subscribe while a pass runs.
  held_ = subscriptions_;
  if (observer_ != nullptr) observer_->OnHeld();
}

void SubscriptionService::Release() {
  std::optional<Lists> released;  // declared before the guard: the filters in it are freed without the lock
  const lock_guard held(lock_);
  released.swap(held_);
  if (observer_ != nullptr) observer_->OnReleased();
}

void SubscriptionService::Clear() {
  std::map<std::string, std::shared_ptr<subscribes::Subscriber>> subscribers;
  Lists subscriptions;
  std::optional<Lists> held_lists;
  const lock_guard held(lock_);
  held_.swap(held_lists);
  subscribers_.swap(subscribers);  // freed after the lock is released: their destructors are the plug-in's code
  subscriptions_.swap(subscriptions);
  filed_of_.clear();
}

}  // namespace probe
