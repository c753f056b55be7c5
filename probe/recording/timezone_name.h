#pragma once

#include <string>

namespace probe::recording {

/// Whether the tz database of this machine has a zone of this name. A name means the same on every machine.
bool IsTimezoneName(const std::string& name);

/// The name of the process's own zone in the tz database.
///
/// Fails: throws `std::runtime_error` when it has none: rules that are written out in TZ, a file of somebody's own.
/// Threads: none may change the environment meanwhile.
std::string LocalTimezoneName();

}  // namespace probe::recording
