#pragma once

#include <chrono>
#include <iosfwd>

#include "probe/settings/settings.h"

namespace probe {

/// How long a device may take, whatever its interval is: as long as a large one on a slow line does.
inline constexpr std::chrono::milliseconds kOnceTimeLimit = std::chrono::minutes(1);

/// Reads all devices of the settings once, side by side, each for `time_limit` at most, and prints them as
/// `/api/devices` answers. Neither plug-in nor journal nor server is needed.
///
/// Returns the exit code: 0 when all have answered, else 1; why they did not stands in the answer and in the log.
/// Threads: one, in a process that runs nothing else of the probe.
/// Fails:   throws `std::runtime_error` for profiles that cannot be used, `std::system_error` when there cannot be
///          threads.
int ReadOnce(const Settings& settings, std::ostream& out, std::chrono::milliseconds time_limit = kOnceTimeLimit);

}  // namespace probe
