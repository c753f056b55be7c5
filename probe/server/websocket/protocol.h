#pragma once

#include <json-c/json.h>

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace probe {

/// A client asks for the messages of a topic.
struct SubscribeRequest {
  std::string topic;
  std::string request;                         ///< The "request" array as JSON text; empty: the client sent none.
  std::shared_ptr<json_object> tree;           ///< The same as the tree that crosses the contract; null: none.
  std::map<std::string, std::string> filters;  ///< SID -> its filter, in one notation, so that equal ones are equal.
};

/// A client wants no more messages of one subscription.
struct UnsubscribeRequest {
  std::string topic;
  std::string sid;
};

/// A client shows the token, in its first message.
struct LoginRequest {
  std::string token;
};

/// Why a message of a client was refused.
struct ProtocolError {
  std::string code;     ///< One of the codes below: programs read it.
  std::string message;  ///< People read it. Holds nothing that the client sent.
};

namespace error_code {
inline constexpr char kNotText[] = "not_text";                          ///< A binary frame.
inline constexpr char kTooLarge[] = "too_large";                        ///< Over a limit in octets.
inline constexpr char kTooDeep[] = "too_deep";                          ///< Over limits.message_depth.
inline constexpr char kTooFast[] = "too_fast";                          ///< Over limits.messages_per_second.
inline constexpr char kMalformed[] = "malformed";                       ///< Not JSON.
inline constexpr char kUnknownMessage[] = "unknown_message";            ///< JSON, but none of the messages.
inline constexpr char kInvalidMessage[] = "invalid_message";            ///< The right message with a wrong content.
inline constexpr char kUnknownTopic[] = "unknown_topic";                ///< Nobody feeds the topic.
inline constexpr char kEmptyRequest[] = "empty_request";                ///< The request names no subscription.
inline constexpr char kUnknownSubscription[] = "unknown_subscription";  ///< Nothing to unsubscribe.
inline constexpr char kUnauthorized[] = "unauthorized";                 ///< No token, or a wrong one.
inline constexpr char kTooManySids[] = "too_many_sids";                 ///< Over limits.sids_per_connection.
inline constexpr char kTooManyFilters[] = "too_many_filters";           ///< Over limits.distinct_filters.
}  // namespace error_code

using ClientMessage = std::variant<SubscribeRequest, UnsubscribeRequest, ProtocolError>;

/// What one message of a client asks for.
///
/// `max_depth`: nesting of objects and arrays that is let through; it is counted without recursion, so a message of
/// nothing but brackets costs no stack.
/// Fails: never throws; what is no request is a `ProtocolError`.
ClientMessage ReadClientMessage(std::string_view text, std::size_t max_depth);

/// The token in the first message of a client that has not shown it yet; nothing: it is no such message.
std::optional<LoginRequest> ReadLogin(std::string_view text);

/// The server's answers, as they go over the wire.
std::string SubscribedText(const std::string& topic, const std::vector<std::string>& sids);
std::string UnsubscribedText(const std::string& topic, const std::string& sid);
std::string LoggedInText();
std::string ErrorText(const ProtocolError& error);

}  // namespace probe
