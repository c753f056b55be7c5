#pragma once

#include <ctime>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "probe/server/http/http_message.h"
#include "probe/uplink/site_interface.h"
#include "probe/uplink/spool.h"

namespace probe::uplink {

/// What somebody asks of this site.
struct SiteRequest {
  std::string what;   ///< Last part of the subject.
  std::string text;   ///< Empty: nothing more was said.
  std::string reply;  ///< Where the answers are to go.
};

/// One answer to it.
struct SiteReply {
  std::vector<std::pair<std::string, std::string>> headers;
  std::string text;
};

// Headers of answers. `kTopicHeader`: of what the text is; empty at the end of several.
inline constexpr char kTopicHeader[] = "Vexora-Topic";
inline constexpr char kStatusHeader[] = "Vexora-Status";  // as HTTP has it
inline constexpr char kContentTypeHeader[] = "Vexora-Content-Type";
inline constexpr char kGzipHeader[] = "Vexora-Gzip";       // "1": the text is compressed
inline constexpr char kHeaderPrefix[] = "Vexora-Header-";  // before the name of any other header of HTTP

/// The part of the HTTP interface that a centre may ask for.
inline constexpr char kForwardedPath[] = "/api/v1/";

/// What else may be asked for: the figures for Prometheus.
inline constexpr char kMetricsPath[] = "/metrics";

/// Whether a request for this path is one that a centre may hand on to a site.
inline bool IsForwarded(std::string_view path) {
  return path.starts_with(kForwardedPath) || path == kMetricsPath;
}

/// What the pages of a centre show of a site that is away: the topic by which it goes up, and its path in the HTTP
/// interface.
const std::map<std::string, std::string>& PageTexts();

/// Answers requests, and tells what goes up beside the messages of passes.
///
///   newest    the newest text of each topic, and an empty one at the end
///   report    a report: {"report": "wireless_client_report", "request": {"report_type": "daily", "period": DAY}}
///   http      what is at a path below /api/v1/: {"path": "/api/v1/devices", "arguments": {}, "gzip": true}
///   message   the newest message for a filter: {"topic": "TrafficMonitor", "filter": {"interval": "5m"}}
///
/// Threads: any, as those of the site's interface.
class SiteAnswers {
 public:
  using NewestTexts = std::map<std::string, std::shared_ptr<const SpooledMessage>>;

  /// Octets that a request may have.
  static constexpr std::size_t kMaxRequestBytes = 4096;

  explicit SiteAnswers(SiteInterface site) : site_(std::move(site)) {}

  /// The answers to a request; none to one that nobody knows. `newest`: by topic.
  std::vector<SiteReply> To(const SiteRequest& request, const NewestTexts& newest) const;

  bool IsReport(const std::string& topic) const { return site_.reports.contains(topic); }

  /// The daily reports of a day, as far as there are any. `at`: the time of the pass behind which they come.
  std::vector<SpooledMessage> ReportsOf(const std::string& day, time_t at) const;

  /// The texts of `PageTexts` as they are now, for the pass that was at this time.
  std::vector<SpooledMessage> PagesOf(time_t at) const;

 private:
  SiteReply Report(const nlohmann::json& wanted) const;
  SiteReply Http(const nlohmann::json& wanted) const;

  /// What the HTTP interface answers; an error where it cannot.
  HttpAnswer AnswerTo(const HttpRequest& request) const;
  SiteReply Message(const nlohmann::json& wanted) const;

  const SiteInterface site_;
};

}  // namespace probe::uplink
