#include "probe/text/strict_json.h"

#include <array>
#include <string_view>

#include "probe/text/utf8.h"

namespace probe {
namespace {

constexpr std::array<std::string_view, 4> kNonFiniteNumbers{"NaN", "-NaN", "Infinity", "-Infinity"};

/// The length of the NaN or Infinity at the beginning of a text; 0: there is none.
std::size_t NonFiniteLength(std::string_view text) {
  for (const std::string_view name : kNonFiniteNumbers)
    if (text.starts_with(name)) return name.size();
  return 0;
}

/// The end of the string literal that begins at `begin` with its quote.
std::size_t EndOfLiteral(std::string_view text, std::size_t begin) {
  std::size_t place = begin + 1;
  // A backslash takes the next octet with it, so that an escaped quote does not end the literal.
  while (place < text.size() && text[place] != '"') place += text[place] == '\\' ? 2 : 1;
  return std::min(place + 1, text.size());
}

}  // namespace

std::string StrictJson(std::string text) {
  std::string valid = ReplaceInvalidUtf8(std::move(text));
  const std::string_view view = valid;
  // As good as always: messages have megabytes, and this is the quick way through them.
  if (view.find("NaN") == std::string_view::npos && view.find("Infinity") == std::string_view::npos) return valid;
  std::string strict;
  strict.reserve(valid.size());
  for (std::size_t place = 0; place < view.size();) {
    std::size_t end = place + 1;
    if (view[place] == '"') {
      end = EndOfLiteral(view, place);
    } else if (const std::size_t length = NonFiniteLength(view.substr(place)); length > 0) {
      strict += "null";
      place += length;
      continue;
    }
    strict += view.substr(place, end - place);
    place = end;
  }
  return strict;
}

}  // namespace probe
