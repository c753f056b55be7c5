#include "probe/server/websocket/push_budget.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <tuple>

#include "platform/subscriptions.h"
#include "probe/host/log.h"
#include "probe/server/websocket/envelope_key.h"

using utilities::lock::lock_guard;

namespace probe {
namespace {

// What a message is taken for of whose kind none has been seen: for a filter that names a device, and for one that
// doesn't.
constexpr std::size_t kUnknownOctets[] = {std::size_t{16} * 1024, std::size_t{256} * 1024};

// The largest messages are remembered for one to two hours of passes, whoever asked for them.
constexpr std::uint64_t kWindow = 60;

// Filters whose messages' sizes are remembered, beyond those that are in use.
constexpr std::size_t kKeptFilters = 1024;

// What part of a pass is for those who got nothing in the last one, before all others.
constexpr std::size_t kPartOfWaiting = 4;

// What part of a pass messages may be larger than planned, all together, before later topics go without.
constexpr std::size_t kToleratedPart = 8;

std::size_t KindOf(bool names_device) {
  return names_device ? 0 : 1;
}

/// Whether a filter asks for one device. Filters are the plug-in's; this one member is the same for all of them.
bool NamesDevice(const std::string& filter) {
  const auto tree = nlohmann::json::parse(filter, nullptr, false);
  if (!tree.is_object()) return false;
  const auto mac = tree.find("mac");
  return mac != tree.end() && mac->is_string() && !mac->get_ref<const std::string&>().empty();
}

}  // namespace

void PushBudget::Add(ConnectionId connection, std::shared_ptr<Outbox> outbox, std::string peer) {
  const lock_guard held(lock_);
  Subscriber& subscriber = subscribers_[connection];
  subscriber.outbox = std::move(outbox);
  subscriber.peer = std::move(peer);
  subscriber.allowance = limits_.pass_bytes_per_connection;
}

void PushBudget::AddHostReceiver(ConnectionId connection) {
  const lock_guard held(lock_);
  host_receivers_.insert(connection);
}

void PushBudget::File(ConnectionId connection, const std::string& topic,
                      const std::map<std::string, std::string>& filters) {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(connection);
  if (found == subscribers_.end()) return;
  for (const auto& [sid, filter] : filters) {
    const auto [known, is_new] = filters_.try_emplace({topic, filter});
    if (is_new) known->second.names_device = NamesDevice(filter);
    ++known->second.users;
    const auto [filed, is_first] = found->second.filters.try_emplace({topic, sid}, filter);
    if (is_first) continue;
    Release({topic, filed->second});
    filed->second = filter;
  }
  // Not in a pass alone: there may be none for long.
  if (filters_.size() > kKeptFilters + limits_.distinct_filters) ForgetUnusedFilters();
}

void PushBudget::Release(const TopicAndFilter& key) {
  --filters_.at(key).users;
}

void PushBudget::Remove(ConnectionId connection, const std::string& topic, const std::string& sid) {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(connection);
  if (found == subscribers_.end()) return;
  const auto filed = found->second.filters.find({topic, sid});
  if (filed == found->second.filters.end()) return;
  Release({topic, filed->second});
  found->second.filters.erase(filed);
}

void PushBudget::Forget(ConnectionId connection) {
  const lock_guard held(lock_);
  const auto found = subscribers_.find(connection);
  if (found == subscribers_.end()) return;
  for (const auto& [subscription, filter] : found->second.filters) Release({subscription.first, filter});
  subscribers_.erase(found);
}

void PushBudget::OnSent(ConnectionId connection, const std::string& text) {
  // Without the lock: the texts are large, though only their ends are looked at.
  const std::string topic = TopicOf(text);
  if (topic.empty() || !IsSubscriber(connection)) return;
  const auto sids = HasSids(topic) ? SidsAtEnds(text) : std::vector<std::string>();
  const lock_guard held(lock_);
  const auto subscriber = subscribers_.find(connection);
  if (subscriber == subscribers_.end()) return;
  if (sids.empty()) topics_[topic].has_sids = false;
  std::size_t planned = 0;
  for (auto& [subscription, filter] : subscriber->second.filters) {
    const bool is_for_it = subscription.first == topic &&
                           (sids.empty() || std::find(sids.begin(), sids.end(), subscription.second) != sids.end());
    if (!is_for_it) continue;
    Filter& known = filters_[{topic, filter}];
    known.octets = text.size();
    std::size_t& largest = topics_[topic].largest[KindOf(known.names_device)];
    largest = std::max(largest, text.size());
    const auto admitted = subscriber->second.admitted.find(subscription);
    if (admitted != subscriber->second.admitted.end()) planned += std::exchange(admitted->second, 0);
  }
  // The engine sends one text to all whose filters and SIDs are equal, one after the other.
  auto group = std::pair(topic, sids);
  if (group == last_sent_ || text.size() <= planned) return;
  last_sent_ = std::move(group);
  excess_ += text.size() - planned;
  octets_ += text.size() - planned;
}

bool PushBudget::IsSubscriber(ConnectionId connection) const {
  const lock_guard held(lock_);
  return subscribers_.contains(connection);
}

std::size_t PushBudget::known_filters() const {
  const lock_guard held(lock_);
  return filters_.size();
}

bool PushBudget::HasSids(const std::string& topic) const {
  const lock_guard held(lock_);
  const auto found = topics_.find(topic);
  return found == topics_.end() || found->second.has_sids;
}

std::size_t PushBudget::SizeOf(const TopicAndFilter& key) {
  Filter& filter = filters_[key];
  if (filter.octets != 0) return filter.octets;
  const std::size_t kind = KindOf(filter.names_device);
  const Topic& topic = topics_[key.first];
  const std::size_t largest = std::max(topic.largest[kind], topic.former[kind]);
  return largest != 0 ? largest : kUnknownOctets[kind];
}

/// What a connection asks for: one message for each filter of a topic.
PushBudget::Demand PushBudget::DemandOf(ConnectionId connection, Subscriber& subscriber) {
  Demand demand{connection, &subscriber, {}, 0};
  std::map<TopicAndFilter, Wanted> wanted;
  for (const auto& [subscription, filter] : subscriber.filters) {
    // Where a connection gets one message whatever its filters, that is one.
    const bool has_sids = topics_[subscription.first].has_sids;
    const TopicAndFilter group{subscription.first, has_sids ? filter : std::string()};
    Wanted& message = wanted[group];
    message.key = {subscription.first, filter};
    message.sids += subscription.second + '\0';
    message.subscriptions.push_back(subscription);
  }
  for (auto& [group, message] : wanted) {
    message.octets = SizeOf(message.key);
    demand.octets += message.octets;
    demand.messages.push_back(std::move(message));
  }
  return demand;
}

void PushBudget::BeginPass() {
  ++pass_;
  asked_.clear();
  last_sids_.clear();
  octets_ = messages_ = excess_ = 0;
  last_sent_ = {};
  if (pass_ % kWindow == 0) {
    for (auto& [name, topic] : topics_) {
      for (const std::size_t kind : {0U, 1U}) topic.former[kind] = std::exchange(topic.largest[kind], 0);
    }
  }
  std::vector<Demand> demands;
  for (auto& [connection, subscriber] : subscribers_) {
    subscriber.admitted.clear();
    subscriber.octets = subscriber.served = 0;
    subscriber.planned = pass_;
    if (!subscriber.filters.empty()) demands.push_back(DemandOf(connection, subscriber));
  }
  ServeThoseWhoWaited(demands);
  const std::size_t share = limits_.pass_bytes / std::max<std::size_t>(demands.size(), 1);
  // Who asks for no more than a share comes first, then who has waited longest. Connections that ask for the same stay
  // neighbours, as they are for the engine, which makes one text for them.
  std::sort(demands.begin(), demands.end(), [share](const Demand& left, const Demand& right) {
    const auto rank = [share](const Demand& demand) {
      const bool is_modest = demand.octets <= share;
      const std::uint64_t patience = std::numeric_limits<std::uint64_t>::max() - demand.subscriber->waited;
      return std::tuple(!is_modest, is_modest ? 0 : patience, demand.octets, demand.connection);
    };
    return rank(left) < rank(right);
  });
  for (Demand& demand : demands) Plan(demand);
  if (filters_.size() > kKeptFilters) ForgetUnusedFilters();
}

std::size_t PushBudget::BuiltOctets(const Wanted& message) const {
  const auto last = last_sids_.find(message.key);
  return last != last_sids_.end() && last->second == message.sids ? 0 : message.octets;
}

void PushBudget::Enter(Subscriber& subscriber, const Wanted& message) {
  const std::size_t built = BuiltOctets(message);
  last_sids_[message.key] = message.sids;
  for (const auto& subscription : message.subscriptions)
    subscriber.admitted[subscription] = subscription == message.subscriptions.front() ? message.octets : 0;
  subscriber.octets += message.octets;
  octets_ += built;
  ++messages_;
  ++subscriber.served;
}

/// One message for each connection that got none in the last pass, before those that ask for little: they could fill
/// every pass. All of these take no more than a part of the pass; only the first may be larger than that, and then
/// counts as half of the pass, so that the others are served beside it.
void PushBudget::ServeThoseWhoWaited(std::vector<Demand>& demands) {
  std::vector<Demand*> waiting;
  for (Demand& demand : demands) {
    if (demand.subscriber->waited > 0 && !demand.subscriber->outbox->IsBlocked()) waiting.push_back(&demand);
  }
  std::sort(waiting.begin(), waiting.end(), [](const Demand* left, const Demand* right) {
    return std::tuple(right->subscriber->waited, left->octets, left->connection) <
           std::tuple(left->subscriber->waited, right->octets, right->connection);
  });
  for (Demand* const demand : waiting) {
    const Wanted& message = demand->messages[demand->subscriber->next % demand->messages.size()];
    const std::size_t built = BuiltOctets(message);
    const bool is_first = messages_ == 0;
    if (!is_first && messages_ >= limits_.pass_messages / kPartOfWaiting) break;
    if (!is_first && built > 0 && octets_ + built > limits_.pass_bytes / kPartOfWaiting) break;
    Enter(*demand->subscriber, message);
    octets_ = std::min(octets_, limits_.pass_bytes / 2);
  }
}

void PushBudget::Plan(Demand& demand) {
  Subscriber& subscriber = *demand.subscriber;
  const std::size_t dropped = subscriber.outbox->dropped();
  // A client that lost messages in the last pass gets fewer in this one, but those in turns; it gets more again while
  // it keeps up.
  const bool has_lost = std::exchange(subscriber.dropped, dropped) != dropped;
  subscriber.allowance = has_lost ? std::max(subscriber.allowance / 2, limits_.queue_bytes) : subscriber.allowance * 2;
  subscriber.allowance = std::min(subscriber.allowance, limits_.pass_bytes_per_connection);
  const std::size_t count = demand.messages.size();
  std::size_t served = subscriber.served;
  if (!subscriber.outbox->IsBlocked()) {
    for (; served < count; ++served) {
      const Wanted& message = demand.messages[(subscriber.next + served) % count];
      const std::size_t built = BuiltOctets(message);
      // One message always goes, however large.
      if (served > 0 && subscriber.octets + message.octets > subscriber.allowance) break;
      if (messages_ == limits_.pass_messages || (octets_ > 0 && octets_ + built > limits_.pass_bytes)) break;
      Enter(subscriber, message);
    }
  }
  subscriber.next = served == count ? 0 : (subscriber.next + served) % count;
  subscriber.waited = served > 0 ? 0 : subscriber.waited + 1;
  if (served == count || subscriber.outbox->IsBlocked() || std::exchange(subscriber.is_logged, true)) return;
  log::Info("[WebServer] connection %llu of %s asks for %zu messages of %zu octets a pass: they come in turns",
            static_cast<unsigned long long>(demand.connection), subscriber.peer.c_str(), count, demand.octets);
}

void PushBudget::ForgetUnusedFilters() {
  std::erase_if(filters_, [](const auto& entry) { return entry.second.users == 0; });
}

/// For a subscription that came after the pass had begun.
bool PushBudget::AdmitLate(Subscriber& subscriber, const TopicAndSid& subscription) {
  const auto filter = subscriber.filters.find(subscription);
  if (filter == subscriber.filters.end()) return true;  // it is being removed, or filed, at this moment
  const std::size_t octets = SizeOf({subscription.first, filter->second});
  const bool fits = !subscriber.outbox->IsBlocked() && messages_ < limits_.pass_messages &&
                    octets_ + octets <= limits_.pass_bytes && subscriber.octets + octets <= subscriber.allowance;
  if (!fits) return false;
  subscriber.admitted[subscription] = octets;
  subscriber.octets += octets;
  octets_ += octets;
  ++messages_;
  return true;
}

/// Sizes change a little from pass to pass, and one message may be larger than all of a pass: that is in order.
bool PushBudget::IsOverdrawn() const {
  return excess_ > limits_.pass_bytes / kToleratedPart && octets_ > limits_.pass_bytes;
}

bool PushBudget::IsAdmitted(ConnectionId connection, const TopicAndSid& subscription) {
  const auto found = subscribers_.find(connection);
  // Who is unknown and not the host's own has left: nothing is built for nobody.
  if (found == subscribers_.end()) return host_receivers_.contains(connection);
  if (IsOverdrawn()) return false;
  Subscriber& subscriber = found->second;
  if (subscriber.admitted.contains(subscription)) return true;
  return subscriber.planned != pass_ && AdmitLate(subscriber, subscription);
}

void PushBudget::Admit(const std::string& topic, subscribes::SubscriptionList& list) {
  const lock_guard held(lock_);
  if (pass_ == 0 || asked_.contains(topic)) BeginPass();
  asked_.insert(topic);
  for (auto sid = list.begin(); sid != list.end();) {
    std::erase_if(sid->second, [&](const auto& entry) VEXORA_REQUIRES(lock_) {
      return !IsAdmitted(FromHandle(entry.first), {topic, sid->first});
    });
    sid = sid->second.empty() ? list.erase(sid) : std::next(sid);
  }
}

}  // namespace probe
