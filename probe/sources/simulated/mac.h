#pragma once

#include <cstdint>
#include <string>

namespace probe::simulated {

/// What kind of device an address belongs to; addresses of different kinds never collide.
enum class MacOwner : std::uint8_t { kDevice = 1, kClient = 2, kStreet = 3, kOwnRadio = 4 };

/// How a device writes addresses of its clients.
enum class MacNotation : std::uint8_t { kUpperColons, kLowerColons, kLowerDashes };

/// A locally administered address. Its octets: 02; the owner and four bits of `tag`; eight more bits of `tag`; the 24
/// bits of `number`.
///
/// Source: IEEE Std 802-2014, 8.4 (the second bit of the first octet).
std::uint64_t LocalMac(MacOwner owner, std::uint64_t tag, std::uint32_t number);

/// The address as text, as "02:1A:2B:00:00:07" for the first notation.
std::string MacText(std::uint64_t mac, MacNotation notation);

}  // namespace probe::simulated
