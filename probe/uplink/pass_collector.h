#pragma once

#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/api/latest_messages.h"
#include "probe/host/subscription_service.h"
#include "probe/recording/pass_clock.h"
#include "probe/server/web_server.h"
#include "probe/uplink/spool.h"

namespace probe::uplink {

/// By what the ranking is ordered that goes up.
inline constexpr char kOrderThatGoesUp[] = "total";

/// Whether a filter is one of those whose messages go up: of each topic the one from which the rest can be folded.
bool GoesUp(const StandardFilter& filter);

/// Gathers the messages that one pass sends: the health of all devices, the view `1m` of traffic and client counts, and
/// the ranking by traffic.
///
/// Threads: `OnPassBegins` and `OnPassEnds` by the engine's; the rest by any, one at a time.
class PassCollector final : public recording::PassObserver {
 public:
  /// `take` is given each pass's messages on the engine's thread, which must not wait for long.
  using Taker = std::function<void(std::vector<SpooledMessage> messages)>;
  explicit PassCollector(Taker take);

  /// Subscribes, from within the process. After the plug-in has registered its topics, on a server that runs; the
  /// subscriptions end with the server.
  void Subscribe(WebServer& server, SubscriptionService& service);

  void OnPassBegins(time_t at) override;
  void OnPassEnds() override;

 private:
  /// What receivers share with this object: one may still be called when this object is gone.
  struct Gathered {
    utilities::lock::Mutex lock;                         // leaf lock
    std::optional<time_t> pass VEXORA_GUARDED_BY(lock);  // nothing: no pass runs
    std::vector<SpooledMessage> messages VEXORA_GUARDED_BY(lock);
  };

  const Taker take_;
  const std::shared_ptr<Gathered> gathered_ = std::make_shared<Gathered>();
};

/// The text that tells a time from others in the id of a message: UTC, "2026-11-22T14:03:00Z".
std::string IdOfTime(time_t at);

}  // namespace probe::uplink
