#include "probe/text/utf8.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
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

/// So many octets at the beginning have no top bit set; all but the last few are read eight at a time.
std::size_t AsciiLength(std::string_view text) {
  constexpr std::uint64_t kTopBits = 0x8080808080808080;
  std::size_t length = 0;
  for (std::uint64_t octets = 0; text.size() - length >= sizeof octets; length += sizeof octets) {
    // Copied, for a text may begin at any address.
    std::memcpy(&octets, text.data() + length, sizeof octets);
    if ((octets & kTopBits) != 0) break;
  }
  while (length < text.size() && static_cast<unsigned char>(text[length]) < 0x80) ++length;
  return length;
}

/// So many octets at the beginning have their top bit set.
std::size_t NonAsciiLength(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() && static_cast<unsigned char>(text[length]) >= 0x80) ++length;
  return length;
}

bool IsPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char octet) { return octet >= 0x20 && octet < 0x7f; });
}

std::string Escape(const char* format, unsigned character) {
  std::array<char, 12> escaped{};
  std::snprintf(escaped.data(), escaped.size(), format, character);
  return escaped.data();
}

/// `text` as valid UTF-8, with what `replace` makes of each character that must not reach a terminal or a log.
template <typename Replace>
std::string WithoutControls(std::string_view text, Replace replace) {
  if (IsPrintableAscii(text)) return std::string(text);  // as most texts are
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
  // No character has both kinds of octets, so that the runs of each kind can be looked at apart.
  for (text.remove_prefix(AsciiLength(text)); !text.empty(); text.remove_prefix(AsciiLength(text))) {
    const std::string_view characters = text.substr(0, NonAsciiLength(text));
    if (!utf8::is_valid(characters.begin(), characters.end())) return false;
    text.remove_prefix(characters.size());
  }
  return true;
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
