#include "probe/api/http_api.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/topics.h"
#include "probe/clock/clock.h"
#include "probe/clock/pass_timer.h"
#include "probe/text/strict_json.h"

namespace probe {
namespace {

using nlohmann::ordered_json;

constexpr std::string_view kApi = "/api/";
constexpr std::string_view kLive = "/api/live/";

/// The engine counts as stalled when so many passes are missing, but never before `kLeastSilence`.
/// At a high speed three passes are over in milliseconds, and a busy machine must not look stalled.
constexpr unsigned kMissedPasses = 3;
constexpr std::chrono::seconds kLeastSilence{10};

/// The argument by which the standard filters of a topic are told apart.
const char* VariantArgument(const std::string& topic) {
  return topic == monitoring::kWirelessTopMonitor ? "orderby" : "interval";
}

/// The variant that stands for a topic when the request names none: the topic's own default.
std::string DefaultVariant(const std::string& topic) {
  if (topic == monitoring::kTrafficMonitor) return monitoring::kTrafficDefaultView;
  if (topic == monitoring::kWirelessTopMonitor) return "total";
  return topic == monitoring::kHealthMonitor ? "" : monitoring::kClientCountDefaultView;
}

const char* NameOf(HistoryStatus::Journal journal) {
  switch (journal) {
    case HistoryStatus::Journal::kOff:
      return "off";
    case HistoryStatus::Journal::kOn:
      return "on";
    case HistoryStatus::Journal::kFailing:
      break;
  }
  return "failing";
}

/// One of the times of passes, in milliseconds: of the last, and the worst; null before one is over.
ordered_json TimingTree(const PassStatus& passes, std::chrono::milliseconds PassTiming::*time) {
  ordered_json tree{{"last", nullptr}, {"worst", nullptr}};
  if (passes.last) tree["last"] = static_cast<std::int64_t>(((*passes.last).*time).count());
  if (passes.worst) tree["worst"] = static_cast<std::int64_t>(((*passes.worst).*time).count());
  return tree;
}

/// The zone in which days, weeks and the local times of reports are meant, with its offset at `now`.
ordered_json ZoneTree(const std::string& name, time_t now) {
  tm local{};
  localtime_r(&now, &local);
  return {{"name", name}, {"offset", local.tm_gmtoff}};
}

/// As docs/openapi.yaml describes it.
ordered_json HistoryTree(const HistoryStatus& history) {
  ordered_json tree{{"state", history.is_warming ? "warming" : "ready"}};
  if (history.is_warming) {
    tree["share"] = history.share;
    tree["seconds_left"] = nullptr;
    if (history.time_left) tree["seconds_left"] = static_cast<std::int64_t>(history.time_left->count());
  }
  tree["known_since"] = nullptr;
  if (history.known_since) tree["known_since"] = static_cast<std::int64_t>(*history.known_since);
  tree["outages"] = ordered_json::array();
  for (const Outage& outage : history.outages) {
    tree["outages"].push_back(
        {{"from", static_cast<std::int64_t>(outage.from)}, {"to", static_cast<std::int64_t>(outage.to)}});
  }
  tree["journal"] = NameOf(history.journal);
  return tree;
}

bool IsStandard(const std::string& topic, const std::string& variant) {
  const auto& filters = StandardFilters();
  return std::any_of(filters.begin(), filters.end(),
                     [&](const auto& one) { return one.topic == topic && one.variant == variant; });
}

}  // namespace

HttpApi::HttpApi(ProbeFacts facts, PluginCalls plugin, DeviceCentre& centre, LatestMessages& latest, PageFiles pages,
                 PollStatuses polls, HistorySource history, PassSource passes)
    : facts_(std::move(facts)),
      plugin_(std::move(plugin)),
      centre_(centre),
      latest_(latest),
      pages_(std::move(pages)),
      polls_(std::move(polls)),
      history_(std::move(history)),
      passes_(std::move(passes)) {}

std::span<const HttpApi::Route> HttpApi::Routes() {
  using Api = const HttpApi&;
  using Request = const HttpRequest&;
  static constexpr std::array kRoutes{
      Route{"/healthz", Access::kPublic, [](Api api, Request) { return api.Health(); }},
      Route{"/api/", Access::kToken, [](Api api, Request) { return api.Index(); }},
      Route{"/api/session", Access::kToken, [](Api, Request) { return Session(); }},
      Route{"/api/status", Access::kToken, [](Api api, Request) { return api.Status(); }},
      Route{"/api/devices", Access::kToken, [](Api api, Request) { return DevicesAnswer(api.centre_, api.polls_); }},
      Route{"/api/traffic", Access::kToken,
            [](Api api, Request request) { return InterfaceTrafficAnswer(api.plugin_, request); }},
      Route{"/api/live/{topic}", Access::kToken, [](Api api, Request request) { return api.Live(request); }},
      Route{"/api/reports/clients", Access::kToken,
            [](Api api, Request request) { return ReportAnswer(api.plugin_.clients, request); }},
      Route{"/api/reports/clients/periods", Access::kToken,
            [](Api api, Request) { return PeriodsAnswer(api.plugin_.clients); }},
      Route{"/api/reports/networks", Access::kToken,
            [](Api api, Request request) { return ReportAnswer(api.plugin_.networks, request); }},
      Route{"/api/reports/networks/periods", Access::kToken,
            [](Api api, Request) { return PeriodsAnswer(api.plugin_.networks); }}};
  return kRoutes;
}

const HttpApi::Route* HttpApi::FindRoute(std::string_view path) {
  for (const Route& route : Routes()) {
    // A parameter takes all that is left of the path, slashes too; no topic has one, so that such a path finds none.
    const std::size_t parameter = route.path.find('{');
    const bool is_match =
        parameter == std::string_view::npos ? path == route.path : path.starts_with(route.path.substr(0, parameter));
    if (is_match) return &route;
  }
  return nullptr;
}

PathInfo HttpApi::LookUp(const std::string& path) const {
  if (const Route* route = FindRoute(path)) return {route->access, true};
  // What is not there is guarded, too: without the token nobody learns which paths there are.
  if (path.starts_with(kApi)) return {Access::kToken, true};
  return {pages_.Has(path) ? Access::kPublic : Access::kNotFound, false};
}

HttpAnswer HttpApi::Answer(const HttpRequest& request) const {
  if (const Route* route = FindRoute(request.path)) return route->answer(*this, request);
  if (pages_.Has(request.path)) return pages_.Answer(request);
  return ErrorAnswer(404, "not_found", "There is nothing at this path; /api/ names what there is.");
}

std::vector<std::string> HttpApi::Paths() {
  std::vector<std::string> paths;
  for (const Route& route : Routes()) paths.emplace_back(route.path);
  return paths;
}

HttpAnswer HttpApi::Index() const {
  return JsonAnswer(ordered_json{{"name", "vexora-probe"}, {"version", facts_.version}, {"paths", Paths()}}.dump(),
                    Caching::kRevalidate);
}

HttpAnswer HttpApi::Health() const {
  // By the steady clock: the probe's own may run faster, or step when somebody sets the machine's.
  const HistoryStatus history = history_ ? history_() : HistoryStatus();
  if (history.is_warming) return JsonAnswer(ordered_json{{"status", "warming"}}.dump(), Caching::kNoStore);
  const auto silence = SteadyClock::now() - latest_.last_arrival().value_or(history.ready_since.value_or(started_));
  const std::chrono::seconds patience{kMissedPasses * kPassSeconds / std::max(facts_.speed, 1U)};
  if (silence > std::max(patience, kLeastSilence))
    return ErrorAnswer(503, "stalled", "The monitoring engine has made no pass for a while.");
  const char* status = latest_.last_arrival() ? "ok" : "starting";
  return JsonAnswer(ordered_json{{"status", status}}.dump(), Caching::kNoStore);
}

HttpAnswer HttpApi::Status() const {
  const timeval now = InstalledClock().Now();
  constexpr std::int64_t kThousand = 1000;
  ordered_json last;
  if (const auto pass = latest_.last_pass()) last = static_cast<std::int64_t>(*pass);
  ordered_json topics = ordered_json::array();
  for (const StandardFilter& wanted : StandardFilters()) {
    const auto message = latest_.Find(wanted.topic, wanted.variant);
    if (message == nullptr) continue;
    ordered_json topic{{"topic", wanted.topic}};
    if (!wanted.variant.empty()) topic[VariantArgument(wanted.topic)] = wanted.variant;
    topic["received"] = static_cast<std::int64_t>(message->received);
    topics.push_back(std::move(topic));
  }
  ordered_json passes{{"period", kPassSeconds}, {"last", last}};
  if (passes_) {
    const PassStatus timings = passes_();
    passes["duration"] = TimingTree(timings, &PassTiming::duration);
    passes["lateness"] = TimingTree(timings, &PassTiming::lateness);
  }
  ordered_json status{{"version", facts_.version},
                      {"now", std::int64_t{now.tv_sec} * kThousand + std::int64_t{now.tv_usec} / kThousand},
                      {"speed", facts_.speed},
                      {"time_zone", ZoneTree(facts_.zone, now.tv_sec)},
                      {"passes", std::move(passes)},
                      {"topics", std::move(topics)}};
  if (history_) status["history"] = HistoryTree(history_());
  return JsonAnswer(status.dump(), Caching::kNoStore);
}

HttpAnswer HttpApi::Session() {
  HttpAnswer answer = JsonAnswer(ordered_json{{"session", "open"}}.dump(), Caching::kNoStore);
  answer.opens_session = true;
  return answer;
}

HttpAnswer HttpApi::Live(const HttpRequest& request) const {
  const std::string topic = request.path.substr(kLive.size());
  const auto given = request.arguments.find(VariantArgument(topic));
  const std::string variant =
      given == request.arguments.end() || given->second.empty() ? DefaultVariant(topic) : given->second;
  // There are no standard filters of an unknown topic, whatever the default that it is given.
  if (!IsStandard(topic, DefaultVariant(topic)))
    return ErrorAnswer(404, "unknown_topic", "There is no such live topic.");
  if (!IsStandard(topic, variant))
    return ErrorAnswer(400, "unknown_filter", "The topic has no such view; for others, subscribe to it.");
  const auto message = latest_.Ask(topic, variant);
  if (message == nullptr && latest_.IsTooLarge(topic, variant))
    return ErrorAnswer(404, "too_large", "The topic's messages are too large to be kept; subscribe, with a filter.");
  if (message == nullptr)
    return ErrorAnswer(404, "nothing_yet", "The topic has told nothing yet; its first message comes with a pass.");
  return JsonAnswer(StrictJson(message->text), Caching::kNoStore);
}

}  // namespace probe
