#include "probe/centre/centre_api.h"

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "probe/api/answers.h"
#include "probe/centre/site_summary.h"
#include "probe/text/json_text.h"
#include "probe/uplink/site_answers.h"
#include "probe/uplink/uplink_settings.h"
#include "probe/version/version.h"

namespace probe::centre {
namespace {

using nlohmann::ordered_json;

constexpr std::string_view kSitesPath = "/sites/";
constexpr unsigned kNotFound = 404;

/// A path below that of a site.
struct SitePath {
  std::string site;
  std::string path;  ///< As the site's own probe has it, with the slash at its beginning.
};

std::optional<SitePath> SitePathIn(const std::string& path) {
  if (!path.starts_with(kSitesPath)) return std::nullopt;
  const std::size_t end = path.find('/', kSitesPath.size());
  if (end == std::string::npos) return std::nullopt;
  SitePath found{path.substr(kSitesPath.size(), end - kSitesPath.size()), path.substr(end)};
  if (!uplink::IsSiteName(found.site)) return std::nullopt;
  return found;
}

ordered_json TreeOf(const SiteSummary& site, time_t now) {
  return {
      {"name", site.name},         {"level", NameOf(site.Level(now))}, {"heard", static_cast<std::int64_t>(site.heard)},
      {"devices", site.devices},   {"offline", site.offline},          {"bad", site.bad},
      {"fair", site.fair},         {"clients", site.clients},          {"alerts", site.alerts},
      {"warnings", site.warnings}, {"version", site.version}};
}

ordered_json TreeOf(const Sites::Hit& hit) {
  const Findable& found = hit.found;
  return {{"site", hit.site},         {"kind", found.is_client ? "client" : "device"},
          {"mac", found.mac},         {"name", found.name},
          {"ip", found.address},      {"place", found.place},
          {"ssid", found.ssid},       {"user", found.user},
          {"online", found.is_online}};
}

HttpAnswer NotFound() {
  return ErrorAnswer(kNotFound, "not_found", "There is nothing at this path; /api/v1/sites names the sites.");
}

}  // namespace

CentreApi::CentreApi(std::vector<AccessGroup> groups, const Sites& sites, const SiteAnswerer& answerer, PageFiles pages,
                     std::function<bool()> is_reading, Metrics metrics)
    : groups_(std::move(groups)),
      sites_(sites),
      answerer_(answerer),
      pages_(std::move(pages)),
      is_reading_(std::move(is_reading)),
      metrics_(std::move(metrics)) {}

bool CentreApi::MaySee(const std::string& holder, const std::string& site) const {
  if (holder.empty()) return true;
  return std::any_of(groups_.begin(), groups_.end(),
                     [&](const AccessGroup& group) { return group.name == holder && group.Has(site); });
}

Access CentreApi::LookUp(const std::string& path) const {
  if (path == "/healthz" || path == "/") return Access::kPublic;
  // The page of a site is the same for every name, and tells nothing of which there are.
  if (const auto found = SitePathIn(path); found && !found->path.starts_with("/api/")) {
    if (found->path == uplink::kMetricsPath) return Access::kToken;
    return found->path == "/" ? Access::kPublic : Access::kNotFound;
  }
  if (path == "/metrics" || path.starts_with("/api/") || path.starts_with(kSitesPath)) return Access::kToken;
  return pages_.Has(path) ? Access::kPublic : Access::kNotFound;
}

HttpAnswer CentreApi::Answer(const HttpRequest& request) const {
  if (request.path == "/healthz")
    return is_reading_() ? JsonAnswer(ordered_json{{"status", "ok"}}.dump(), Caching::kNoStore)
                         : ErrorAnswer(503, "not_reading", "The stream of the sites is not read.");
  if (request.path == "/") return Page(kSitesPage, request);
  if (request.path == "/metrics") return Scrape(request);
  if (request.path == "/api/v1/sites") return ListSites(request.holder);
  if (request.path == "/api/v1/search") return Search(request);
  if (request.path == "/api/v1/targets") return ListTargets(request.holder);
  if (request.path == "/api/v1/session") {
    HttpAnswer answer = JsonAnswer(ordered_json{{"session", "open"}}.dump(), Caching::kNoStore);
    answer.opens_session = true;
    return answer;
  }
  if (const auto found = SitePathIn(request.path)) return OfSite(found->site, found->path, request);
  return pages_.Has(request.path) ? pages_.Answer(request) : NotFound();
}

std::optional<std::string> CentreApi::TopicsAt(const std::string& path, const std::string& holder) const {
  const auto found = SitePathIn(path);
  if (!found || found->path != "/" || !sites_.Has(found->site) || !MaySee(holder, found->site)) return std::nullopt;
  return found->site + "/";
}

HttpAnswer CentreApi::Page(const std::string& path, const HttpRequest& request) const {
  if (!pages_.Has(path))
    return ErrorAnswer(503, "no_dashboard",
                       "No dashboard is installed here, and the log says where one is looked for. The HTTP interface "
                       "is at /api/v1/.");
  HttpRequest of_page = request;
  of_page.path = path;
  return pages_.Answer(of_page);
}

HttpAnswer CentreApi::OfSite(const std::string& site, const std::string& path, const HttpRequest& request) const {
  if (path == "/") return Page("/index.html", request);
  if (!sites_.Has(site) || !MaySee(request.holder, site))
    return ErrorAnswer(kNotFound, "unknown_site", "There is no such site; /api/v1/sites names those that there are.");
  HttpRequest of_site = request;
  of_site.path = path;
  if (path == "/api/v1/session" || !uplink::IsForwarded(path)) return NotFound();
  return answerer_.Http(site, of_site);
}

HttpAnswer CentreApi::Scrape(const HttpRequest& request) const {
  constexpr unsigned kForbidden = 403;
  if (!request.holder.empty())
    return ErrorAnswer(kForbidden, "not_for_groups", "The figures are of all sites, and need the token of all sites.");
  return metrics_(request);
}

HttpAnswer CentreApi::ListSites(const std::string& holder) const {
  const time_t now = time(nullptr);
  ordered_json sites = ordered_json::array();
  for (const auto& site : sites_.List([&](const std::string& name) { return MaySee(holder, name); }, now))
    sites.push_back(TreeOf(*site, now));
  return JsonAnswer(Dump(ordered_json{{"version", kVersion},
                                      {"now", static_cast<std::int64_t>(now)},
                                      {"reading", is_reading_()},
                                      {"sites", std::move(sites)}}),
                    Caching::kNoStore);
}

HttpAnswer CentreApi::ListTargets(const std::string& holder) const {
  ordered_json names = ordered_json::array();
  for (const auto& site : sites_.List([&](const std::string& name) { return MaySee(holder, name); }, time(nullptr)))
    names.push_back(site->name);
  // The names decide: the list would otherwise be another one each time a site fares worse.
  std::sort(names.begin(), names.end());
  return JsonAnswer(ordered_json::array({{{"targets", std::move(names)}}}).dump(), Caching::kNoStore);
}

HttpAnswer CentreApi::Search(const HttpRequest& request) const {
  const auto text = request.arguments.find("text");
  constexpr std::size_t kLeast = 2;
  constexpr unsigned kBadRequest = 400;
  if (text == request.arguments.end() || text->second.size() < kLeast)
    return ErrorAnswer(kBadRequest, "missing_argument", "The query must have a \"text\" of at least two octets.");
  // One more than is given tells whether there are more.
  auto hits = sites_.Search(
      text->second, [&](const std::string& site) { return MaySee(request.holder, site); }, kMaxHits + 1);
  const bool has_more = hits.size() > kMaxHits;
  if (has_more) hits.pop_back();
  ordered_json found = ordered_json::array();
  for (const Sites::Hit& hit : hits) found.push_back(TreeOf(hit));
  return JsonAnswer(Dump(ordered_json{{"found", std::move(found)}, {"more", has_more}}), Caching::kNoStore);
}

}  // namespace probe::centre
