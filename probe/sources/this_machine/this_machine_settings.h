#pragma once

#include <chrono>
#include <string>

namespace probe {

/// How the source `this_machine` works.
struct ThisMachineSettings {
  bool enabled = true;              ///< Whether this machine is a device at all.
  std::chrono::seconds refresh{1};  ///< Time between two readings.
  std::string name;                 ///< Device name; empty: the host name.
};

}  // namespace probe
