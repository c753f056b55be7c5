#include "probe/text/local_mac.h"

#include <array>
#include <cstdint>
#include <cstdio>

#include "probe/text/fnv1a.h"

namespace probe {

std::string LocalMac(std::string_view seed) {
  // The two lowest bits of the first octet tell addresses of groups and local ones.
  constexpr std::uint8_t kLocal = 0x02;
  constexpr std::uint8_t kNeitherGroupNorLocal = 0xfc;
  const std::uint64_t hash = Fnv1a(seed);
  std::array<std::uint8_t, 6> octets{};
  for (std::size_t i = 0; i < octets.size(); ++i) octets[i] = static_cast<std::uint8_t>(hash >> (8 * i));
  octets[0] = static_cast<std::uint8_t>((octets[0] & kNeitherGroupNorLocal) | kLocal);
  std::array<char, 18> text{};
  std::snprintf(text.data(), text.size(), "%02X:%02X:%02X:%02X:%02X:%02X", octets[0], octets[1], octets[2], octets[3],
                octets[4], octets[5]);
  return text.data();
}

}  // namespace probe
