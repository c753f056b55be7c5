#pragma once

#include "platform/logging.h"
#include "platform/utilities/signal.h"

namespace vexora_probe::monitor {

/// The host functions that the fold of the wireless network report calls between its steps.
///
/// They are an argument of the fold, so that the fold itself does not depend on a host.
struct HostFunctions {
  /// Writes a log line at debug level; the first argument is the module number.
  void (*log_debug)(int module, const char* format, ...) __attribute__((format(printf, 2, 3)));
  double (*dbm_to_milliwatts)(double dbm);
  double (*milliwatts_to_dbm)(double milliwatts);
};

/// Those of the host that loaded this library.
inline constexpr HostFunctions kHost{.log_debug = &pel_log_debug,
                                     .dbm_to_milliwatts = &kro_utilities::signal::ConvertdBmTomilliwatts,
                                     .milliwatts_to_dbm = &kro_utilities::signal::ConvertmilliwattsTodBm};

/// Writes nothing.
__attribute__((format(printf, 2, 3))) inline void DropLine(int /*module*/, const char* /*format*/, ...) {}

/// The same without log lines.
inline constexpr HostFunctions kSilent{.log_debug = &DropLine,
                                       .dbm_to_milliwatts = &kro_utilities::signal::ConvertdBmTomilliwatts,
                                       .milliwatts_to_dbm = &kro_utilities::signal::ConvertmilliwattsTodBm};

}  // namespace vexora_probe::monitor
