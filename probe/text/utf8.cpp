#include "probe/text/utf8.h"

#include <utf8.h>

#include <array>
#include <cstdio>
#include <iterator>
#include <utility>

namespace probe {
namespace {

/// Characters that end a line, steer a terminal or turn the direction of what follows.
/// Source: Unicode 15, general categories Cc, Zl and Zp, and property Bidi_Control.
bool IsHarmful(char32_t character) {
  const auto is_within = [character](char32_t first, char32_t last) { return first <= character && character <= last; };
  return is_within(0x00, 0x1f) || is_within(0x7f, 0x9f) || is_within(0x200e, 0x200f) || is_within(0x2028, 0x202e) ||
         is_within(0x2066, 0x2069) || character == 0x061c;
}

}  // namespace

bool IsUtf8(std::string_view text) {
  return utf8::is_valid(text.begin(), text.end());
}

std::string ReplaceInvalidUtf8(std::string text) {
  if (IsUtf8(text)) return text;
  std::string valid;
  valid.reserve(text.size() + 16);
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid));
  return valid;
}

std::string PrintableLine(std::string_view text) {
  const std::string valid = ReplaceInvalidUtf8(std::string(text));
  std::string line;
  line.reserve(valid.size());
  for (auto place = valid.begin(); place != valid.end();) {
    const char32_t character = utf8::next(place, valid.end());
    if (!IsHarmful(character)) {
      utf8::append(character, std::back_inserter(line));
      continue;
    }
    std::array<char, 12> escaped{};
    std::snprintf(escaped.data(), escaped.size(), character < 0x100 ? "\\x%02x" : "\\u%04x",
                  static_cast<unsigned>(character));
    line += escaped.data();
  }
  return line;
}

}  // namespace probe
