#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

/// A value of an agent after its decoding: nothing, a number, a counter, or free octets.
using Cell = std::variant<std::monostate, double, OctetCounter, std::string>;

/// What an agent's value says. An exception (`kNoSuchObject` and its like) says nothing.
Cell Decode(const Value& value, const Decoding& decoding);

/// Reads one part of an index from `numbers`, and takes it away from them.
///
/// Fails: nothing where the numbers do not fit, and then they stay as they were.
std::optional<Cell> TakeIndexPart(IndexForm form, const Decoding& decoding,
                                  std::basic_string_view<std::uint32_t>& numbers);

bool HasValue(const Cell& cell);

/// The cell written out; empty for nothing. Whole numbers have no decimal point.
std::string TextOf(const Cell& cell);

/// The cell as a number; a text that begins with one counts: "-63", "2412/20-Ce".
std::optional<double> NumberOf(const Cell& cell);

/// The cell as a whole number, rounded, where 32 bits hold it.
std::optional<std::int32_t> IntegerOf(const Cell& cell);

/// The cell as a counter. A number that is not typed as one counts as a counter of 32 bits, where they hold it.
std::optional<OctetCounter> CounterOf(const Cell& cell);

/// The cell as a MAC address, "02:fc:00:00:00:01"; empty where it is none, or that of nobody: all zero, or a group's.
std::string MacOf(const Cell& cell);

/// The MAC address in six octets, or in text: "02:FC:00:00:00:01", "02fc.0000.0001". Empty as above.
std::string MacText(std::string_view octets);

}  // namespace probe::snmp
