#pragma once

#include <cstdint>

namespace probe {

/// The operational status of a link as RFC 2863 numbers it, from what the kernel says.
///
/// `operstate` is the kernel's IF_OPER_* number, `flags` its IFF_* set. A driver that keeps no operational state (lo,
/// tun) leaves it at "unknown" for ever; such a link counts as up when it is switched on and has its lower layer.
/// Source: linux/if.h (IF_OPER_*, IFF_UP, IFF_LOWER_UP); RFC 2863, ifOperStatus.
std::int32_t OperStatusOf(std::uint8_t operstate, unsigned flags);

}  // namespace probe
