#include "probe/centre/site_answerer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <ctime>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>

#include "probe/api/answers.h"
#include "probe/api/latest_messages.h"
#include "probe/centre/site_json.h"
#include "probe/centre/site_text.h"
#include "probe/text/json_text.h"
#include "probe/text/strict_json.h"
#include "probe/uplink/pass_collector.h"
#include "probe/uplink/site_answers.h"

namespace probe::centre {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

using std::chrono::steady_clock;
using utilities::lock::lock_guard;

// A site that has not answered is not asked again for so long: each question would keep somebody waiting.
constexpr std::chrono::seconds kSilence{5};

constexpr std::string_view kLive = "/api/v1/live/";

// Source: the Prometheus documentation, "Exposition formats".
constexpr char kMetricsType[] = "text/plain; version=0.0.4; charset=utf-8";

// Of a probe; a site may say anything. `kMaxTime`: milliseconds since the epoch, in the year 5138.
constexpr std::int64_t kMaxSpeed = 3600;
constexpr std::int64_t kMaxTime = 100'000'000'000'000;

unsigned NumberIn(const std::string& text) {
  unsigned number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// Whether a text is the name of a time zone or an offset: in a head of HTTP a line end would begin another header.
bool IsOfZone(const std::string& value) {
  constexpr std::size_t kMost = 64;
  return value.size() <= kMost &&
         value.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/") == value.npos;
}

/// What a site answered, as far as a site may: the pages of others have the same origin, so that nothing of it may run,
/// set a cookie or lead elsewhere. JSON, and figures for Prometheus where they were asked for.
HttpAnswer AnswerIn(uplink::SiteReply reply, const HttpRequest& request) {
  static constexpr std::string_view kOwnHeaders = "vexora-";
  // Those of a probe's HTTP interface, but for what is between client and server: a token, a body left out.
  static constexpr std::array kStatuses{200U, 400U, 404U, 429U, 500U, 503U};
  constexpr unsigned kBadGateway = 502;
  const std::string prefix = std::string(uplink::kHeaderPrefix) + std::string(kOwnHeaders);
  HttpAnswer answer;
  answer.status = 0;
  for (const auto& [name, value] : reply.headers) {
    if (name == uplink::kStatusHeader) answer.status = NumberIn(value);
    if (name == uplink::kContentTypeHeader) answer.content_type = value;
    if (name == uplink::kGzipHeader) answer.is_gzip = true;
    if (name == prefix + "time-zone" || name == prefix + "utc-offset") {
      if (IsOfZone(value)) answer.headers.emplace_back(name.substr(prefix.size() - kOwnHeaders.size()), value);
    }
  }
  constexpr unsigned kTooLarge = 413;
  if (answer.status == kTooLarge)
    return ErrorAnswer(kBadGateway, "too_large", "The site's answer is larger than max_payload of the servers.");
  const bool is_json = answer.content_type == "application/json" || answer.content_type == "application/problem+json";
  const bool is_metrics = request.path == uplink::kMetricsPath && answer.content_type == kMetricsType;
  const bool is_known = std::find(kStatuses.begin(), kStatuses.end(), answer.status) != kStatuses.end();
  if (!is_known || !(is_json || is_metrics) || (answer.is_gzip && !request.accepts_gzip))
    return ErrorAnswer(kBadGateway, "bad_answer", "The site's answer is none that a site gives.");
  answer.body = std::make_shared<const std::string>(std::move(reply.text));
  return answer;
}

/// Whether a request is for the message of a topic that goes up.
bool IsForText(const std::string& topic, const HttpRequest& request) {
  const json filter = json::parse(FilterOfText(topic), nullptr, false);
  if (!filter.is_object()) return false;
  for (const auto& [name, value] : request.arguments) {
    const bool is_view = name == "interval" && filter.value("interval", json()) == json(value);
    const bool is_order = name == "orderby" && value == uplink::kOrderThatGoesUp;
    if (!value.empty() && !is_view && !is_order) return false;
  }
  // Without an argument it is for the topic's default, which may be another view.
  return !filter.contains("interval") || request.arguments.contains("interval");
}

}  // namespace

std::string FilterOfText(const std::string& topic) {
  for (const StandardFilter& filter : StandardFilters()) {
    if (filter.topic == topic && uplink::GoesUp(filter)) return filter.filter;
  }
  return {};
}

bool IsFilterOfText(const std::string& topic, const std::string& filter) {
  const std::string goes_up = FilterOfText(topic);
  return !goes_up.empty() && ReadSiteJson<json>(filter) == json::parse(goes_up);
}

std::string WithSids(const std::string& message, const std::vector<std::string>& sids) {
  auto tree = ReadSiteJson<ordered_json>(message);
  if (!tree.contains("data") || !tree["data"].is_object()) return message;
  auto& data = tree["data"];
  bool has_sids = data.contains("sid");
  if (has_sids) data["sid"] = sids;
  for (auto& [name, body] : data.items()) {
    if (has_sids || !body.is_object() || !body.contains("sid")) continue;
    body["sid"] = sids;
    has_sids = true;
  }
  return has_sids ? Dump(tree) : message;
}

bool SiteAnswerer::BeginAsking(const std::string& site) const {
  const auto now = steady_clock::now();
  const lock_guard held(lock_);
  Asked& asked = asked_[site];
  if (asked.silent_until && now < *asked.silent_until) return false;
  if (asked.questions >= kMaxQuestions || questions_ >= kMaxQuestionsToAll) return false;
  ++asked.questions;
  ++questions_;
  return true;
}

void SiteAnswerer::EndAsking(const std::string& site, bool has_answered) const {
  const lock_guard held(lock_);
  Asked& asked = asked_[site];
  --asked.questions;
  --questions_;
  ++(has_answered ? counts_.answered : counts_.unanswered);
  asked.silent_until.reset();
  if (!has_answered) asked.silent_until = steady_clock::now() + kSilence;
  if (has_answered && asked.questions == 0) asked_.erase(site);
}

std::optional<uplink::SiteReply> SiteAnswerer::Refuse() const {
  const lock_guard held(lock_);
  ++counts_.refused;
  return std::nullopt;
}

QuestionCounts SiteAnswerer::counts() const {
  const lock_guard held(lock_);
  QuestionCounts counts = counts_;
  counts.waiting = questions_;
  return counts;
}

std::optional<uplink::SiteReply> SiteAnswerer::Ask(const std::string& site, const std::string& what,
                                                   const json& request) const {
  const auto connection = connections_();
  if (connection == nullptr || !connection->IsConnected() || !BeginAsking(site)) return Refuse();
  std::optional<uplink::SiteReply> reply;
  try {
    reply = connection->Ask(site, what, Dump(request), patience_);
  } catch (...) {
    EndAsking(site, true);
    throw;
  }
  EndAsking(site, reply.has_value());
  return reply;
}

std::string SiteAnswerer::Status(const SiteText& text) const {
  // Its clock has gone on since, at its own pace.
  auto status = ReadSiteJson<ordered_json>(text.text);
  if (!status.contains("now") || !status["now"].is_number_integer()) return text.text;
  constexpr std::int64_t kMillisecond = 1'000'000;
  const auto now =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch());
  const std::int64_t age = std::max<std::int64_t>((now.count() - text.stored_at_ns) / kMillisecond, 0);
  const bool has_speed = status.contains("speed") && status["speed"].is_number_integer();
  const std::int64_t speed =
      has_speed ? std::clamp<std::int64_t>(status["speed"].get<std::int64_t>(), 1, kMaxSpeed) : 1;
  const auto then = std::clamp<std::int64_t>(status["now"].get<std::int64_t>(), 0, kMaxTime);
  status["now"] = then + std::min(age, kMaxTime / kMaxSpeed) * speed;
  return Dump(status);
}

std::shared_ptr<const HttpAnswer> SiteAnswerer::FromTexts(const std::string& site, const HttpRequest& request) const {
  const auto as_answer = [](std::string text) {
    return std::make_shared<const HttpAnswer>(JsonAnswer(std::move(text), Caching::kNoStore));
  };
  if (request.path.starts_with(kLive)) {
    const std::string topic = request.path.substr(kLive.size());
    const auto text = IsForText(topic, request) ? sites_.Find(site, topic) : nullptr;
    return text == nullptr ? nullptr : as_answer(StrictJson(text->text));
  }
  const bool is_for_all = std::all_of(request.arguments.begin(), request.arguments.end(),
                                      [](const auto& one) { return one.second.empty(); });
  for (const auto& [topic, path] : uplink::PageTexts()) {
    if (path != request.path || !is_for_all) continue;
    const auto text = sites_.Find(site, topic);
    return text == nullptr ? nullptr : as_answer(topic == "status" ? Status(*text) : text->text);
  }
  return nullptr;
}

HttpAnswer SiteAnswerer::Away(const std::string& site) const {
  constexpr unsigned kUnavailable = 503;
  const auto heard = sites_.Heard(site);
  return ErrorAnswer(kUnavailable, "site_away",
                     "The site does not answer. It was last heard at " + uplink::IdOfTime(heard.value_or(0)) +
                         ". What it sent then can be seen; all else has to come from the site itself.");
}

HttpAnswer SiteAnswerer::Http(const std::string& site, const HttpRequest& request) const {
  if (const auto known = FromTexts(site, request)) return *known;
  json arguments = json::object();
  for (const auto& [name, value] : request.arguments) arguments[name] = value;
  auto reply = Ask(site, "http", {{"path", request.path}, {"arguments", arguments}, {"gzip", request.accepts_gzip}});
  return reply ? AnswerIn(std::move(*reply), request) : Away(site);
}

std::string SiteAnswerer::Message(const std::string& site, const std::string& topic, const std::string& filter) const {
  if (IsFilterOfText(topic, filter)) {
    const auto text = sites_.Find(site, topic);
    return text == nullptr ? std::string() : text->text;
  }
  const auto reply = Ask(site, "message", {{"topic", topic}, {"filter", ReadSiteJson<json>(filter)}});
  return reply ? reply->text : std::string();
}

}  // namespace probe::centre
