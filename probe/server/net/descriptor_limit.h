#pragma once

#include <cstddef>

namespace probe {

/// File descriptors for all but the clients: listeners, log, the sources, the plug-in.
inline constexpr std::size_t kOtherDescriptors = 64;

/// Allows the process as many open files as so many connections need. How many connections the system then has files
/// for: one more would not be refused in words but left hanging. Fewer than wanted are an error in the log.
std::size_t RaiseDescriptorLimit(std::size_t wanted);

}  // namespace probe
