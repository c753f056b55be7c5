#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "probe/api/answers.h"
#include "probe/api/history_status.h"
#include "probe/api/latest_messages.h"
#include "probe/api/page_files.h"
#include "probe/api/plugin_calls.h"
#include "probe/host/device_centre.h"
#include "probe/server/http/http_message.h"

namespace probe {

/// What the probe is, for those who ask.
struct ProbeFacts {
  std::string version;
  unsigned speed = 1;  ///< How many times faster than the true pace its clock runs.
  std::string zone{};  ///< Its time zone's name in the tz database; empty when that has none.
};

/// Answers a scrape by Prometheus. Threads: any, several at once.
using MetricsSource = std::function<HttpAnswer(const HttpRequest& request)>;

/// The HTTP interface of the probe, docs/openapi.yaml, and the pages of its dashboard. Its paths begin with /api/v1/,
/// or, as they did once, with /api/.
///
/// Threads: any, several at once. What it refers to must outlive it.
class HttpApi {
 public:
  /// Seconds between two passes, by the probe's clock.
  static constexpr unsigned kPassSeconds = 60;

  /// An empty `polls` is for a probe that polls no devices, an empty `history` for one that tells nothing of its own,
  /// an empty `passes` for one that doesn't measure them, an empty `metrics` for one that tells Prometheus nothing.
  HttpApi(ProbeFacts facts, PluginCalls plugin, DeviceCentre& centre, LatestMessages& latest, PageFiles pages,
          PollStatuses polls = {}, HistorySource history = {}, PassSource passes = {}, MetricsSource metrics = {});

  bool has_pages() const { return !pages_.is_empty(); }

  /// The two halves of an `HttpService`.
  Access LookUp(const std::string& path) const;
  HttpAnswer Answer(const HttpRequest& request) const;

  /// The paths below /api/ and beside it, as docs/openapi.yaml writes them.
  static std::vector<std::string> Paths();

 private:
  using SteadyClock = std::chrono::steady_clock;

  /// One path of the interface, read with GET or HEAD like all that the server serves.
  struct Route {
    std::string_view path;  ///< As docs/openapi.yaml writes it; a parameter, in braces, is the last part.
    Access access;
    HttpAnswer (*answer)(const HttpApi& api, const HttpRequest& request, const std::string& parameter);
  };

  struct FoundRoute {
    const Route* route = nullptr;  ///< Null: there is none.
    std::string parameter{};       ///< What the path has in place of its parameter.
  };

  /// The table of all of them, in the order in which the index names them.
  static std::span<const Route> Routes();

  /// The route of a path, also of one without the version.
  static FoundRoute FindRoute(const std::string& path);

  HttpAnswer Index() const;
  HttpAnswer Health() const;
  HttpAnswer Status() const;
  HttpAnswer Metrics(const HttpRequest& request) const;
  static HttpAnswer Session();
  static HttpAnswer Document(const std::string& name);
  HttpAnswer Live(const HttpRequest& request, const std::string& topic) const;
  HttpAnswer LiveOfDevice(const HttpRequest& request, const std::string& topic, const std::string& variant) const;

  const ProbeFacts facts_;
  const PluginCalls plugin_;
  DeviceCentre& centre_;
  LatestMessages& latest_;
  const PageFiles pages_;
  const PollStatuses polls_;
  const HistorySource history_;
  const PassSource passes_;
  const MetricsSource metrics_;
  const SteadyClock::time_point started_ = SteadyClock::now();
};

}  // namespace probe
