#pragma once

#include "platform/logging.h"

namespace monitoring {

/// Whether somebody may see the monitors' debug lines: work that only they need can be left out otherwise.
inline bool IsDebugLogged() {
  return pel_log_debug_enabled == nullptr || pel_log_debug_enabled(log_module::kMonitor);
}

}  // namespace monitoring
