#pragma once

#include <cstdint>
#include <vector>

namespace probe::simulated {

/// A pair of octet counts, as the interface sees it that counts them.
struct Octets {
  std::uint64_t in = 0;   ///< Received.
  std::uint64_t out = 0;  ///< Sent.

  bool operator==(const Octets&) const = default;

  Octets& operator+=(const Octets& other) {
    in += other.in;
    out += other.out;
    return *this;
  }
};

inline Octets operator*(const Octets& octets, std::uint64_t factor) {
  return {.in = octets.in * factor, .out = octets.out * factor};
}

/// The same octets at the other end of the cable.
inline Octets Opposite(const Octets& octets) {
  return {.in = octets.out, .out = octets.in};
}

/// Device -> port -> octets, by their numbers in the floor plan.
using PortOctets = std::vector<std::vector<Octets>>;

}  // namespace probe::simulated
