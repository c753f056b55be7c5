#pragma once

#include <prometheus/metric_family.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/centre/fleet_families.h"
#include "probe/centre/site_answerer.h"
#include "probe/centre/site_figures.h"
#include "probe/centre/sites.h"
#include "probe/server/http/http_message.h"
#include "probe/server/web_server.h"

namespace probe::centre {

/// What a centre tells of itself.
struct CentreFigures {
  std::string version;
  bool is_reading = false;
  std::uint64_t kept_texts = 0;     ///< Since the start.
  std::uint64_t dropped_texts = 0;  ///< Likewise: of no use, too many, or not newer than what was known.
  QuestionCounts questions;
};

/// What a centre tells Prometheus: of each site what its newest texts say, under the names that a probe's own figures
/// have, with the label `site` before the others; and figures of its own.
///
/// Speeds of interfaces have the time of the minute in which they were measured, so that a scrape that comes twice, or
/// late, changes no mean of them. A site that is away has no figures but that it is, and when it was last heard.
///
/// Threads: any, several at once. What it refers to must outlive it.
class FleetMetrics {
 public:
  using Source = std::function<CentreFigures()>;

  /// Samples of sites in one answer, at most: sites beyond that are left out, whole, and counted.
  static constexpr std::size_t kMaxSamples = 1'000'000;

  /// `server` is asked when somebody scrapes, not before.
  FleetMetrics(const Sites& sites, const WebServer& server, Source source)
      : sites_(sites), server_(server), source_(std::move(source)) {}

  /// All figures, at this time.
  std::vector<prometheus::MetricFamily> Collect(time_t now, std::size_t max_samples = kMaxSamples) const;

  /// The answer to a scrape, in the format that it asks for.
  HttpAnswer Answer(const HttpRequest& request) const;

 private:
  /// Which texts figures were read from.
  using Marks = std::vector<std::pair<std::int64_t, std::uint64_t>>;

  struct Read {
    Marks marks;
    std::shared_ptr<const SiteFigures> figures;
  };

  void AddSites(time_t now, std::size_t max_samples, FleetFamilies& fleet,
                std::vector<prometheus::MetricFamily>& families) const VEXORA_EXCLUDES(lock_);
  static Marks MarksOf(const Sites::Known& site);

  /// The figures of a site, which are read anew when one of its texts has changed.
  std::shared_ptr<const SiteFigures> FiguresOf(const Sites::Known& site) const VEXORA_EXCLUDES(lock_);
  void ForgetAllBut(const std::vector<Sites::Known>& sites) const VEXORA_EXCLUDES(lock_);

  const Sites& sites_;
  const WebServer& server_;
  const Source source_;
  mutable utilities::lock::Mutex lock_;                                // leaf lock
  mutable std::map<std::string, Read> read_ VEXORA_GUARDED_BY(lock_);  // by site
};

}  // namespace probe::centre
