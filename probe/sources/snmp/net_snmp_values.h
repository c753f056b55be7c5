#pragma once

#include <vector>

#include "probe/sources/snmp/value.h"

struct variable_list;  // of the SNMP library

namespace probe::snmp {

/// The objects and values of an answer's list. What has no type in `ValueType`, such as a floating-point number in an
/// Opaque, becomes NULL.
///
/// Fails: never throws, but for `std::bad_alloc`; the lengths are those that the library has checked.
std::vector<VarBind> ValuesOf(const variable_list* list);

}  // namespace probe::snmp
