#include "probe/text/utf8.h"

#include <utf8.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

namespace probe {
namespace {

/// Line ends, control characters and bidirectional controls, which could forge or hide log lines.
/// Source: Unicode 15, general categories Cc, Zl and Zp, and property Bidi_Control.
bool IsEscaped(char32_t character) {
  const auto is_within = [character](char32_t first, char32_t last) { return first <= character && character <= last; };
  return is_within(0x00, 0x1f) || is_within(0x7f, 0x9f) || is_within(0x200e, 0x200f) || is_within(0x2028, 0x202e) ||
         is_within(0x2066, 0x2069) || character == 0x061c;
}

/// Whether no octet has its top bit set. Most texts are so, and this is read eight octets at a time.
bool IsAscii(std::string_view text) {
  std::uint64_t bits = 0;
  while (text.size() >= sizeof bits) {
    std::uint64_t octets = 0;
    // Copied, for a text may begin at any address.
    std::memcpy(&octets, text.data(), sizeof octets);
    bits |= octets;
    text.remove_prefix(sizeof octets);
  }
  for (const char octet : text) bits |= static_cast<unsigned char>(octet);
  constexpr std::uint64_t kTopBits = 0x8080808080808080;
  return (bits & kTopBits) == 0;
}

std::string Escape(const char* format, unsigned character) {
  std::array<char, 12> escaped{};
  std::snprintf(escaped.data(), escaped.size(), format, character);
  return escaped.data();
}

/// `text` as valid UTF-8, with what `replace` makes of each character that must not reach a terminal or a log.
template <typename Replace>
std::string WithoutControls(std::string_view text, Replace replace) {
  const std::string valid = ReplaceInvalidUtf8(std::string(text));
  std::string printable;
  printable.reserve(valid.size());
  for (auto place = valid.begin(); place != valid.end();) {
    const char32_t character = utf8::next(place, valid.end());
    if (IsEscaped(character)) {
      printable += replace(static_cast<unsigned>(character));
    } else {
      utf8::append(character, std::back_inserter(printable));
    }
  }
  return printable;
}

}  // namespace

bool IsUtf8(std::string_view text) {
  return IsAscii(text) || utf8::is_valid(text.begin(), text.end());
}

std::string ReplaceInvalidUtf8(std::string text) {
  if (IsUtf8(text)) return text;
  std::string valid;
  valid.reserve(text.size() + 16);
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid));
  return valid;
}

std::string PrintableLine(std::string_view text) {
  return WithoutControls(text, [](unsigned character) {
    return character < 0x100 ? Escape("\\x%02x", character) : Escape("\\u%04x", character);
  });
}

std::string PrintableJson(std::string_view json) {
  return WithoutControls(json, [](unsigned character) {
    // JSON has these three between its tokens only, where a blank means the same; in a string they stand escaped.
    const bool is_blank = character == '\t' || character == '\n' || character == '\r';
    return is_blank ? std::string(" ") : Escape("\\u%04x", character);
  });
}

}  // namespace probe
