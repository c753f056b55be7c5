#include "probe/text/json_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace probe {
namespace {

/// Builds the value of a text, and stops at the first thing that the rules refuse.
template <typename Json>
class Builder final : public nlohmann::json_sax<Json> {
  using Base = nlohmann::json_sax<Json>;

 public:
  Builder(const JsonRules& rules, Json& root) : rules_(rules), root_(root) {}

  const std::optional<JsonError>& error() const { return error_; }

  bool null() override { return Add(nullptr); }
  bool boolean(bool value) override { return Add(value); }
  bool number_integer(typename Base::number_integer_t value) override { return Add(value); }
  bool number_unsigned(typename Base::number_unsigned_t value) override { return Add(value); }
  bool number_float(typename Base::number_float_t value, const std::string& /*text*/) override { return Add(value); }
  bool string(std::string& value) override { return Add(std::move(value)); }
  bool binary(typename Base::binary_t& value) override { return Add(Json::binary(std::move(value))); }
  bool start_object(std::size_t /*members*/) override { return Open(Json::object()); }
  bool start_array(std::size_t /*elements*/) override { return Open(Json::array()); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  bool key(std::string& name) override {
    const auto [member, is_new] = open_.back()->template get_ref<typename Json::object_t&>().emplace(name, nullptr);
    if (!is_new && !rules_.allows_duplicate_members)
      return Refuse({JsonError::Reason::kDuplicateMember, 0, std::move(name)});
    member_ = &member->second;
    return true;
  }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& error) override {
    // A number beyond the range of double is the one failure that is no parse error.
    const auto* syntax = dynamic_cast<const typename Json::parse_error*>(&error);
    if (syntax == nullptr) return Refuse({JsonError::Reason::kNumberTooLarge, 0, {}});
    return Refuse({JsonError::Reason::kSyntax, syntax->byte, {}});
  }

 private:
  /// Ends the reading, as `false` from any of the operations above does.
  bool Refuse(JsonError error) {
    error_ = std::move(error);
    return false;
  }

  bool Add(Json value) {
    Place(std::move(value));
    return true;
  }

  bool Open(Json value) {
    if (open_.size() == rules_.max_depth) return Refuse({JsonError::Reason::kTooDeep, 0, {}});
    open_.push_back(&Place(std::move(value)));
    return true;
  }

  bool Close() {
    open_.pop_back();
    return true;
  }

  /// Puts a value where the next one belongs. It stays there for as long as it is open itself.
  /// Only the innermost object or array grows, so no value that is still open is moved.
  Json& Place(Json value) {
    if (open_.empty()) return root_ = std::move(value);
    if (open_.back()->is_object()) return *member_ = std::move(value);
    return open_.back()->emplace_back(std::move(value));
  }

  const JsonRules& rules_;
  Json& root_;
  std::optional<JsonError> error_;
  std::vector<Json*> open_;  // objects and arrays, each within the one before
  Json* member_ = nullptr;   // of the innermost object, whose value comes next
};

template <typename Json>
std::string DumpOnOneLine(const Json& value) {
  constexpr int kOneLine = -1;
  return value.dump(kOneLine, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

template <typename Json>
std::optional<JsonError> ReadJson(std::string_view text, const JsonRules& rules, Json& value) {
  Builder<Json> builder(rules, value);
  Json::sax_parse(text, &builder);
  if (builder.error()) return builder.error();
  const auto nul = text.find('\0');  // which the parser takes for the end of the text
  if (nul != std::string_view::npos) return JsonError{JsonError::Reason::kSyntax, nul + 1, {}};
  return std::nullopt;
}

template std::optional<JsonError> ReadJson(std::string_view, const JsonRules&, nlohmann::json&);
template std::optional<JsonError> ReadJson(std::string_view, const JsonRules&, nlohmann::ordered_json&);

std::string Dump(const nlohmann::json& value) {
  return DumpOnOneLine(value);
}

std::string Dump(const nlohmann::ordered_json& value) {
  return DumpOnOneLine(value);
}

void AppendJsonString(std::string& json, std::string_view text) {
  const auto is_control = [](char octet) { return static_cast<unsigned char>(octet) < 0x20; };
  if (std::any_of(text.begin(), text.end(), is_control)) {
    json += Dump(nlohmann::json(text));
    return;
  }
  // At most every octet is escaped. Without a branch, because a message has a quote at every few octets.
  const std::size_t begin = json.size();
  json.resize(begin + 2 * text.size() + 2);
  char* end = json.data() + begin;
  *end++ = '"';
  for (const char octet : text) {
    *end = '\\';
    end += octet == '"' || octet == '\\' ? 1 : 0;
    *end++ = octet;
  }
  *end++ = '"';
  json.resize(static_cast<std::size_t>(end - json.data()));
}

std::string ErrorText(const std::string& code, const std::string& message) {
  return Dump(nlohmann::json{{"error", {{"code", code}, {"message", message}}}});
}

}  // namespace probe
