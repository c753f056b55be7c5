#include "probe/sources/snmp/system_group.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <variant>

#include "probe/sources/snmp/cell.h"
#include "probe/sources/snmp/value.h"

namespace probe::snmp {

namespace {

const Oid kSysDescr = {1, 3, 6, 1, 2, 1, 1, 1, 0};
const Oid kSysObjectId = {1, 3, 6, 1, 2, 1, 1, 2, 0};
const Oid kSysUpTime = {1, 3, 6, 1, 2, 1, 1, 3, 0};
const Oid kSysName = {1, 3, 6, 1, 2, 1, 1, 5, 0};
const Oid kHrSystemUptime = {1, 3, 6, 1, 2, 1, 25, 1, 1, 0};
const Oid kSnmpEngineTime = {1, 3, 6, 1, 6, 3, 10, 2, 1, 3, 0};

std::string TextOf(const Value& value) {
  return TextOf(Decode(value, {}));
}

/// A number that 32 bits without a sign hold.
std::optional<std::uint32_t> Unsigned(const Value& value) {
  const std::optional<double> number = NumberOf(Decode(value, {}));
  if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

}  // namespace

std::vector<Oid> SystemObjects() {
  return {kSysDescr, kSysObjectId, kSysUpTime, kSysName, kHrSystemUptime, kSnmpEngineTime};
}

void ReadSystem(const std::vector<VarBind>& answers, SystemReading& system) {
  for (const VarBind& answer : answers) {
    if (answer.oid == kSysDescr) system.description = TextOf(answer.value);
    if (answer.oid == kSysObjectId) system.object_id = TextOf(answer.value);
    if (answer.oid == kSysUpTime) system.sys_uptime_ticks = Unsigned(answer.value);
    if (answer.oid == kSysName) system.name = TextOf(answer.value);
    if (answer.oid == kHrSystemUptime) system.host_uptime_ticks = Unsigned(answer.value);
    if (answer.oid == kSnmpEngineTime) system.engine_seconds = Unsigned(answer.value);
  }
}

SystemGroup ReadSystemGroup(Agent& agent) {
  const ObjectsAnswer answer = agent.Get({kSysDescr, kSysObjectId});
  SystemGroup group{answer.failure, answer.error, {}, {}};
  for (const VarBind& value : answer.values) {
    if (value.oid == kSysDescr) group.description = TextOf(value.value);
    if (value.oid == kSysObjectId) {
      if (const auto* oid = std::get_if<Oid>(&value.value.content)) group.object_id = *oid;
    }
  }
  return group;
}

}  // namespace probe::snmp
