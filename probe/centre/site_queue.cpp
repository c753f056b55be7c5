#include "probe/centre/site_queue.h"

#include <boost/asio/post.hpp>
#include <exception>
#include <utility>

#include "probe/host/log.h"

using utilities::lock::lock_guard;

namespace probe::centre {

void SiteQueue::Add(const std::string& site, const std::string& topic) {
  {
    const lock_guard held(lock_);
    const auto [waiting, is_first] = waiting_.try_emplace(site);
    waiting->second.insert(topic);
    if (!is_first) return;
  }
  boost::asio::post(threads_, [this, site] { Run(site); });
}

std::optional<std::string> SiteQueue::Next(const std::string& site) {
  const lock_guard held(lock_);
  const auto waiting = waiting_.find(site);
  if (waiting->second.empty()) {
    waiting_.erase(waiting);
    return std::nullopt;
  }
  return waiting->second.extract(waiting->second.begin()).value();
}

void SiteQueue::Run(const std::string& site) {
  while (const auto topic = Next(site)) {
    try {
      work_(site, *topic);
    } catch (const std::exception& error) {
      log::Error("[Centre] a message of %s/%s could not be made: %s", site.c_str(), topic->c_str(), error.what());
    }
  }
}

void SiteQueue::Stop() {
  threads_.stop();
  threads_.join();
}

}  // namespace probe::centre
