#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "probe/api/page_files.h"
#include "probe/centre/centre_settings.h"
#include "probe/centre/site_answerer.h"
#include "probe/centre/sites.h"
#include "probe/server/http/http_message.h"

namespace probe::centre {

/// The HTTP interface of a centre: the page with all sites, and each site's own pages and paths below /sites/SITE/.
///
///   /                       the page with all sites
///   /api/v1/sites           all sites, the worst first
///   /api/v1/search          devices and clients of all sites that hold the argument `text`
///   /api/v1/session         opens a session, as with a probe
///   /api/v1/targets         the names of all sites, for the service discovery of Prometheus over HTTP
///   /sites/SITE/            the dashboard of a site
///   /sites/SITE/api/v1/...  the HTTP interface of a site
///   /sites/SITE/metrics     the figures of a site for Prometheus
///   /healthz                whether the stream is read
///   /metrics                figures of all sites for Prometheus, for who has shown the token of all sites
///
/// Who has shown the token of a group finds its sites, and no others.
/// Threads: any, several at once. What it refers to must outlive it.
class CentreApi {
 public:
  /// Devices and clients that a search gives at most.
  static constexpr std::size_t kMaxHits = 100;

  using Metrics = std::function<HttpAnswer(const HttpRequest& request)>;

  /// `is_reading`: whether the stream is read. `metrics` answers a scrape.
  CentreApi(std::vector<AccessGroup> groups, const Sites& sites, const SiteAnswerer& answerer, PageFiles pages,
            std::function<bool()> is_reading, Metrics metrics);

  bool has_pages() const { return pages_.Has(kSitesPage); }

  /// The parts of an `HttpService`.
  Access LookUp(const std::string& path) const;
  HttpAnswer Answer(const HttpRequest& request) const;
  std::optional<std::string> TopicsAt(const std::string& path, const std::string& holder) const;

 private:
  static constexpr const char* kSitesPage = "/centre.html";

  bool MaySee(const std::string& holder, const std::string& site) const;
  HttpAnswer Scrape(const HttpRequest& request) const;
  HttpAnswer ListSites(const std::string& holder) const;
  HttpAnswer ListTargets(const std::string& holder) const;
  HttpAnswer Search(const HttpRequest& request) const;
  HttpAnswer OfSite(const std::string& site, const std::string& path, const HttpRequest& request) const;
  HttpAnswer Page(const std::string& path, const HttpRequest& request) const;

  const std::vector<AccessGroup> groups_;
  const Sites& sites_;
  const SiteAnswerer& answerer_;
  const PageFiles pages_;
  const std::function<bool()> is_reading_;
  const Metrics metrics_;
};

}  // namespace probe::centre
