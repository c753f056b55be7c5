#include "probe/sources/snmp/net_snmp_values.h"

#include "probe/sources/snmp/net_snmp.h"
#include "probe/sources/snmp/oid.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace probe::snmp {

namespace {

Oid OidOf(const oid* numbers, std::size_t count) {
  Oid result;
  result.reserve(count);
  // The library's numbers have the width of a long; it has refused those beyond 32 bits.
  for (std::size_t i = 0; i < count; ++i) result.push_back(static_cast<std::uint32_t>(numbers[i]));
  return result;
}

std::string OctetsOf(const variable_list& variable) {
  return {reinterpret_cast<const char*>(variable.val.string), variable.val_len};
}

/// A number of 32 bits without a sign, which the library keeps in a long.
Value Unsigned(ValueType type, const variable_list& variable) {
  return {.type = type, .content = std::uint64_t{static_cast<std::uint32_t>(*variable.val.integer)}};
}

Value Counter64(const variable_list& variable) {
  const counter64& parts = *variable.val.counter64;
  constexpr int kHalf = 32;
  const std::uint64_t high = static_cast<std::uint32_t>(parts.high);
  return {.type = ValueType::kCounter64, .content = high << kHalf | static_cast<std::uint32_t>(parts.low)};
}

Value IpAddress(const variable_list& variable) {
  constexpr std::size_t kLength = 4;
  const bool is_address = variable.val_len == kLength;
  return {.type = is_address ? ValueType::kIpAddress : ValueType::kOctets, .content = OctetsOf(variable)};
}

Value ValueOf(const variable_list& variable) {
  switch (variable.type) {
    case ASN_INTEGER:
      return {.type = ValueType::kInteger, .content = std::int64_t{static_cast<std::int32_t>(*variable.val.integer)}};
    case ASN_OCTET_STR:
    case ASN_BIT_STR:
    case ASN_OPAQUE:
      return {.type = ValueType::kOctets, .content = OctetsOf(variable)};
    case ASN_OBJECT_ID:
      return {.type = ValueType::kObjectId, .content = OidOf(variable.val.objid, variable.val_len / sizeof(oid))};
    case ASN_IPADDRESS:
      return IpAddress(variable);
    case ASN_COUNTER:
      return Unsigned(ValueType::kCounter32, variable);
    case ASN_GAUGE:
    case ASN_UINTEGER:
      return Unsigned(ValueType::kGauge32, variable);
    case ASN_TIMETICKS:
      return Unsigned(ValueType::kTimeTicks, variable);
    case ASN_COUNTER64:
      return Counter64(variable);
    case SNMP_NOSUCHOBJECT:
      return {.type = ValueType::kNoSuchObject, .content = {}};
    case SNMP_NOSUCHINSTANCE:
      return {.type = ValueType::kNoSuchInstance, .content = {}};
    case SNMP_ENDOFMIBVIEW:
      return {.type = ValueType::kEndOfMib, .content = {}};
    default:
      return {};
  }
}

}  // namespace

std::vector<VarBind> ValuesOf(const variable_list* list) {
  std::vector<VarBind> values;
  for (const variable_list* at = list; at != nullptr; at = at->next_variable) {
    values.push_back({.oid = OidOf(at->name, at->name_length), .value = ValueOf(*at)});
  }
  return values;
}

}  // namespace probe::snmp
