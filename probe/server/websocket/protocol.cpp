#include "probe/server/websocket/protocol.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "probe/server/net/server_settings.h"
#include "probe/text/json_text.h"

namespace probe {
namespace {

using nlohmann::json;

/// The same value as a tree of the contract's library, as if it had read the text. No deeper than messages may be.
json_object* TreeOf(const json& value) {
  switch (value.type()) {
    case json::value_t::object: {
      json_object* const object = json_object_new_object();
      for (const auto& [key, member] : value.items()) json_object_object_add(object, key.c_str(), TreeOf(member));
      return object;
    }
    case json::value_t::array: {
      json_object* const array = json_object_new_array_ext(static_cast<int>(value.size()));
      for (const json& element : value) json_object_array_add(array, TreeOf(element));
      return array;
    }
    case json::value_t::string: {
      const auto& text = value.get_ref<const std::string&>();
      return json_object_new_string_len(text.data(), static_cast<int>(text.size()));
    }
    case json::value_t::boolean:
      return json_object_new_boolean(value.get<bool>() ? 1 : 0);
    case json::value_t::number_integer:
      return json_object_new_int64(value.get<std::int64_t>());
    case json::value_t::number_unsigned:
      return value.get<std::uint64_t>() <= std::uint64_t{INT64_MAX}
                 ? json_object_new_int64(value.get<std::int64_t>())
                 : json_object_new_uint64(value.get<std::uint64_t>());
    case json::value_t::number_float:
      return json_object_new_double_s(value.get<double>(), Dump(value).c_str());
    default:
      return nullptr;  // which stands for null there
  }
}

/// The SID of an element, by the contract's rule: the text of its member "sid", as the contract's library gives it.
std::string SidOf(json_object* element) {
  json_object* member = nullptr;
  if (json_object_is_type(element, json_type_object) != 0) json_object_object_get_ex(element, "sid", &member);
  const char* sid = json_object_get_string(member);
  return sid == nullptr ? std::string() : sid;
}

/// SID -> filter. As for the plug-in, the last element of a SID counts, and an element without one has the empty SID.
std::map<std::string, std::string> FiltersIn(const json& request, json_object* tree) {
  std::map<std::string, std::string> filters;
  for (std::size_t i = 0; i < request.size(); ++i) {
    const auto member = request[i].is_object() ? request[i].find("filter") : request[i].end();
    filters[SidOf(json_object_array_get_idx(tree, i))] = member == request[i].end() ? "null" : Dump(*member);
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
  SubscribeRequest subscribe{std::move(*topic), {}, {}, {}};
  const auto request = body.find("request");
  if (request == body.end() || request->is_null()) return subscribe;
  if (!request->is_array()) return Invalid(R"("request" must be an array of objects with "sid" and "filter".)");
  subscribe.request = Dump(*request);
  subscribe.tree = {TreeOf(*request), &json_object_put};
  subscribe.filters = FiltersIn(*request, subscribe.tree.get());
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
  json message;
  const auto error = ReadJson(text, {.max_depth = max_depth, .allows_duplicate_members = true}, message);
  if (!error) return ReadRequest(message);
  if (error->reason == JsonError::Reason::kTooDeep)
    return ProtocolError{error_code::kTooDeep,
                         "The message is nested deeper than " + LimitText("message_depth", max_depth) + " allows."};
  return ProtocolError{error_code::kMalformed, "The message is not JSON."};
}

std::optional<LoginRequest> ReadLogin(std::string_view text) {
  json message;
  if (ReadJson(text, {.max_depth = 1, .allows_duplicate_members = false}, message)) return std::nullopt;
  if (!message.is_object() || message.size() != 1) return std::nullopt;
  const auto token = message.find("token");
  if (token == message.end() || !token->is_string()) return std::nullopt;
  return LoginRequest{std::move(token->get_ref<std::string&>())};
}

std::string LoggedInText() {
  return Dump(json{{"logged_in", true}});
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
