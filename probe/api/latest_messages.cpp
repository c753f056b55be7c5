#include "probe/api/latest_messages.h"

#include <json-c/json.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/subscriptions.h"
#include "platform/topics.h"
#include "probe/clock/clock.h"
#include "probe/host/connection_id.h"
#include "probe/host/log.h"
#include "probe/text/json_c_handle.h"
#include "probe/text/json_text.h"

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

/// No device has this MAC, so the message that tells of the passes is small, and asks the host for nothing.
constexpr char kNoDevice[] = R"({"mac":"none"})";

/// The request for one subscription with this filter, a JSON text, as the tree that crosses the contract.
JsonCHandle RequestFor(const std::string& filter) {
  const std::string text = std::string(R"([{"sid":")") + kSid + R"(","filter":)" + filter + "}]";
  return JsonCHandle(json_tokener_parse(text.c_str()));
}

/// A connection that lasts as long as one question, whatever fails in between: nobody else knows it.
class ForOneQuestion {
 public:
  ForOneQuestion(WebServer& server, SubscriptionService& service, ConnectionId connection)
      : server_(server), service_(service), connection_(connection) {}
  ~ForOneQuestion() {
    service_.Disconnect(connection_);
    server_.RemoveLocalReceiver(connection_);
  }
  ForOneQuestion(const ForOneQuestion&) = delete;
  ForOneQuestion& operator=(const ForOneQuestion&) = delete;

 private:
  WebServer& server_;
  SubscriptionService& service_;
  const ConnectionId connection_;
};

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

void LatestMessages::SetPassObserver(std::function<void(time_t at)> observer) {
  const lock_guard held(kept_->lock);
  kept_->pass_observer = std::move(observer);
}

void LatestMessages::AllowQuestions() {
  const lock_guard held(kept_->lock);
  kept_->passes = std::max<std::uint64_t>(kept_->passes, 1);
}

void LatestMessages::Start(WebServer& server, SubscriptionService& service) {
  server_ = &server;
  service_ = &service;
  {
    const lock_guard held(kept_->lock);
    for (const StandardFilter& wanted : StandardFilters()) {
      const Key key{wanted.topic, wanted.variant};
      // A connection for each, so that it is known which filter a message answers.
      Entry& entry = kept_->entries[key];
      entry.filter = wanted.filter;
      // On the thread that pushes: the service has let go of its lock by then.
      entry.connection = server.AddLocalReceiver(
          [kept = kept_, key, &service](const std::string& text) { Keep(*kept, service, key, text); });
    }
  }
  const auto passes = service.Parse(monitoring::kHealthMonitor, RequestFor(kNoDevice).get());
  if (!passes) return;
  const ConnectionId connection =
      server.AddLocalReceiver([kept = kept_, &service](const std::string& /*text*/) { OnPass(*kept, service); });
  service.File(monitoring::kHealthMonitor, connection, *passes);
}

void LatestMessages::OnPass(Kept& kept, SubscriptionService& service) {
  const time_t now = InstalledClock().Now().tv_sec;
  std::vector<std::shared_ptr<const Message>> dropped;  // freed without the lock
  const lock_guard held(kept.lock);
  ++kept.passes;
  kept.last_pass = now;
  kept.last_arrival = SteadyClock::now();
  if (kept.pass_observer) kept.pass_observer(now);
  for (auto& [key, entry] : kept.entries) {
    if (!entry.asked || kept.passes - *entry.asked <= kKeptPasses) continue;
    service.Unsubscribe(key.first, entry.connection, kSid);
    dropped.push_back(std::move(entry.message));
    entry.message = nullptr;
    entry.is_too_large = false;
    entry.asked.reset();
  }
}

void LatestMessages::Keep(Kept& kept, SubscriptionService& service, const Key& key, const std::string& text) {
  const time_t now = InstalledClock().Now().tv_sec;
  const bool is_small = text.size() <= kMaxBytes;
  std::shared_ptr<const Message> message;
  if (is_small) message = std::make_shared<const Message>(Message{text, now});
  {
    const lock_guard held(kept.lock);
    Entry& entry = kept.entries[key];
    if (!entry.asked) return;
    entry.message.swap(message);  // the old one is freed without the lock
    if (is_small) return;
    entry.is_too_large = true;
    service.Unsubscribe(key.first, entry.connection, kSid);
  }
  log::Info("[LatestMessages] messages of %s %s are too large to be kept", key.first.c_str(), key.second.c_str());
}

std::shared_ptr<const LatestMessages::Message> LatestMessages::Ask(const std::string& topic,
                                                                   const std::string& variant) {
  const Key key{topic, variant};
  std::string filter;
  {
    const lock_guard held(kept_->lock);
    const auto found = kept_->entries.find(key);
    if (found == kept_->entries.end()) return nullptr;
    Entry& entry = found->second;
    if (entry.message != nullptr || entry.is_too_large) {
      entry.asked = kept_->passes;
      return entry.message;
    }
    filter = entry.filter;
  }
  // Without the lock: this runs the plug-in's code, and the message comes back to `Keep` on this thread.
  const auto parsed = service_->Parse(topic, RequestFor(filter).get());
  if (!parsed) return nullptr;
  if (const auto connection = Subscribe(key, *parsed)) service_->PushNow(topic, *connection);
  return Find(topic, variant);
}

std::string LatestMessages::AskForDevice(const std::string& topic, const std::string& variant, const std::string& mac) {
  nlohmann::json filter{{"mac", mac}};
  if (!variant.empty()) filter["interval"] = variant;
  return AskOnce(topic, Dump(filter));
}

std::string LatestMessages::AskOnce(const std::string& topic, const std::string& filter) {
  {
    const lock_guard held(kept_->lock);
    // Before the first pass the plug-in has nothing to tell; without entries nothing was started.
    if (kept_->passes == 0 || kept_->entries.empty()) return {};
  }
  const auto parsed = service_->Parse(topic, RequestFor(filter).get());
  if (!parsed) return {};
  // A pass may send its message while this one is asked for: either will do.
  struct Received {
    utilities::lock::Mutex lock;
    std::string text VEXORA_GUARDED_BY(lock);
  };
  const auto received = std::make_shared<Received>();
  const ConnectionId connection = server_->AddLocalReceiver([received](const std::string& text) {
    const lock_guard held(received->lock);
    received->text = text;
  });
  if (connection == kNoConnection) return {};  // the server is being stopped
  {
    const ForOneQuestion guard(*server_, *service_, connection);
    service_->File(topic, connection, *parsed);
    service_->PushNow(topic, connection);
  }
  const lock_guard held(received->lock);
  return received->text;
}

std::optional<ConnectionId> LatestMessages::Subscribe(const Key& key, const subscribes::ParsedRequest& parsed) {
  const lock_guard held(kept_->lock);
  Entry& entry = kept_->entries[key];
  entry.asked = kept_->passes;
  service_->File(key.first, entry.connection, parsed);
  // Before the first pass the plug-in has nothing to tell.
  if (kept_->passes == 0) return std::nullopt;
  return entry.connection;
}

bool LatestMessages::IsTooLarge(const std::string& topic, const std::string& variant) const {
  const lock_guard held(kept_->lock);
  const auto found = kept_->entries.find({topic, variant});
  return found != kept_->entries.end() && found->second.is_too_large;
}

std::shared_ptr<const LatestMessages::Message> LatestMessages::Find(const std::string& topic,
                                                                    const std::string& variant) const {
  const lock_guard held(kept_->lock);
  const auto found = kept_->entries.find({topic, variant});
  return found == kept_->entries.end() ? nullptr : found->second.message;
}

std::optional<time_t> LatestMessages::last_pass() const {
  const lock_guard held(kept_->lock);
  return kept_->last_pass;
}

std::optional<LatestMessages::SteadyClock::time_point> LatestMessages::last_arrival() const {
  const lock_guard held(kept_->lock);
  return kept_->last_arrival;
}

}  // namespace probe
