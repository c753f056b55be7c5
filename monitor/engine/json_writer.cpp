#include "monitor/engine/json_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "monitor/engine/json_tree.h"

namespace monitoring {
namespace {

/// Whether json-c writes an octet as it is.
bool IsPlain(char octet) {
  constexpr unsigned char kFirstPrintable = 0x20;
  return static_cast<unsigned char>(octet) >= kFirstPrintable && octet != '"' && octet != '\\' && octet != '/';
}

/// Appends an octet of a JSON string, escaped as json-c does.
void AppendEscaped(std::string& text, char octet) {
  constexpr const char* kHexDigits = "0123456789abcdef";
  switch (octet) {
    case '\b':
      text += "\\b";
      return;
    case '\n':
      text += "\\n";
      return;
    case '\r':
      text += "\\r";
      return;
    case '\t':
      text += "\\t";
      return;
    case '\f':
      text += "\\f";
      return;
    case '"':
    case '\\':
    case '/':
      text.append(1, '\\').append(1, octet);
      return;
    default:
      break;
  }
  if (IsPlain(octet)) {
    text += octet;
    return;
  }
  const auto code = static_cast<unsigned char>(octet);
  text.append("\\u00").append(1, kHexDigits[code >> 4U]).append(1, kHexDigits[code & 0xFU]);
}

}  // namespace

void AppendInteger(std::string& text, std::int64_t value) {
  std::array<char, std::numeric_limits<std::int64_t>::digits10 + 2> digits{};  // one more digit, and the sign
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  text.append(digits.data(), end);
}

void AppendReal(std::string& text, double value) {
  if (!std::isfinite(value)) {
    text += std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
    return;
  }
  constexpr int kDigits = 17;
  std::array<char, 32> digits{};  // sign, point, exponent and all
  const auto [end, error] =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::general, kDigits);
  const std::string_view shown(digits.data(), static_cast<std::size_t>(end - digits.data()));
  text += shown;
  if (shown.find_first_of(".e") == std::string_view::npos) text += ".0";
}

void AppendQuoted(std::string& text, std::string_view value) {
  if (std::all_of(value.begin(), value.end(), IsPlain)) {
    text.append(1, '"').append(value).append(1, '"');
    return;
  }
  text += '"';
  for (const char octet : value) AppendEscaped(text, octet);
  text += '"';
}

namespace {

/// What json-c makes of a value that has a serialiser of its own, or is a real number.
void AppendSerialised(std::string& text, json_object* value) {
  std::size_t length = 0;
  const char* serialised = json_object_to_json_string_length(value, JSON_C_TO_STRING_SPACED, &length);
  if (serialised == nullptr) throw std::bad_alloc();
  text.append(serialised, length);
}

/// The same of a copy: json-c keeps the text in the value.
void AppendSerialisedCopy(std::string& text, json_object* value) {
  json_object* copied = nullptr;
  // json-c copies no value with a serialiser of the host's; such a one keeps its text.
  const bool is_copied = json_object_deep_copy(value, &copied, nullptr) == 0;
  const JsonTree copy(copied);
  AppendSerialised(text, is_copied ? copy.get() : value);
}

void AppendNumber(std::string& text, json_object* value) {
  const std::int64_t number = json_object_get_int64(value);
  if (number != std::numeric_limits<std::int64_t>::max()) {
    AppendInteger(text, number);
  } else {
    text += std::to_string(json_object_get_uint64(value));  // which may be greater
  }
}

void AppendObject(std::string& text, json_object* object, const SerialisedWriter& append_serialised) {
  text += '{';
  bool has_members = false;
  json_object_object_foreach(object, key, value) {
    text += std::exchange(has_members, true) ? ", " : " ";
    AppendQuoted(text, key);
    text += ": ";
    AppendTree(text, value, append_serialised);
  }
  text += " }";
}

void AppendArray(std::string& text, json_object* array, const SerialisedWriter& append_serialised) {
  ArrayWriter writer(text);
  for (std::size_t index = 0; index < json_object_array_length(array); ++index) {
    writer.Begin();
    AppendTree(text, json_object_array_get_idx(array, index), append_serialised);
  }
  writer.Close();
}

}  // namespace

void AppendTree(std::string& text, json_object* tree) {
  AppendTree(text, tree, &AppendSerialised);
}

void AppendTree(std::string& text, json_object* tree, const SerialisedWriter& append_serialised) {
  const json_type type = json_object_get_type(tree);
  // A real number that was parsed has one, too.
  const bool has_serialiser = tree != nullptr && type != json_type_double && json_object_get_userdata(tree) != nullptr;
  if (has_serialiser) return append_serialised(text, tree);
  switch (type) {
    case json_type_null:
      text += "null";
      return;
    case json_type_boolean:
      text += json_object_get_boolean(tree) != 0 ? "true" : "false";
      return;
    case json_type_int:
      return AppendNumber(text, tree);
    case json_type_double:
      return AppendSerialisedCopy(text, tree);
    case json_type_string:
      return AppendQuoted(text,
                          {json_object_get_string(tree), static_cast<std::size_t>(json_object_get_string_len(tree))});
    case json_type_object:
      return AppendObject(text, tree, append_serialised);
    case json_type_array:
      return AppendArray(text, tree, append_serialised);
  }
}

void ObjectWriter::Begin(const std::string& key) {
  Begin(key.c_str());
}

void ObjectWriter::Begin(const char* key) {
  text_ += value_ == 0 ? " " : ", ";
  const std::size_t at = text_.size();
  AppendQuoted(text_, key);
  const std::size_t size = text_.size() - at;
  if (value_ != 0 && text_.compare(at, size, text_, key_, key_size_) == 0) {
    text_.resize(value_);
    return;
  }
  text_ += ": ";
  key_ = at;
  key_size_ = size;
  value_ = text_.size();
}

}  // namespace monitoring
