#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace probe {

/// Why a text is refused as JSON.
struct JsonError {
  enum class Reason {
    kSyntax,           ///< It is not JSON, or not UTF-8, or something stands behind its value.
    kNumberTooLarge,   ///< A number fits no type.
    kTooDeep,          ///< More objects and arrays within one another than `JsonRules::max_depth`.
    kDuplicateMember,  ///< An object has two members of one name.
  };

  Reason reason = Reason::kSyntax;
  std::size_t octet = 0;  ///< Of `kSyntax`: the octet at which reading stopped, counted from 1.
  std::string member;     ///< Of `kDuplicateMember`: the name.
};

/// What a text must keep to, besides being JSON.
struct JsonRules {
  std::size_t max_depth = 0;             ///< Objects and arrays within one another.
  bool allows_duplicate_members = true;  ///< The last of a name counts then.
};

/// Reads a JSON text from whomever it comes. Nesting is counted without recursion, so a text of nothing but brackets
/// costs no stack; a NUL behind the value is refused like anything else.
///
/// `Json` is `nlohmann::json` (members sorted) or `nlohmann::ordered_json` (in the order of the text).
/// Fails:  the first reason met; `value` holds what was read up to there.
/// Source: RFC 8259.
template <typename Json>
std::optional<JsonError> ReadJson(std::string_view text, const JsonRules& rules, Json& value);

/// JSON text of a value, on one line. What is not UTF-8 in it becomes U+FFFD, so it never throws for its content.
std::string Dump(const nlohmann::json& value);
std::string Dump(const nlohmann::ordered_json& value);

/// Appends a text, which is valid UTF-8, as a JSON string, as `Dump` writes it.
void AppendJsonString(std::string& json, std::string_view text);

/// The error object of the HTTP interface and of the websocket: `{"error":{"code":CODE,"message":MESSAGE}}`.
std::string ErrorText(const std::string& code, const std::string& message);

}  // namespace probe
