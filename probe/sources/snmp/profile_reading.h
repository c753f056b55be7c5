#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "probe/sources/snmp/agent.h"
#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/reading.h"
#include "probe/sources/snmp/system_group.h"  // IWYU pragma: export

namespace probe::snmp {

/// How much is read of one device.
struct ReadingLimits {
  std::size_t max_rows = 10'000;  ///< Rows of one table; a table with more counts as not answered.
};

/// What a device answered.
struct DeviceAnswer {
  Failure failure = Failure::kNone;  ///< Why there is no reading: that of the first question.
  std::string error;                 ///< In plain words; empty when there is a reading.
  std::optional<Reading> reading;
};

/// Asks a device for what its profile names, and says what the answers mean.
///
/// One question goes out for all single objects, the system group's among them; where it is not answered nothing else
/// is asked. After that one question goes out for each table. A table that fails is nothing in the reading, with a
/// sentence in `errors`, and so is every role that needs it.
///
/// Threads: as `agent`; the profile is only read.
/// Fails:   never throws, but for `std::bad_alloc`.
DeviceAnswer ReadDevice(const Profile& profile, Agent& agent, const ReadingLimits& limits = {});

}  // namespace probe::snmp
