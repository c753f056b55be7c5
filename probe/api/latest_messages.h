#pragma once

#include <chrono>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/subscription_service.h"
#include "probe/server/web_server.h"

namespace probe {

/// A subscription that most clients of a topic ask for.
struct StandardFilter {
  std::string topic;
  std::string variant;  ///< Which of the topic's: the view, or what a ranking is ordered by. Empty: there is only one.
  std::string filter;   ///< JSON text.
};

/// The subscriptions whose newest messages are kept: every view of every live topic, over all devices.
const std::vector<StandardFilter>& StandardFilters();

/// The newest message of each standard filter, so that a new client need not wait for the next pass.
///
/// It subscribes from within the process, and a message replaces the one before. The first message above `kMaxBytes`
/// ends its subscription, for messages of a large network cost the engine time in every pass.
/// Threads: any. The engine's thread puts messages in and is never waited for.
class LatestMessages {
 public:
  static constexpr std::size_t kMaxBytes = 4 * 1024 * 1024;

  struct Message {
    std::string text;     ///< The envelope, as it went to the plug-in's send function.
    time_t received = 0;  ///< By the probe's clock.
  };

  using SteadyClock = std::chrono::steady_clock;

  /// Subscribes to every topic that somebody feeds. After the plug-in has registered its monitors.
  ///
  /// `service` must outlive the subscriptions.
  void Subscribe(WebServer& server, SubscriptionService& service);

  /// The newest message; null: none has come yet, or they are too large.
  std::shared_ptr<const Message> Find(const std::string& topic, const std::string& variant) const;

  /// Whether the messages of this filter are too large to be kept.
  bool IsTooLarge(const std::string& topic, const std::string& variant) const;

  /// When the last message came, by the probe's clock; nothing: none has.
  std::optional<time_t> last_received() const;

  /// The same by the steady clock, whatever the probe's clock does.
  std::optional<SteadyClock::time_point> last_arrival() const;

 private:
  using Key = std::pair<std::string, std::string>;  // topic, variant

  /// What receivers share with this object: one may still be called when this object is gone.
  struct Kept {
    mutable utilities::lock::Mutex lock;
    std::map<Key, std::shared_ptr<const Message>> messages VEXORA_GUARDED_BY(lock);
    std::set<Key> too_large VEXORA_GUARDED_BY(lock);
    std::optional<time_t> last_received VEXORA_GUARDED_BY(lock);
    std::optional<SteadyClock::time_point> last_arrival VEXORA_GUARDED_BY(lock);
  };

  /// Takes a message in. False when it is too large.
  static bool Keep(Kept& kept, const Key& key, const std::string& text);

  std::shared_ptr<Kept> kept_ = std::make_shared<Kept>();
};

}  // namespace probe
