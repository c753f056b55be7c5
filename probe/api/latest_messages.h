#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/subscriptions.h"
#include "platform/utilities/locks.h"
#include "probe/host/connection_id.h"
#include "probe/host/subscription_service.h"
#include "probe/server/web_server.h"

namespace probe {

/// A subscription that most clients of a topic ask for.
struct StandardFilter {
  std::string topic;
  std::string variant;  ///< Which of the topic's: the view, or what a ranking is ordered by. Empty: there is only one.
  std::string filter;   ///< JSON text.
};

/// The subscriptions whose newest messages can be asked for: every view of every live topic, over all devices.
const std::vector<StandardFilter>& StandardFilters();

/// The newest message of each standard filter that somebody has asked for lately, so that a new client need not wait
/// for the next pass.
///
/// The first question has the plug-in build the message at once, and subscribes from within the process: each pass
/// then brings a new message, which replaces the one before. A filter that nobody has asked for during `kKeptPasses`
/// passes is unsubscribed, for a message costs the engine time in every pass; so is one whose message is above
/// `kMaxBytes`. A subscription of its own, to the health of a device that is not there, tells that passes run.
///
/// Threads: any. The engine's thread puts messages in and is never waited for.
class LatestMessages {
 public:
  static constexpr std::size_t kMaxBytes = 4 * 1024 * 1024;
  /// Five minutes at the true pace.
  static constexpr std::uint64_t kKeptPasses = 5;

  struct Message {
    std::string text;     ///< The envelope, as it went to the plug-in's send function.
    time_t received = 0;  ///< By the probe's clock.
  };

  using SteadyClock = std::chrono::steady_clock;

  /// Has `observer` hear of each pass, with a lock held that it must not ask for. Before `Start`.
  void SetPassObserver(std::function<void(time_t at)> observer);

  /// Says that the plug-in has something to tell though no pass has come: its histories were made anew.
  void AllowQuestions();

  /// Makes a connection for each filter of a topic that somebody feeds, and subscribes to the passes. After the plug-in
  /// has registered its monitors; nothing is kept before.
  ///
  /// `service` must outlive the subscriptions.
  void Start(WebServer& server, SubscriptionService& service);

  /// The newest message, which is kept up to date from now on; null: there was no pass yet, or they are too large.
  ///
  /// The first question takes as long as the plug-in takes to build the message, and runs its code.
  std::shared_ptr<const Message> Ask(const std::string& topic, const std::string& variant);

  /// The message of a filter, a JSON text, of the last pass: built for this question, and not kept. Empty: there was no
  /// pass yet, or the topic has nothing to tell.
  std::string AskOnce(const std::string& topic, const std::string& filter);

  /// The same of a variant for one device.
  std::string AskForDevice(const std::string& topic, const std::string& variant, const std::string& mac);

  /// The newest message as far as it is kept, without asking for it.
  std::shared_ptr<const Message> Find(const std::string& topic, const std::string& variant) const;

  /// Whether the messages of this filter, which was asked for lately, are too large to be kept.
  bool IsTooLarge(const std::string& topic, const std::string& variant) const;

  /// When the last pass was, by the probe's clock; nothing: there was none.
  std::optional<time_t> last_pass() const;

  /// The same by the steady clock, whatever the probe's clock does.
  std::optional<SteadyClock::time_point> last_arrival() const;

 private:
  using Key = std::pair<std::string, std::string>;  // topic, variant

  struct Entry {
    ConnectionId connection = kNoConnection;
    std::string filter;
    std::optional<std::uint64_t> asked;  // the number of passes at the last question; nothing: not subscribed
    std::shared_ptr<const Message> message;
    bool is_too_large = false;
  };

  /// What receivers share with this object: one may still be called when this object is gone.
  struct Kept {
    // Order: before the subscription service's lock, so that a subscription is never dropped while it is asked for.
    mutable utilities::lock::Mutex lock;
    std::map<Key, Entry> entries VEXORA_GUARDED_BY(lock);
    std::uint64_t passes VEXORA_GUARDED_BY(lock) = 0;
    std::optional<time_t> last_pass VEXORA_GUARDED_BY(lock);
    std::optional<SteadyClock::time_point> last_arrival VEXORA_GUARDED_BY(lock);
    std::function<void(time_t)> pass_observer VEXORA_GUARDED_BY(lock);
  };

  /// Counts a pass, and drops what nobody asks for any more.
  static void OnPass(Kept& kept, SubscriptionService& service);

  /// Takes a message in, unless nobody asks for it any more.
  static void Keep(Kept& kept, SubscriptionService& service, const Key& key, const std::string& text);

  /// Subscribes to the messages of an entry. Its connection; nothing while there was no pass.
  std::optional<ConnectionId> Subscribe(const Key& key, const subscribes::ParsedRequest& parsed);

  const std::shared_ptr<Kept> kept_ = std::make_shared<Kept>();
  // Set by `Start`, read by those who find an entry.
  WebServer* server_ = nullptr;
  SubscriptionService* service_ = nullptr;
};

}  // namespace probe
