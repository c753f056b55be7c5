#pragma once

/// The SNMP library's headers, in the one order in which they compile. Only the sources of this folder include it.

// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/library/large_fd_set.h>
// clang-format on
