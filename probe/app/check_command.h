#pragma once

#include <functional>
#include <string>
#include <vector>

#include "probe/app/command_line.h"

namespace probe {

/// What a look at a configuration has found, in lines for an administrator.
struct CheckResult {
  std::vector<std::string> errors;     ///< Why the probe would not start.
  std::vector<std::string> warnings;   ///< What the service cannot read, though this process can.
  std::vector<std::string> unchecked;  ///< What only the service can look at.
};

/// Looks at the configuration as a start would, and starts nothing. `can_service_read` tells whether the service could
/// read a file: `CanServiceRead`.
CheckResult CheckConfiguration(const CommandLine& command_line,
                               const std::function<bool(const std::string& path)>& can_service_read);

/// Prints what that has found to standard output and, each line with its priority for the journal, to standard error.
/// Returns the exit code: 0 when the configuration can be used, else 1.
int CheckCommand(const CommandLine& command_line);

}  // namespace probe
