#include "probe/uplink/site_answers.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "platform/topics.h"
#include "probe/api/plugin_calls.h"
#include "probe/host/log.h"
#include "probe/server/http/http_message.h"
#include "probe/text/json_text.h"
#include "probe/uplink/pass_collector.h"

namespace probe::uplink {
namespace {

using nlohmann::json;

constexpr unsigned kOk = 200;
constexpr unsigned kInternalError = 500;

SiteReply OfTopic(std::string topic, std::string text) {
  return {{{kTopicHeader, std::move(topic)}}, std::move(text)};
}

SiteReply OfHttp(const HttpAnswer& answer) {
  SiteReply reply{{{kStatusHeader, std::to_string(answer.status)}, {kContentTypeHeader, answer.content_type}},
                  *answer.body};
  if (answer.is_gzip) reply.headers.emplace_back(kGzipHeader, "1");
  for (const auto& [name, value] : answer.headers) reply.headers.emplace_back(kHeaderPrefix + name, value);
  return reply;
}

/// A member that is a text; empty: there is none.
std::string TextIn(const json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::string DailyRequest(const std::string& day) {
  return json{{"report_type", monitoring::kDaily}, {"period", day}}.dump();
}

/// What is asked for by HTTP; nothing: it is no such request, or for what is no concern of a centre's.
std::optional<HttpRequest> ForwardedRequest(const json& wanted) {
  HttpRequest request;
  request.path = TextIn(wanted, "path");
  if (!IsForwarded(request.path)) return std::nullopt;
  request.accepts_gzip = wanted.value("gzip", json()) == true;
  const json arguments = wanted.value("arguments", json::object());
  if (!arguments.is_object()) return std::nullopt;
  for (const auto& [name, value] : arguments.items()) {
    if (!value.is_string()) return std::nullopt;
    request.arguments[name] = value.get<std::string>();
  }
  return request;
}

}  // namespace

const std::map<std::string, std::string>& PageTexts() {
  static const std::map<std::string, std::string> texts{{"clients", "/api/v1/clients"},
                                                        {"devices", "/api/v1/devices"},
                                                        {"notifications", "/api/v1/notifications"},
                                                        {"status", "/api/v1/status"}};
  return texts;
}

std::vector<SiteReply> SiteAnswers::To(const SiteRequest& request, const NewestTexts& newest) const {
  if (request.what == "newest") {
    std::vector<SiteReply> replies;
    replies.reserve(newest.size() + 1);
    for (const auto& [topic, message] : newest) replies.push_back(OfTopic(topic, message->text));
    replies.push_back(OfTopic("", ""));
    return replies;
  }
  // A deep one would take a deep stack.
  const bool is_small = request.text.size() <= kMaxRequestBytes;
  json wanted = json::parse(is_small ? request.text : std::string(), nullptr, false);
  if (!wanted.is_object()) wanted = json::object();
  if (request.what == "report") return {Report(wanted)};
  if (request.what == "http") return {Http(wanted)};
  if (request.what == "message") return {Message(wanted)};
  return {};
}

SiteReply SiteAnswers::Report(const json& wanted) const {
  const auto found = site_.reports.find(TextIn(wanted, "report"));
  if (found == site_.reports.end()) return OfTopic("", R"({"error":"report must be the name of a report"})");
  const ReportCalls& calls = found->second;
  return OfTopic(found->first,
                 wanted.contains("request") ? calls.read_report(Dump(wanted["request"])) : calls.periods());
}

HttpAnswer SiteAnswers::AnswerTo(const HttpRequest& request) const try {
  return site_.answer(request);
} catch (const std::exception& failure) {
  // What cannot be shown must hold up neither passes nor whoever asks.
  log::Error("[Uplink] %s could not be answered: %s", request.path.c_str(), failure.what());
  return ErrorAnswer(kInternalError, "internal_error", "The probe could not answer; its log says why.");
}

SiteReply SiteAnswers::Http(const json& wanted) const {
  const auto request = ForwardedRequest(wanted);
  if (!request || !site_.answer)
    return OfHttp(
        ErrorAnswer(400, "bad_request",
                    "\"path\" must begin with /api/v1/ or be /metrics, and each of \"arguments\" must be a text."));
  HttpAnswer answer = AnswerTo(*request);
  Compress(*request, answer);
  return OfHttp(answer);
}

SiteReply SiteAnswers::Message(const json& wanted) const {
  const std::string topic = TextIn(wanted, "topic");
  if (!site_.message) return OfTopic(topic, "");
  return OfTopic(topic, site_.message(topic, Dump(wanted.value("filter", json::object()))));
}

std::vector<SpooledMessage> SiteAnswers::ReportsOf(const std::string& day, time_t at) const {
  std::vector<SpooledMessage> messages;
  for (const auto& [name, calls] : site_.reports) {
    const auto periods = json::parse(calls.periods(), nullptr, false);
    const auto days = periods.is_object() ? periods.value(monitoring::kDaily, json()) : json();
    if (std::find(days.begin(), days.end(), json(day)) == days.end()) continue;
    messages.push_back({0, name, day, at, calls.read_report(DailyRequest(day))});
  }
  return messages;
}

std::vector<SpooledMessage> SiteAnswers::PagesOf(time_t at) const {
  std::vector<SpooledMessage> messages;
  if (!site_.answer) return messages;
  for (const auto& [topic, path] : PageTexts()) {
    HttpRequest request;
    request.path = path;
    const HttpAnswer answer = AnswerTo(request);
    if (answer.status == kOk) messages.push_back({0, topic, IdOfTime(at), at, *answer.body});
  }
  return messages;
}

}  // namespace probe::uplink
