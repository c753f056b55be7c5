#include "probe/centre/sites.h"

#include <algorithm>

#include "probe/api/latest_messages.h"
#include "probe/server/http/http_head.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/uplink_settings.h"

using utilities::lock::lock_guard;

namespace probe::centre {
namespace {

/// Whether something is made of the texts of a topic: a live message, or what a page shows.
bool IsOfUse(const std::string& topic) {
  if (uplink::PageTexts().contains(topic)) return true;
  const auto& filters = StandardFilters();
  return std::any_of(filters.begin(), filters.end(), [&](const StandardFilter& one) { return one.topic == topic; });
}

}  // namespace

std::shared_ptr<const SiteText> Sites::Site::Find(const std::string& topic) const {
  const auto found = texts.find(topic);
  return found == texts.end() ? nullptr : found->second;
}

std::size_t Sites::Site::OctetsBeside(const std::string& topic) const {
  std::size_t octets = 0;
  for (const auto& [other, text] : texts) octets += other == topic ? 0 : text->text.size();
  return octets;
}

bool Sites::Put(SiteText text) {
  if (!uplink::IsSiteName(text.site) || !IsOfUse(text.topic)) return false;
  const auto put = std::make_shared<const SiteText>(std::move(text));
  std::shared_ptr<const SiteSummary> before;
  {
    const lock_guard held(lock_);
    const auto found = sites_.find(put->site);
    if (found == sites_.end() && sites_.size() >= kMaxSites) return false;
    if (found != sites_.end()) {
      const auto known = found->second.Find(put->topic);
      if (known != nullptr && !put->IsBehind(*known)) return false;
      if (found->second.OctetsBeside(put->topic) + put->text.size() > kMaxSiteBytes) return false;
      before = found->second.summary;
    }
  }
  // Without the lock: to read a text takes a while. Texts come one at a time.
  auto summary = std::make_shared<SiteSummary>(before == nullptr ? SiteSummary() : *before);
  summary->name = put->site;
  summary->heard = std::max(summary->heard, put->told_at());
  summary->Take(put->topic, put->text);
  const lock_guard held(lock_);
  Site& site = sites_[put->site];
  site.texts[put->topic] = put;
  site.summary = std::move(summary);
  return true;
}

void Sites::ForgetUnheardSince(time_t then) {
  const lock_guard held(lock_);
  std::erase_if(sites_, [then](const auto& site) { return site.second.summary->heard < then; });
}

std::shared_ptr<const SiteText> Sites::Find(const std::string& site, const std::string& topic) const {
  const lock_guard held(lock_);
  const auto found = sites_.find(site);
  return found == sites_.end() ? nullptr : found->second.Find(topic);
}

bool Sites::Has(const std::string& site) const {
  const lock_guard held(lock_);
  return sites_.contains(site);
}

std::optional<time_t> Sites::Heard(const std::string& site) const {
  const lock_guard held(lock_);
  const auto found = sites_.find(site);
  return found == sites_.end() ? std::nullopt : std::optional(found->second.summary->heard);
}

std::vector<std::shared_ptr<const SiteSummary>> Sites::Summaries(const Chosen& is_chosen) const {
  std::vector<std::shared_ptr<const SiteSummary>> summaries;
  const lock_guard held(lock_);
  for (const auto& [name, site] : sites_) {
    if (is_chosen(name)) summaries.push_back(site.summary);
  }
  return summaries;
}

std::vector<std::shared_ptr<const SiteSummary>> Sites::List(const Chosen& is_chosen, time_t now) const {
  auto list = Summaries(is_chosen);
  std::stable_sort(list.begin(), list.end(),
                   [now](const auto& one, const auto& other) { return one->Level(now) > other->Level(now); });
  return list;
}

std::vector<Sites::Known> Sites::All() const {
  const lock_guard held(lock_);
  std::vector<Known> all;
  all.reserve(sites_.size());
  for (const auto& [name, site] : sites_) all.push_back({site.summary, site.texts});
  return all;
}

std::vector<Sites::Hit> Sites::Search(const std::string& text, const Chosen& is_chosen, std::size_t most) const {
  const std::string wanted = LowerCase(text);
  const auto summaries = Summaries(is_chosen);
  std::vector<Hit> hits;
  for (const auto list : {&SiteSummary::listed_devices, &SiteSummary::listed_clients}) {
    for (const auto& summary : summaries) {
      for (const Findable& one : *((*summary).*list)) {
        if (hits.size() >= most) return hits;
        if (IsFound(one, wanted)) hits.push_back({summary->name, one});
      }
    }
  }
  return hits;
}

}  // namespace probe::centre
