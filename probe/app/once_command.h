#pragma once

#include <iosfwd>

#include "probe/settings/settings.h"

namespace probe {

/// Reads all devices of the settings once, each at the latest for its interval, and prints them as `/api/devices`
/// answers. Neither plug-in nor journal nor server is needed.
///
/// Returns the exit code: 0 when all have answered, else 1; why they did not stands in the answer and in the log.
/// Threads: one, in a process that runs nothing else of the probe.
/// Fails:   throws `std::runtime_error` for profiles that cannot be used, `std::system_error` when there cannot be
///          threads.
int ReadOnce(const Settings& settings, std::ostream& out);

}  // namespace probe
