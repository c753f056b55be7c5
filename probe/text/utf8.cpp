#include "probe/text/utf8.h"

#include <utf8.h>

#include <array>
#include <cstdio>
#include <iterator>
#include <utility>

namespace probe {

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
  std::string line;
  line.reserve(text.size());
  for (const char character : text) {
    const auto octet = static_cast<unsigned char>(character);
    if (octet >= 0x20 && octet != 0x7f) {
      line += character;
      continue;
    }
    std::array<char, 5> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "\\x%02x", octet);
    line += escaped.data();
  }
  return ReplaceInvalidUtf8(std::move(line));
}

}  // namespace probe
