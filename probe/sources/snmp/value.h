#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "probe/sources/snmp/oid.h"

namespace probe::snmp {

/// The type of a value in an answer. Source: RFC 2578, section 7.1, and RFC 3416, section 3.
enum class ValueType {
  kInteger,         ///< INTEGER: `std::int64_t`.
  kOctets,          ///< OCTET STRING: `std::string` of free octets.
  kNull,            ///< NULL.
  kObjectId,        ///< OBJECT IDENTIFIER: `Oid`.
  kIpAddress,       ///< IpAddress: `std::string` of four octets, in network order.
  kCounter32,       ///< Counter32: `std::uint64_t`.
  kGauge32,         ///< Gauge32 and Unsigned32: `std::uint64_t`.
  kTimeTicks,       ///< TimeTicks, hundredths of a second: `std::uint64_t`.
  kCounter64,       ///< Counter64: `std::uint64_t`.
  kNoSuchObject,    ///< The agent does not know the object.
  kNoSuchInstance,  ///< The agent knows the object, but not this row.
  kEndOfMib,        ///< There is nothing behind the asked object.
};

/// One value of an answer, as the agent typed it.
struct Value {
  ValueType type = ValueType::kNull;
  std::variant<std::monostate, std::int64_t, std::uint64_t, std::string, Oid> content;  ///< As `type` says; else empty.

  bool operator==(const Value&) const = default;
};

/// An object and its value: one element of an answer's list. Source: RFC 3416, section 3, VarBind.
struct VarBind {
  Oid oid;
  Value value;

  bool operator==(const VarBind&) const = default;
};

}  // namespace probe::snmp
