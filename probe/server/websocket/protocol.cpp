#include "probe/server/websocket/protocol.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "probe/server/websocket/json_sax_defaults.h"
#include "probe/text/utf8.h"

namespace probe {
namespace {

using nlohmann::json;

/// Reads JSON for nothing but its nesting. Gives up at the first bracket too many.
class DepthGauge final : public SilentEvents {
 public:
  explicit DepthGauge(std::size_t max_depth) : max_depth_(max_depth) {}
  bool is_too_deep() const { return is_too_deep_; }

  bool start_object(std::size_t) override { return Enter(); }
  bool start_array(std::size_t) override { return Enter(); }
  bool end_object() override { return Leave(); }
  bool end_array() override { return Leave(); }

 private:
  bool Enter() {
    is_too_deep_ = ++depth_ > max_depth_;
    return !is_too_deep_;
  }
  bool Leave() {
    --depth_;
    return true;
  }

  std::size_t max_depth_;
  std::size_t depth_ = 0;
  bool is_too_deep_ = false;
};

/// JSON text of a value. What cannot be written is replaced, so it never throws for its content.
std::string Dump(const json& value) {
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

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
  DepthGauge gauge(max_depth);
  // the parser takes a NUL for the end of the text
  const bool is_json = json::sax_parse(text, &gauge) && text.find('\0') == std::string_view::npos;
  if (gauge.is_too_deep())
    return ProtocolError{error_code::kTooDeep,
                         "The message is nested deeper than " + LimitText("message_depth", max_depth) + " allows."};
  // A text may pass the gauge and fail here: a number may be too great to be kept.
  const json message = is_json ? json::parse(text, nullptr, false) : json(json::value_t::discarded);
  if (message.is_discarded()) return ProtocolError{error_code::kMalformed, "The message is not JSON."};
  return ReadRequest(message);
}

std::string LimitText(const char* key, std::size_t value) {
  return std::string("limits.") + key + " = " + std::to_string(value);
}

std::string SubscribedText(const std::string& topic, const std::vector<std::string>& sids) {
  return Dump({{"subscribed", {{"topic", topic}, {"sids", sids}}}});
}

std::string UnsubscribedText(const std::string& topic, const std::string& sid) {
  return Dump({{"unsubscribed", {{"topic", topic}, {"sid", sid}}}});
}

std::string ErrorText(const ProtocolError& error) {
  return Dump({{"error", {{"code", error.code}, {"message", error.message}}}});
}

}  // namespace probe
