#include "probe/api/latest_messages.h"

#include <json-c/json.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/topics.h"
#include "probe/clock/clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/log.h"
#include "probe/text/json_c_handle.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

// The longest list that the dashboard shows.
constexpr int kMaxRanked = 50;
// One for all: each subscription has a connection of its own.
constexpr char kSid[] = "latest";

std::string RankingFilter(const std::string& orderby) {
  const nlohmann::json traffic{{"count", kMaxRanked}, {"orderby", orderby}, {"flag", "desc"}};
  const nlohmann::json clients{{"count", kMaxRanked}, {"flag", "desc"}};
  return nlohmann::json{{"access_point", {{"traffic", traffic}, {"clients", clients}}},
                        {"wireless_networks", {{"traffic", traffic}, {"clients", clients}}},
                        {"wireless_clients", {{"traffic", traffic}}}}
      .dump();
}

/// The request for one subscription, as the tree that crosses the contract.
JsonCHandle RequestFor(const StandardFilter& wanted) {
  // Put together of constants, none of which has to be escaped.
  const std::string text = std::string(R"([{"sid":")") + kSid + R"(","filter":)" + wanted.filter + "}]";
  return JsonCHandle(json_tokener_parse(text.c_str()));
}

}  // namespace

const std::vector<StandardFilter>& StandardFilters() {
  static const std::vector<StandardFilter> filters = [] {
    std::vector<StandardFilter> all{{monitoring::kHealthMonitor, "", "{}"}};
    for (const char* topic :
         {monitoring::kTrafficMonitor, monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor})
      for (const char* view : monitoring::kViews)
        all.push_back({topic, view, nlohmann::json{{"interval", view}}.dump()});
    for (const char* orderby : {"total", "in", "out"})
      all.push_back({monitoring::kWirelessTopMonitor, orderby, RankingFilter(orderby)});
    return all;
  }();
  return filters;
}

void LatestMessages::Subscribe(WebServer& server, SubscriptionService& service) {
  for (const StandardFilter& wanted : StandardFilters()) {
    const auto parsed = service.Parse(wanted.topic, RequestFor(wanted).get());
    if (!parsed) continue;
    // A connection for each, so that it is known which filter a message answers.
    const auto connection = std::make_shared<ConnectionId>(kNoConnection);
    // The receiver needs the id that it is given here. No message comes before `File`, so it is there in time.
    *connection = server.AddLocalReceiver([kept = kept_, key = Key{wanted.topic, wanted.variant}, connection,
                                           &service](const std::string& text) {
      // On the engine's thread, in the middle of a push: the service has let go of its lock by then.
      if (Keep(*kept, key, text)) return;
      service.Unsubscribe(key.first, *connection, kSid);
      log::Info("[LatestMessages] messages of %s %s are too large to be kept", key.first.c_str(), key.second.c_str());
    });
    service.File(wanted.topic, *connection, *parsed);
  }
}

bool LatestMessages::Keep(Kept& kept, const Key& key, const std::string& text) {
  const time_t now = InstalledClock().Now().tv_sec;
  const bool is_small = text.size() <= kMaxBytes;
  std::shared_ptr<const Message> message;
  if (is_small) message = std::make_shared<const Message>(Message{text, now});
  const lock_guard held(kept.lock);
  kept.last_received = now;
  kept.last_arrival = SteadyClock::now();
  kept.messages[key].swap(message);  // the old one is freed without the lock
  if (!is_small) kept.too_large.insert(key);
  return is_small;
}

bool LatestMessages::IsTooLarge(const std::string& topic, const std::string& variant) const {
  const lock_guard held(kept_->lock);
  return kept_->too_large.contains({topic, variant});
}

std::shared_ptr<const LatestMessages::Message> LatestMessages::Find(const std::string& topic,
                                                                    const std::string& variant) const {
  const lock_guard held(kept_->lock);
  const auto found = kept_->messages.find({topic, variant});
  return found == kept_->messages.end() ? nullptr : found->second;
}

std::optional<time_t> LatestMessages::last_received() const {
  const lock_guard held(kept_->lock);
  return kept_->last_received;
}

std::optional<LatestMessages::SteadyClock::time_point> LatestMessages::last_arrival() const {
  const lock_guard held(kept_->lock);
  return kept_->last_arrival;
}

}  // namespace probe
