#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/require.h"
#include "probe/sources/snmp/oid.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/sources/snmp/profile_reading.h"
#include "probe/sources/snmp/walk_agent.h"

using fuzzing::Require;

/// The input as a profile: one that is refused has a reason with its file, and one that is taken reads an agent that
/// has nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    const probe::snmp::Profile profile = probe::snmp::ParseProfile(text, "fuzzed", "fuzzed.toml", {});
    probe::snmp::WalkAgent agent("");
    Require(probe::snmp::ReadDevice(profile, agent).reading.has_value());
    for (const auto& columns : probe::snmp::ColumnsOf(profile)) {
      for (const probe::snmp::Oid& column : columns) Require(!column.empty());
    }
  } catch (const probe::snmp::ProfileError& refusal) {
    Require(std::string(refusal.what()).rfind("fuzzed.toml:", 0) == 0);
  }
  return 0;
}
