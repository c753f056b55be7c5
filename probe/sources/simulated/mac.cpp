#include "probe/sources/simulated/mac.h"

#include <string_view>

namespace probe::simulated {

std::uint64_t LocalMac(MacOwner owner, std::uint64_t tag, std::uint32_t number) {
  constexpr std::uint64_t kLocallyAdministered = 0x02;
  const std::uint64_t second = (static_cast<std::uint64_t>(owner) << 4) | ((tag >> 8) & 0xF);
  return (kLocallyAdministered << 40) | (second << 32) | ((tag & 0xFF) << 24) | (number & 0xFFFFFF);
}

std::string MacText(std::uint64_t mac, MacNotation notation) {
  constexpr std::string_view kUpper = "0123456789ABCDEF";
  constexpr std::string_view kLower = "0123456789abcdef";
  const std::string_view digits = notation == MacNotation::kUpperColons ? kUpper : kLower;
  const char separator = notation == MacNotation::kLowerDashes ? '-' : ':';
  std::string text;
  text.reserve(17);
  for (int shift = 40; shift >= 0; shift -= 8) {
    text += digits[(mac >> (shift + 4)) & 0xF];
    text += digits[(mac >> shift) & 0xF];
    if (shift > 0) text += separator;
  }
  return text;
}

}  // namespace probe::simulated
