#include "probe/centre/site_subscriptions.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "platform/sending.h"
#include "platform/subscriptions.h"
#include "probe/text/json_c_handle.h"

using utilities::lock::lock_guard;

namespace probe::centre {
namespace {

/// A filter is whatever feeds the topic says: here the client's own words, a JSON text, for the site to understand.
std::shared_ptr<Filter> FilterOf(std::string text) {
  const auto words = std::make_shared<std::string>(std::move(text));
  return {words, reinterpret_cast<Filter*>(words.get())};  // NOLINT(*-reinterpret-cast): opaque to all but this file
}

const std::string& WordsOf(const Filter& filter) {
  return reinterpret_cast<const std::string&>(filter);  // NOLINT(*-reinterpret-cast): made by the function above
}

/// A member of an element of a request, as a JSON text; empty: it has none.
std::string MemberOf(json_object* element, const char* name) {
  json_object* member = nullptr;
  if (json_object_object_get_ex(element, name, &member) == 0) return {};
  if (json_object_is_type(member, json_type_string) != 0) return json_object_get_string(member);
  return json_object_to_json_string_ext(member, JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
}

/// The subscriptions whose messages the newest text holds, or those for which the site has to be asked.
subscribes::SubscriptionList Chosen(const subscribes::SubscriptionList& all, const std::string& topic, bool is_asked) {
  subscribes::SubscriptionList chosen;
  for (const auto& [sid, connections] : all) {
    for (const auto& [connection, filter] : connections) {
      if (IsFilterOfText(topic, WordsOf(*filter)) != is_asked) chosen[sid][connection] = filter;
    }
  }
  return chosen;
}

/// Feeds one topic of one site.
class SiteTopic final : public subscribes::Subscriber {
 public:
  SiteTopic(const SiteAnswerer& answerer, std::string site, std::string topic)
      : answerer_(answerer), site_(std::move(site)), topic_(std::move(topic)) {}

  subscribes::ParsedRequest FilterParser(json_object* request) override {
    subscribes::ParsedRequest parsed;
    if (request == nullptr || json_object_is_type(request, json_type_array) == 0) return parsed;
    for (std::size_t at = 0; at < json_object_array_length(request); ++at) {
      json_object* const element = json_object_array_get_idx(request, at);
      if (json_object_is_type(element, json_type_object) == 0) continue;
      const std::string sid = MemberOf(element, "sid");
      const std::string filter = MemberOf(element, "filter");
      if (!sid.empty()) parsed[sid] = FilterOf(filter.empty() ? "{}" : filter);
    }
    return parsed;
  }

  void PushDataBySID(const subscribes::SubscriptionList& subscriptions) override {
    std::map<std::pair<std::string, lws*>, std::vector<std::string>> sids;  // of a filter and connection
    for (const auto& [sid, connections] : subscriptions) {
      for (const auto& [connection, filter] : connections) sids[{WordsOf(*filter), connection}].push_back(sid);
    }
    std::map<std::string, std::string> messages;  // of filters: the site is asked once
    for (const auto& [receiver, names] : sids) {
      const auto& [filter, connection] = receiver;
      const auto [message, is_new] = messages.try_emplace(filter);
      if (is_new) message->second = answerer_.Message(site_, topic_, filter);
      if (!message->second.empty()) GetSalSendByCon()(connection, WithSids(message->second, names));
    }
  }

 private:
  const SiteAnswerer& answerer_;
  const std::string site_;
  const std::string topic_;
};

}  // namespace

SiteSubscriptions::SiteSubscriptions(SubscriptionService& service, const SiteAnswerer& answerer)
    : service_(service),
      answerer_(answerer),
      texts_(kThreads, [this](const std::string& site, const std::string& topic) { Push(site, topic, false); }),
      questions_(kAskingThreads,
                 [this](const std::string& site, const std::string& topic) { Push(site, topic, true); }) {}

void SiteSubscriptions::Stop() {
  texts_.Stop();
  questions_.Stop();
}

bool SiteSubscriptions::Feed(const std::string& site, const std::string& topic) {
  if (FilterOfText(topic).empty()) return false;
  {
    const lock_guard held(lock_);
    if (!fed_.insert(TopicsOf(site) + topic).second) return true;
  }
  service_.AddSubscriber(TopicsOf(site) + topic, std::make_shared<SiteTopic>(answerer_, site, topic));
  return true;
}

void SiteSubscriptions::OnText(const std::string& site, const std::string& topic) {
  if (!Feed(site, topic)) return;
  const auto all = service_.Subscriptions(TopicsOf(site) + topic);
  if (!Chosen(all, topic, false).empty()) texts_.Add(site, topic);
  if (!Chosen(all, topic, true).empty()) questions_.Add(site, topic);
}

void SiteSubscriptions::Push(const std::string& site, const std::string& topic, bool is_asked) {
  const auto all = service_.Subscriptions(TopicsOf(site) + topic);
  SiteTopic(answerer_, site, topic).PushDataBySID(Chosen(all, topic, is_asked));
}

}  // namespace probe::centre
