#include "monitor/engine/json_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <new>

#include "monitor/engine/json_tree.h"

namespace monitoring {
namespace {

/// Whether json-c writes an octet as it is.
bool IsPlain(char octet) {
  constexpr unsigned char kFirstPrintable = 0x20;
  return static_cast<unsigned char>(octet) >= kFirstPrintable && octet != '"' && octet != '\\' && octet != '/';
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
  const JsonTree tree = NewText(std::string(value));
  const char* quoted = json_object_to_json_string(tree.get());
  if (tree == nullptr || quoted == nullptr) throw std::bad_alloc();
  text += quoted;
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
