#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace probe::snmp {

/// The name of a managed object: a sequence of numbers. Ordered as agents order their answers: number by number, and a
/// prefix before what continues it.
///
/// Source: RFC 2578, section 3.5: at most 128 numbers of 32 bits each.
using Oid = std::vector<std::uint32_t>;

/// The object of "1.3.6.1.2.1.1.3.0", with or without a dot in front.
///
/// Fails: nothing for an empty text, a number above 32 bits, more than 128 numbers, and anything else than digits and
/// single dots.
std::optional<Oid> ParseOid(std::string_view text);

/// "1.3.6.1.2.1.1.3.0", without a dot in front; empty for no numbers.
std::string OidText(const Oid& oid);

/// Whether `oid` is `prefix` or continues it.
bool StartsWith(const Oid& oid, const Oid& prefix);

}  // namespace probe::snmp
