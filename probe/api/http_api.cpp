#include "probe/api/http_api.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/topics.h"
#include "probe/api/device_answers.h"
#include "probe/api/device_argument.h"
#include "probe/api/documents.h"
#include "probe/api/neighbours_answer.h"
#include "probe/clock/clock.h"
#include "probe/clock/pass_timer.h"
#include "probe/text/json_text.h"
#include "probe/text/strict_json.h"

namespace probe {
namespace {

using nlohmann::ordered_json;

constexpr std::string_view kApi = "/api/";
constexpr std::string_view kVersionedApi = "/api/v1/";

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
  return {{"name", name}, {"offset", OffsetAt(now)}};
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

HttpAnswer NothingYet() {
  return ErrorAnswer(404, "nothing_yet", "The topic has told nothing yet; its first message comes with a pass.");
}

/// Leaves one interface in a message of TrafficMonitor. False: it is not there.
bool KeepInterface(const std::string& view, const std::string& mac, const std::string& interface,
                   ordered_json& message) {
  const ordered_json::json_pointer place("/data/" + view + "/traffic_data/" + mac);
  if (!message.contains(place) || !message[place].contains(interface)) return false;
  message[place] = {{interface, message[place][interface]}};
  return true;
}

}  // namespace

HttpApi::HttpApi(ProbeFacts facts, PluginCalls plugin, DeviceCentre& centre, LatestMessages& latest, PageFiles pages,
                 PollStatuses polls, HistorySource history, PassSource passes, MetricsSource metrics)
    : facts_(std::move(facts)),
      plugin_(std::move(plugin)),
      centre_(centre),
      latest_(latest),
      pages_(std::move(pages)),
      polls_(std::move(polls)),
      history_(std::move(history)),
      passes_(std::move(passes)),
      metrics_(std::move(metrics)) {}

std::span<const HttpApi::Route> HttpApi::Routes() {
  using Api = const HttpApi&;
  using Request = const HttpRequest&;
  using Parameter = const std::string&;
  static constexpr std::array kRoutes{
      Route{"/healthz", Access::kPublic, [](Api api, Request, Parameter) { return api.Health(); }},
      Route{"/metrics", Access::kToken, [](Api api, Request request, Parameter) { return api.Metrics(request); }},
      Route{"/api/v1/", Access::kToken, [](Api api, Request, Parameter) { return api.Index(); }},
      Route{"/api/v1/openapi.json", Access::kToken, [](Api, Request, Parameter) { return Document("openapi.json"); }},
      Route{"/api/v1/schemas/{name}", Access::kToken,
            [](Api, Request, Parameter name) { return Document("schemas/" + name); }},
      Route{"/api/v1/session", Access::kToken, [](Api, Request, Parameter) { return Session(); }},
      Route{"/api/v1/status", Access::kToken, [](Api api, Request, Parameter) { return api.Status(); }},
      Route{"/api/v1/devices", Access::kToken,
            [](Api api, Request request, Parameter) { return DevicesAnswer(api.centre_, api.polls_, request); }},
      Route{"/api/v1/notifications", Access::kToken,
            [](Api api, Request request, Parameter) { return NotificationsAnswer(api.centre_, request); }},
      Route{"/api/v1/clients", Access::kToken,
            [](Api api, Request request, Parameter) { return ClientsAnswer(api.centre_, request); }},
      Route{"/api/v1/radios", Access::kToken,
            [](Api api, Request request, Parameter) { return RadiosAnswer(api.centre_, request); }},
      Route{"/api/v1/neighbours", Access::kToken,
            [](Api api, Request request, Parameter) { return NeighboursAnswer(api.centre_, request); }},
      Route{"/api/v1/ports", Access::kToken,
            [](Api api, Request request, Parameter) { return PortsAnswer(api.centre_, api.plugin_, request); }},
      Route{"/api/v1/traffic", Access::kToken,
            [](Api api, Request request, Parameter) {
              return InterfaceTrafficAnswer(api.centre_, api.plugin_, request);
            }},
      Route{"/api/v1/live/{topic}", Access::kToken,
            [](Api api, Request request, Parameter topic) { return api.Live(request, topic); }},
      Route{"/api/v1/reports/clients", Access::kToken,
            [](Api api, Request request, Parameter) {
              return ReportAnswer(api.plugin_.clients, request, api.facts_.zone);
            }},
      Route{"/api/v1/reports/clients/periods", Access::kToken,
            [](Api api, Request, Parameter) { return PeriodsAnswer(api.plugin_.clients, api.facts_.zone); }},
      Route{"/api/v1/reports/networks", Access::kToken,
            [](Api api, Request request, Parameter) {
              return ReportAnswer(api.plugin_.networks, request, api.facts_.zone);
            }},
      Route{"/api/v1/reports/networks/periods", Access::kToken,
            [](Api api, Request, Parameter) { return PeriodsAnswer(api.plugin_.networks, api.facts_.zone); }}};
  return kRoutes;
}

HttpApi::FoundRoute HttpApi::FindRoute(const std::string& path) {
  // What the interface was called before it had versions.
  const bool has_version = !path.starts_with(kApi) || path.starts_with(kVersionedApi);
  const std::string wanted = has_version ? path : std::string(kVersionedApi) + path.substr(kApi.size());
  for (const Route& route : Routes()) {
    if (wanted == route.path) return {&route, {}};
    // A parameter takes all that is left of the path, slashes too; nothing that is named so has one.
    const std::string_view before = route.path.substr(0, route.path.find('{'));
    if (before.size() < route.path.size() && wanted.starts_with(before)) return {&route, wanted.substr(before.size())};
  }
  return {};
}

Access HttpApi::LookUp(const std::string& path) const {
  if (const FoundRoute found = FindRoute(path); found.route != nullptr) return found.route->access;
  // What is not there is guarded, too: without the token nobody learns which paths there are.
  if (path.starts_with(kApi)) return Access::kToken;
  // Without a dashboard a browser is told so.
  return pages_.Has(path) || path == "/" ? Access::kPublic : Access::kNotFound;
}

HttpAnswer HttpApi::Answer(const HttpRequest& request) const {
  if (const FoundRoute found = FindRoute(request.path); found.route != nullptr)
    return found.route->answer(*this, request, found.parameter);
  if (pages_.Has(request.path)) return pages_.Answer(request);
  if (request.path == "/")
    return ErrorAnswer(
        503, "no_dashboard",
        "No dashboard is installed here, and the probe's log says where one is looked for. The websocket "
        "is at this address, the HTTP interface at /api/v1/.");
  return ErrorAnswer(404, "not_found", "There is nothing at this path; /api/v1/ names what there is.");
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

HttpAnswer HttpApi::Metrics(const HttpRequest& request) const {
  if (!metrics_) return ErrorAnswer(404, "not_found", "This probe has no metrics.");
  return metrics_(request);
}

HttpAnswer HttpApi::Session() {
  HttpAnswer answer = JsonAnswer(ordered_json{{"session", "open"}}.dump(), Caching::kNoStore);
  answer.opens_session = true;
  return answer;
}

HttpAnswer HttpApi::Document(const std::string& name) {
  const auto found = Documents().find(name);
  if (found == Documents().end())
    return ErrorAnswer(404, "unknown_schema",
                       "There is no such schema; /api/v1/openapi.json refers to those that there are.");
  return JsonAnswer(found->second, Caching::kRevalidate);
}

HttpAnswer HttpApi::Live(const HttpRequest& request, const std::string& topic) const {
  const auto given = Argument(request, VariantArgument(topic));
  const std::string variant = given.value_or(DefaultVariant(topic));
  // There are no standard filters of an unknown topic, whatever the default that it is given.
  if (!IsStandard(topic, DefaultVariant(topic)))
    return ErrorAnswer(404, "unknown_topic", "There is no such live topic.");
  if (!IsStandard(topic, variant))
    return ErrorAnswer(400, "unknown_filter", "The topic has no such view; for others, subscribe to it.");
  if (Argument(request, "mac") || Argument(request, "interface")) return LiveOfDevice(request, topic, variant);
  const auto message = latest_.Ask(topic, variant);
  if (message == nullptr && latest_.IsTooLarge(topic, variant))
    return ErrorAnswer(404, "too_large",
                       "The topic's messages are too large to be kept; ask for one device by \"mac\".");
  if (message == nullptr) return NothingYet();
  return JsonAnswer(StrictJson(message->text), Caching::kNoStore);
}

HttpAnswer HttpApi::LiveOfDevice(const HttpRequest& request, const std::string& topic,
                                 const std::string& variant) const {
  const auto interface = Argument(request, "interface");
  if (topic == monitoring::kWirelessTopMonitor)
    return ErrorAnswer(400, "unknown_filter", "The rankings are over all devices: \"mac\" is not allowed here.");
  if (interface && topic != monitoring::kTrafficMonitor)
    return ErrorAnswer(400, "unknown_filter", "\"interface\" is allowed for TrafficMonitor only.");
  const DeviceArgument device = RequiredDeviceOf(centre_, request);
  if (device.error) return *device.error;
  const std::string text = latest_.AskForDevice(topic, variant, device.mac);
  if (text.empty()) return NothingYet();
  if (!interface) return JsonAnswer(StrictJson(text), Caching::kNoStore);
  auto message = ordered_json::parse(StrictJson(text), nullptr, false);
  return KeepInterface(variant, device.mac, *interface, message)
             ? JsonAnswer(Dump(message), Caching::kNoStore)
             : ErrorAnswer(404, "unknown_interface", "No traffic of such an interface is known.");
}

}  // namespace probe
