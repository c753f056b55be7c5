#include "probe/centre/site_subscriptions.h"

#include <boost/asio/post.hpp>
#include <exception>
#include <memory>
#include <vector>

#include "platform/sending.h"
#include "probe/host/log.h"
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
    // Whoever asks for the same under the same names gets the same text.
    std::map<std::pair<lws*, std::string>, std::vector<std::string>> sids;  // of a connection and filter
    for (const auto& [sid, connections] : subscriptions) {
      for (const auto& [connection, filter] : connections) sids[{connection, WordsOf(*filter)}].push_back(sid);
    }
    std::map<std::pair<std::string, std::vector<std::string>>, std::string> texts;
    for (const auto& [receiver, names] : sids) {
      const auto& [connection, filter] = receiver;
      const auto [text, is_new] = texts.try_emplace({filter, names});
      if (is_new) text->second = answerer_.Message(site_, topic_, filter, names);
      if (!text->second.empty()) GetSalSendByCon()(connection, text->second);
    }
  }

 private:
  const SiteAnswerer& answerer_;
  const std::string site_;
  const std::string topic_;
};

std::string NameOf(const std::pair<std::string, std::string>& topic) {
  return SiteSubscriptions::TopicsOf(topic.first) + topic.second;
}

}  // namespace

SiteSubscriptions::SiteSubscriptions(SubscriptionService& service, const SiteAnswerer& answerer)
    : service_(service), answerer_(answerer) {}

SiteSubscriptions::~SiteSubscriptions() {
  Stop();
}

void SiteSubscriptions::Stop() {
  workers_.stop();
  workers_.join();
}

bool SiteSubscriptions::Feed(const Topic& topic) {
  if (FilterOfText(topic.second).empty()) return false;
  {
    const lock_guard held(lock_);
    if (!fed_.insert(topic).second) return true;
  }
  service_.AddSubscriber(NameOf(topic), std::make_shared<SiteTopic>(answerer_, topic.first, topic.second));
  return true;
}

void SiteSubscriptions::OnText(const std::string& site, const std::string& topic) {
  const Topic told(site, topic);
  if (!Feed(told) || service_.Subscriptions(NameOf(told)).empty()) return;
  {
    const lock_guard held(lock_);
    const auto [pushing, is_first] = pushing_.try_emplace(told, false);
    pushing->second = !is_first;
    if (!is_first) return;
  }
  boost::asio::post(workers_, [this, told] { Push(told); });
}

bool SiteSubscriptions::IsToBeginAnew(const Topic& topic) {
  const lock_guard held(lock_);
  const auto pushing = pushing_.find(topic);
  if (std::exchange(pushing->second, false)) return true;
  pushing_.erase(pushing);
  return false;
}

void SiteSubscriptions::Push(const Topic& topic) {
  const std::string name = NameOf(topic);
  do {
    try {
      SiteTopic(answerer_, topic.first, topic.second).PushDataBySID(service_.Subscriptions(name));
    } catch (const std::exception& error) {
      log::Error("[Centre] a message of %s could not be made: %s", name.c_str(), error.what());
    }
  } while (IsToBeginAnew(topic));
}

}  // namespace probe::centre
