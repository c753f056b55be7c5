#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/subscriptions.h"
#include "platform/utilities/locks.h"

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

  /// Has the topic's subscriber turn a request into filters. Nothing is filed yet, so the caller may still refuse.
  ///
  /// `request` may be null and stays the caller's.
  /// Fails: nothing for a topic that nobody feeds.
  std::optional<subscribes::ParsedRequest> Parse(const std::string& topic, json_object* request) const
      VEXORA_EXCLUDES(lock_);

  /// Files each filter under its SID for this connection, in place of an earlier one of the same
  /// topic, SID and connection.
  void File(const std::string& topic, lws* connection, const subscribes::ParsedRequest& filters) VEXORA_EXCLUDES(lock_);

  /// Removes one subscription. False when there was none.
  bool Unsubscribe(const std::string& topic, lws* connection, const std::string& sid) VEXORA_EXCLUDES(lock_);

  /// Removes every subscription of a connection.
  void Disconnect(lws* connection) VEXORA_EXCLUDES(lock_);

  /// Lets go of everything that the plug-in handed over: subscribers and filters. Before the library is unloaded.
  void Clear() VEXORA_EXCLUDES(lock_);

 private:
  std::shared_ptr<subscribes::Subscriber> SubscriberOf(const std::string& topic) const VEXORA_EXCLUDES(lock_);

  mutable utilities::lock::Mutex lock_;
  std::map<std::string, std::shared_ptr<subscribes::Subscriber>> subscribers_ VEXORA_GUARDED_BY(lock_);
  std::map<std::string, subscribes::SubscriptionList> subscriptions_ VEXORA_GUARDED_BY(lock_);  // topic -> list
};

}  // namespace probe
