#pragma once

#include <boost/asio/thread_pool.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/utilities/locks.h"

namespace probe::centre {

/// Has threads of its own do something for topics of sites: one topic of a site at a time, so that a site which takes
/// long keeps one thread, and what is told again before it was begun is done once.
///
/// Threads: any.
class SiteQueue {
 public:
  using Work = std::function<void(const std::string& site, const std::string& topic)>;

  /// `work` is called on these threads, and may throw: the log says so, and nothing more.
  SiteQueue(std::size_t threads, Work work) : work_(std::move(work)), threads_(threads) {}

  /// Stops.
  ~SiteQueue() { Stop(); }
  SiteQueue(const SiteQueue&) = delete;
  SiteQueue& operator=(const SiteQueue&) = delete;

  void Add(const std::string& site, const std::string& topic) VEXORA_EXCLUDES(lock_);

  /// Waits for what has begun; what waits is dropped.
  void Stop();

 private:
  void Run(const std::string& site) VEXORA_EXCLUDES(lock_);
  std::optional<std::string> Next(const std::string& site) VEXORA_EXCLUDES(lock_);

  const Work work_;
  utilities::lock::Mutex lock_;                                                    // leaf lock
  std::map<std::string, std::set<std::string>> waiting_ VEXORA_GUARDED_BY(lock_);  // topics, by site that has a thread
  boost::asio::thread_pool threads_;
};

}  // namespace probe::centre
