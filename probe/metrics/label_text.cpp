#include "probe/metrics/label_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "probe/text/fnv1a.h"
#include "probe/text/utf8.h"

namespace probe::metrics {
namespace {

constexpr std::size_t kMarkOctets = 9;

std::string MarkOf(std::string_view text) {
  const std::uint64_t hash = Fnv1a(text);
  std::array<char, kMarkOctets + 1> mark{};
  static_cast<void>(
      std::snprintf(mark.data(), mark.size(), "~%08x", static_cast<unsigned>(hash ^ (hash >> 32U)) & 0xffffffffU));
  return mark.data();
}

/// Whether this octet of UTF-8 goes on with a character. RFC 3629, section 3
bool IsContinuation(char octet) {
  return (static_cast<unsigned char>(octet) & 0xc0U) == 0x80U;
}

bool IsPlainAscii(std::string_view text) {
  for (const char octet : text) {
    if (octet < ' ' || octet > '~') return false;
  }
  return true;
}

}  // namespace

std::string LabelText(std::string_view text) {
  const bool fits = text.size() <= kMaxLabelOctets;
  if (fits && IsPlainAscii(text)) return std::string(text);
  // Cut first: a device may send a text of any length.
  std::string shown = PrintableLine(text.substr(0, kMaxLabelOctets));
  if (fits && shown == text) return shown;
  std::size_t end = std::min(shown.size(), kMaxLabelOctets - kMarkOctets);
  while (end > 0 && end < shown.size() && IsContinuation(shown[end])) --end;
  shown.resize(end);
  return shown + MarkOf(text);
}

}  // namespace probe::metrics
