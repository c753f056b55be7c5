#pragma once

#include <vector>

#include "probe/sources/this_machine/machine_reading.h"

namespace probe {

/// All network interfaces of this machine (of this network namespace), in the order of their ifIndex.
///
/// Threads: any. Fails: throws `std::runtime_error` when the kernel gives no list.
/// Source:  rtnetlink(7), RTM_GETLINK with IFLA_STATS64; linux/if_link.h. Speeds: sysfs, /sys/class/net/NAME/speed.
std::vector<Link> ReadLinks();

}  // namespace probe
