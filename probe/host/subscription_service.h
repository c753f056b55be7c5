#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/subscriptions.h"
#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/host/push_gate.h"
#include "probe/host/subscription_observer.h"

namespace probe {

/// The reference host's subscription service: who feeds which topic, and who listens to it.
///
/// Threads: any. The plug-in is called without the service's lock held.
class SubscriptionService final : public subscribes::SubscribesManager {
 public:
  /// The one subscription service of the process, the same object as `SubscribesManager::GetInstance()`.
  static SubscriptionService& Instance();

  void AddSubscriber(const std::string& topic, std::shared_ptr<subscribes::Subscriber> subscriber) override
      VEXORA_EXCLUDES(lock_);
  subscribes::SubscriptionList GetSubscribeList(const std::string& topic) override VEXORA_EXCLUDES(lock_);

  /// Has `gate` decide from now on what `GetSubscribeList` gives in a pass; null: it gives all.
  void SetPushGate(std::shared_ptr<PushGate> gate) VEXORA_EXCLUDES(lock_);

  /// All subscriptions of a topic, whether or not a pass would serve them.
  subscribes::SubscriptionList Subscriptions(const std::string& topic) const VEXORA_EXCLUDES(lock_);

  /// Has the topic's subscriber turn a request into filters. Nothing is filed yet, so the caller may still
  /// refuse.
  ///
  /// `request` may be null and stays the caller's.
  /// Fails: no value for a topic that nobody feeds.
  std::optional<subscribes::ParsedRequest> Parse(const std::string& topic, json_object* request) const
      VEXORA_EXCLUDES(lock_);

  /// Files each filter under its SID for this connection, in place of an earlier one of the same
  /// topic, SID and connection.
  ///
  /// `request` is the client's own request, JSON text, for the observer; empty when there was none.
  void File(const std::string& topic, ConnectionId connection, const subscribes::ParsedRequest& filters,
            const std::string& request = {}) VEXORA_EXCLUDES(lock_);

  /// Removes one subscription. False when there was none.
  bool Unsubscribe(const std::string& topic, ConnectionId connection, const std::string& sid) VEXORA_EXCLUDES(lock_);

  /// Removes every subscription of a connection, at the cost of these alone. The observer hears of it only when there
  /// was one.
  void Disconnect(ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// Has the topic's subscriber send one connection its message at once, on this thread, without waiting for the next
  /// pass. Nothing happens when nobody feeds the topic, or the connection has no subscription to it.
  void PushNow(const std::string& topic, ConnectionId connection) VEXORA_EXCLUDES(lock_);

  /// Tells `observer` of every change from now on; null: nobody. It must live until it is replaced.
  void SetObserver(SubscriptionObserver* observer) VEXORA_EXCLUDES(lock_);

  /// Freezes the lists that `GetSubscribeList` gives until `Release`; changes made meanwhile show up then.
  void Hold() VEXORA_EXCLUDES(lock_);
  void Release() VEXORA_EXCLUDES(lock_);

  /// While it is silent, `GetSubscribeList` gives empty lists, so that passes push nothing. Filing goes on as ever.
  void SetSilent(bool is_silent) VEXORA_EXCLUDES(lock_);

  /// Releases everything whose code is the plug-in's: subscribers and filters. To be called before it is unloaded.
  void Clear() VEXORA_EXCLUDES(lock_);

 private:
  std::shared_ptr<subscribes::Subscriber> SubscriberOf(const std::string& topic) const VEXORA_EXCLUDES(lock_);

  /// The subscriptions of one connection to one topic.
  subscribes::SubscriptionList OnlyOf(const std::string& topic, ConnectionId connection) const VEXORA_EXCLUDES(lock_);

  /// Takes one subscription out of its list. False when there was none.
  bool Remove(const std::string& topic, const std::string& sid, ConnectionId connection) VEXORA_REQUIRES(lock_);

  mutable utilities::lock::Mutex lock_;
  std::map<std::string, std::shared_ptr<subscribes::Subscriber>> subscribers_ VEXORA_GUARDED_BY(lock_);
  using Lists = std::map<std::string, subscribes::SubscriptionList>;  // by topic
  Lists subscriptions_ VEXORA_GUARDED_BY(lock_);
  using TopicAndSid = std::pair<std::string, std::string>;
  std::map<ConnectionId, std::set<TopicAndSid>> filed_of_
      VEXORA_GUARDED_BY(lock_);                         // topics and SIDs of each connection
  std::optional<Lists> held_ VEXORA_GUARDED_BY(lock_);  // the lists as they stood when they were held
  bool is_silent_ VEXORA_GUARDED_BY(lock_) = false;
  std::shared_ptr<PushGate> gate_ VEXORA_GUARDED_BY(lock_);
  SubscriptionObserver* observer_ VEXORA_GUARDED_BY(lock_) = nullptr;
};

}  // namespace probe
