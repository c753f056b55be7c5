#pragma once

#include <prometheus/metric_family.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "probe/centre/site_figures.h"
#include "probe/centre/site_summary.h"
#include "probe/metrics/families.h"
#include "probe/metrics/told_devices.h"

namespace probe::centre {

/// The families of what sites tell.
///
/// Threads: none of its own, no lock.
class FleetFamilies {
 public:
  /// `version`: that of the centre.
  FleetFamilies(time_t now, const std::string& version);

  /// Adds how a site fares, and when it was heard: also of one that is away.
  void AddState(const SiteSummary& site);

  /// Adds the figures of a site.
  void Add(const SiteSummary& site, const SiteFigures& figures);

  void MoveTo(std::vector<prometheus::MetricFamily>& families);

 private:
  void AddProbe(const metrics::Labels& site, const SiteFigures& figures);
  void AddSpeeds(const metrics::Labels& site, const SiteFigures& figures);

  const time_t now_;
  std::array<std::size_t, kSiteLevels.size()> levels_{};  // sites of each
  metrics::Family sites_;
  metrics::Family up_;
  metrics::Family heard_;
  metrics::Family site_clients_;
  metrics::Family build_;
  metrics::Family clock_speed_;
  metrics::Family last_pass_;
  metrics::Family history_ready_;
  metrics::DeviceFamilies devices_;
  metrics::Family listed_clients_;
  metrics::Family measured_;
  metrics::Family received_;
  metrics::Family sent_;
};

}  // namespace probe::centre
