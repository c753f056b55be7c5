#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/require.h"
#include "probe/text/utf8.h"

using fuzzing::Require;

namespace {

/// Whether `text` is UTF-8, straight from the table of the standard.
/// Source: RFC 3629, section 4 (the ABNF of UTF8-octets).
bool IsUtf8ByTheTable(std::string_view text) {
  const auto octet = [&text](std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
  };
  const auto within = [&octet](std::size_t index, unsigned low, unsigned high) {
    return octet(index) >= low && octet(index) <= high;
  };
  std::size_t at = 0;
  while (at < text.size()) {
    const bool tail2 = within(at + 2, 0x80, 0xBF);
    const bool tail3 = within(at + 3, 0x80, 0xBF);
    const unsigned lead = octet(at);
    if (lead <= 0x7F) {
      at += 1;
    } else if (lead >= 0xC2 && lead <= 0xDF && within(at + 1, 0x80, 0xBF)) {
      at += 2;
    } else if (lead >= 0xE0 && lead <= 0xEF && within(at + 1, lead == 0xE0 ? 0xA0 : 0x80, lead == 0xED ? 0x9F : 0xBF) &&
               tail2) {
      at += 3;
    } else if (lead >= 0xF0 && lead <= 0xF4 && within(at + 1, lead == 0xF0 ? 0x90 : 0x80, lead == 0xF4 ? 0x8F : 0xBF) &&
               tail2 && tail3) {
      at += 4;
    } else {
      return false;
    }
  }
  return true;
}

bool HasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char character) {
    const auto octet = static_cast<unsigned char>(character);
    return octet < 0x20 || octet == 0x7F;
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  Require(probe::IsUtf8(text) == IsUtf8ByTheTable(text));

  const std::string replaced = probe::ReplaceInvalidUtf8(text);
  Require(IsUtf8ByTheTable(replaced));
  Require(!probe::IsUtf8(text) || replaced == text);
  Require(probe::ReplaceInvalidUtf8(replaced) == replaced);

  const std::string line = probe::PrintableLine(text);
  Require(IsUtf8ByTheTable(line));
  Require(!HasControlCharacter(line));
  Require(probe::PrintableLine(line) == line);

  const std::string json = probe::PrintableJson(text);
  Require(IsUtf8ByTheTable(json));
  Require(!HasControlCharacter(json));
  Require(probe::PrintableJson(json) == json);
  return 0;
}
