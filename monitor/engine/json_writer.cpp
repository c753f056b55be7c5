#include "monitor/engine/json_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
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
  const std::string_view shown = key.c_str();
  if (value_ != 0 && shown == key_) {
    text_.resize(value_);
    return;
  }
  text_ += value_ == 0 ? " " : ", ";
  AppendQuoted(text_, shown);
  text_ += ": ";
  key_ = shown;
  value_ = text_.size();
}

}  // namespace monitoring
