#pragma once

#include <boost/asio/thread_pool.hpp>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "platform/subscriptions.h"
#include "platform/utilities/locks.h"
#include "probe/centre/site_answerer.h"
#include "probe/host/subscription_service.h"

namespace probe::centre {

/// Feeds the live topics of all sites, "SITE/TOPIC" to the subscription service, and pushes when a site has told
/// something new.
///
/// Threads: any. Messages are made by workers of its own, for a site may have to be asked for them; one topic of a site
/// by one of them at a time.
class SiteSubscriptions {
 public:
  /// A site that does not answer keeps a worker for some seconds.
  static constexpr std::size_t kWorkers = 4;

  /// What it refers to must outlive it.
  SiteSubscriptions(SubscriptionService& service, const SiteAnswerer& answerer);

  /// Stops.
  ~SiteSubscriptions();
  SiteSubscriptions(const SiteSubscriptions&) = delete;
  SiteSubscriptions& operator=(const SiteSubscriptions&) = delete;

  /// A site has told something new of a topic: whoever is subscribed gets it. What is no live topic has no subscribers.
  void OnText(const std::string& site, const std::string& topic) VEXORA_EXCLUDES(lock_);

  /// Ends the workers. A message that is being made is sent first.
  void Stop();

  /// What stands before the topics of a site.
  static std::string TopicsOf(const std::string& site) { return site + "/"; }

 private:
  using Topic = std::pair<std::string, std::string>;  // site, topic

  /// Registers who feeds a topic, when it is the first text of a live one. False: it is none.
  bool Feed(const Topic& topic) VEXORA_EXCLUDES(lock_);
  void Push(const Topic& topic) VEXORA_EXCLUDES(lock_);
  bool IsToBeginAnew(const Topic& topic) VEXORA_EXCLUDES(lock_);

  SubscriptionService& service_;
  const SiteAnswerer& answerer_;
  utilities::lock::Mutex lock_;  // leaf lock
  std::set<Topic> fed_ VEXORA_GUARDED_BY(lock_);
  std::map<Topic, bool> pushing_ VEXORA_GUARDED_BY(lock_);  // true: something newer has come since it began
  boost::asio::thread_pool workers_{kWorkers};
};

}  // namespace probe::centre
