#pragma once

#include "platform/logging.h"

namespace monitoring {

/// Whether debug lines are worth making: the host writes them, or does not tell.
inline bool AreDebugLinesLogged() {
  return pel_log_is_debug_enabled == nullptr || pel_log_is_debug_enabled();
}

}  // namespace monitoring
