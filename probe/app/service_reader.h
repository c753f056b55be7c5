#pragma once

#include <string>

namespace probe {

/// Whether the service could read a file or folder: its user exists only while it runs, and owns none of them. True
/// also for what cannot be opened for another reason, and where this process cannot look as another user: only root
/// can.
///
/// Threads: one, in a process that has no others: for a moment it has fewer rights. Source: setfsuid(2).
bool CanServiceRead(const std::string& path);

}  // namespace probe
