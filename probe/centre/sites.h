#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/centre/site_summary.h"
#include "probe/centre/site_text.h"

namespace probe::centre {

/// The newest text of each site and topic, and what they say of the site: all that a centre remembers.
///
/// Threads: any.
class Sites {
 public:
  /// Sites that are known at most, so that whoever may write to the stream cannot fill the memory. Texts of others are
  /// dropped.
  static constexpr std::size_t kMaxSites = 10'000;

  /// Octets of the texts of one site: what is beyond is dropped. 500 devices have some ten million.
  static constexpr std::size_t kMaxSiteBytes = std::size_t{48} * 1024 * 1024;

  /// Tells which sites count.
  using Chosen = std::function<bool(const std::string& site)>;

  /// A device or client that a search has found, and its site.
  struct Hit {
    std::string site;
    Findable found;
  };

  /// A site, with its newest texts by topic.
  struct Known {
    std::shared_ptr<const SiteSummary> summary;
    std::map<std::string, std::shared_ptr<const SiteText>> texts;
  };

  /// Takes a text over, unless a newer one of its site and topic is known, or a centre has no use for the topic.
  /// Whether it did.
  bool Put(SiteText text) VEXORA_EXCLUDES(lock_);

  /// Forgets sites of which nothing was heard since then: their texts are no longer in the stream either.
  void ForgetUnheardSince(time_t then) VEXORA_EXCLUDES(lock_);

  /// The newest text; null: there is none.
  std::shared_ptr<const SiteText> Find(const std::string& site, const std::string& topic) const VEXORA_EXCLUDES(lock_);

  bool Has(const std::string& site) const VEXORA_EXCLUDES(lock_);

  /// When a site was last heard; nothing: never.
  std::optional<time_t> Heard(const std::string& site) const VEXORA_EXCLUDES(lock_);

  /// The sites, the worst first, then by name.
  std::vector<std::shared_ptr<const SiteSummary>> List(const Chosen& is_chosen, time_t now) const
      VEXORA_EXCLUDES(lock_);

  /// All sites, by name.
  std::vector<Known> All() const VEXORA_EXCLUDES(lock_);

  /// The first devices and clients that hold this text, in any case of its letters, at most `most`; devices first.
  std::vector<Hit> Search(const std::string& text, const Chosen& is_chosen, std::size_t most) const
      VEXORA_EXCLUDES(lock_);

 private:
  struct Site {
    std::shared_ptr<const SiteText> Find(const std::string& topic) const;
    std::size_t OctetsBeside(const std::string& topic) const;

    std::map<std::string, std::shared_ptr<const SiteText>> texts;  // by topic
    std::shared_ptr<const SiteSummary> summary;                    // never changes; another takes its place
  };

  std::vector<std::shared_ptr<const SiteSummary>> Summaries(const Chosen& is_chosen) const VEXORA_EXCLUDES(lock_);

  mutable utilities::lock::Mutex lock_;  // leaf lock
  std::map<std::string, Site> sites_ VEXORA_GUARDED_BY(lock_);
};

}  // namespace probe::centre
