#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <utility>

#include "platform/utilities/locks.h"
#include "probe/centre/site_answerer.h"
#include "probe/centre/site_queue.h"
#include "probe/host/subscription_service.h"

namespace probe::centre {

/// Feeds the live topics of all sites, "SITE/TOPIC" to the subscription service, and pushes when a site has told
/// something new.
///
/// Threads: any. Messages are made by threads of its own: those for which a site has to be asked by others than those
/// that its text holds.
class SiteSubscriptions {
 public:
  static constexpr std::size_t kThreads = 2;
  static constexpr std::size_t kAskingThreads = 8;

  /// What it refers to must outlive it.
  SiteSubscriptions(SubscriptionService& service, const SiteAnswerer& answerer);

  /// A site has told something new of a topic: whoever is subscribed gets it. What is no live topic has no subscribers.
  void OnText(const std::string& site, const std::string& topic) VEXORA_EXCLUDES(lock_);

  /// Ends the threads. A message that is being made is sent first.
  void Stop();

  /// What stands before the topics of a site.
  static std::string TopicsOf(const std::string& site) { return site + "/"; }

 private:
  /// Registers who feeds a topic, when it is the first text of a live one. False: it is none.
  bool Feed(const std::string& site, const std::string& topic) VEXORA_EXCLUDES(lock_);

  /// Pushes to those whose messages the text holds, or to those for whom the site `is_asked`.
  void Push(const std::string& site, const std::string& topic, bool is_asked);

  SubscriptionService& service_;
  const SiteAnswerer& answerer_;
  utilities::lock::Mutex lock_;  // leaf lock
  std::set<std::string> fed_ VEXORA_GUARDED_BY(lock_);
  SiteQueue texts_;
  SiteQueue questions_;
};

}  // namespace probe::centre
