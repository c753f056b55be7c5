#pragma once

#include <string>
#include <vector>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

/// What every device is asked for: the system group, and the objects that tell since when it runs.
///
/// Source: RFC 3418 (system), RFC 2790 (hrSystemUptime), RFC 3411 (snmpEngineTime).
std::vector<Oid> SystemObjects();

/// Fills in what the answers say of these objects; others among them are ignored.
void ReadSystem(const std::vector<VarBind>& answers, SystemReading& system);

/// What a device's profile is recognised from.
struct SystemGroup {
  Failure failure = Failure::kNone;
  std::string error;  ///< In plain words; empty when it was answered.
  Oid object_id;      ///< Empty when the device does not have it.
  std::string description;
};

/// Asks for sysObjectID and sysDescr.
SystemGroup ReadSystemGroup(Agent& agent);

}  // namespace probe::snmp
