#pragma once

#include <string>

namespace probe {

/// Calls the clean-up function that the plug-in registered, if any. Threads: any, with no lock held.
void CleanUpDevice(const std::string& mac);

}  // namespace probe
