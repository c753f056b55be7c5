#pragma once

#include <cstdint>
#include <string_view>

namespace probe {

/// FNV-1a, 64 bits: the same for the same octets, on every machine and in every version. No defence against somebody
/// who looks for two texts with one hash.
///
/// Source: draft-eastlake-fnv, "The FNV Non-Cryptographic Hash Algorithm".
constexpr std::uint64_t Fnv1a(std::string_view octets) {
  constexpr std::uint64_t kOffsetBasis = 0xcbf29ce484222325;
  constexpr std::uint64_t kPrime = 0x100000001b3;
  std::uint64_t hash = kOffsetBasis;
  for (const char octet : octets) {
    hash ^= static_cast<unsigned char>(octet);
    hash *= kPrime;
  }
  return hash;
}

}  // namespace probe
