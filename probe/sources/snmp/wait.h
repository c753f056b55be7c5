#pragma once

#include <chrono>

#include "probe/sources/snmp/stop_event.h"

namespace probe::snmp {

/// How a wait for a descriptor ended.
enum class Wait {
  kReady,    ///< There is something to read.
  kError,    ///< The descriptor has an error to ask for.
  kTooLate,  ///< The deadline has passed.
  kStopped,  ///< `stop` was set.
};

/// Waits until there is something to read. `stop` may be null.
Wait WaitForInput(int descriptor, std::chrono::steady_clock::time_point deadline, const StopEvent* stop);

}  // namespace probe::snmp
