#include "probe/server/websocket/protocol.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "probe/text/json_text.h"
#include "probe/text/utf8.h"

namespace probe {
namespace {

using nlohmann::json;

/// What a member holds, as the text by which the plug-in knows a SID.
std::string AsText(const json& value) {
  return value.is_string() ? value.get<std::string>() : Dump(value);
}

/// SID -> filter. As for the plug-in, the last element of a SID counts, and an element without one has the empty SID.
std::map<std::string, std::string> FiltersIn(const json& request) {
  std::map<std::string, std::string> filters;
  for (const json& element : request) {
    std::string sid;
    std::string filter = "null";
    if (element.is_object()) {
      if (const auto member = element.find("sid"); member != element.end() && !member->is_null()) sid = AsText(*member);
      if (const auto member = element.find("filter"); member != element.end()) filter = Dump(*member);
    }
    filters[sid] = filter;
  }
  return filters;
}

ProtocolError Invalid(const char* message) {
  return {error_code::kInvalidMessage, message};
}

/// Whether `body` has no member but these two.
bool HasOnly(const json& body, const char* first, const char* second) {
  return body.size() == body.count(first) + body.count(second);
}

/// The text under a key; nothing when it is missing or no text.
std::optional<std::string> TextUnder(const json& body, const char* key) {
  const auto member = body.find(key);
  if (member == body.end() || !member->is_string()) return std::nullopt;
  return member->get<std::string>();
}

ClientMessage ReadSubscribe(const json& body) {
  if (!body.is_object() || !HasOnly(body, "topic", "request"))
    return Invalid(R"("subscribe" must hold an object of "topic" and "request", and nothing else.)");
  auto topic = TextUnder(body, "topic");
  if (!topic) return Invalid(R"("topic" must be a text.)");
  SubscribeRequest subscribe{std::move(*topic), {}, {}};
  const auto request = body.find("request");
  if (request == body.end() || request->is_null()) return subscribe;
  if (!request->is_array()) return Invalid(R"("request" must be an array of objects with "sid" and "filter".)");
  subscribe.request = Dump(*request);
  subscribe.filters = FiltersIn(*request);
  return subscribe;
}

ClientMessage ReadUnsubscribe(const json& body) {
  if (!body.is_object() || !HasOnly(body, "topic", "sid"))
    return Invalid(R"("unsubscribe" must hold an object of "topic" and "sid", and nothing else.)");
  auto topic = TextUnder(body, "topic");
  auto sid = TextUnder(body, "sid");
  if (!topic || !sid) return Invalid(R"("topic" and "sid" must be texts.)");
  return UnsubscribeRequest{std::move(*topic), std::move(*sid)};
}

ClientMessage ReadRequest(const json& message) {
  const bool is_one_member = message.is_object() && message.size() == 1;
  if (is_one_member && message.contains("subscribe")) return ReadSubscribe(message["subscribe"]);
  if (is_one_member && message.contains("unsubscribe")) return ReadUnsubscribe(message["unsubscribe"]);
  return ProtocolError{error_code::kUnknownMessage,
                       R"(A message is an object with one member, "subscribe" or "unsubscribe".)"};
}

}  // namespace

ClientMessage ReadClientMessage(std::string_view text, std::size_t max_depth) {
  if (!IsUtf8(text)) return ProtocolError{error_code::kNotUtf8, "The message is not UTF-8."};
  json message;
  const auto error = ReadJson(text, {.max_depth = max_depth, .allows_duplicate_members = true}, message);
  if (!error) return ReadRequest(message);
  if (error->reason == JsonError::Reason::kTooDeep)
    return ProtocolError{error_code::kTooDeep,
                         "The message is nested deeper than " + LimitText("message_depth", max_depth) + " allows."};
  return ProtocolError{error_code::kMalformed, "The message is not JSON."};
}

std::string LimitText(const char* key, std::size_t value) {
  return std::string("limits.") + key + " = " + std::to_string(value);
}

std::string SubscribedText(const std::string& topic, const std::vector<std::string>& sids) {
  return Dump(json{{"subscribed", {{"topic", topic}, {"sids", sids}}}});
}

std::string UnsubscribedText(const std::string& topic, const std::string& sid) {
  return Dump(json{{"unsubscribed", {{"topic", topic}, {"sid", sid}}}});
}

std::string ErrorText(const ProtocolError& error) {
  return ErrorText(error.code, error.message);
}

}  // namespace probe
