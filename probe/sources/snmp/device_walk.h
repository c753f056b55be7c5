#pragma once

#include <string>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

/// What was saved of a device.
struct DeviceWalk {
  std::vector<VarBind> objects;     ///< In ascending order.
  std::vector<std::string> errors;  ///< One plain sentence for each question that was not answered in full.
};

/// Asks a device for all that any profile reads, and for the system group, so that it can be saved as a walk: what
/// another profile reads may be what a new one needs.
///
/// Threads: as `agent`. Fails: never throws, but for `std::bad_alloc`.
DeviceWalk WalkDevice(const ProfileCatalogue& catalogue, Agent& agent);

}  // namespace probe::snmp
