#pragma once

/// Module numbers, the first argument of every log call: which part of the plug-in speaks.
namespace log_module {
inline constexpr int kMonitor = 2;   ///< The monitors.
inline constexpr int kManager = 19;  ///< The monitoring manager.
}  // namespace log_module

// The plug-in calls the host.
//
// Each call is one log line, without a line end. `format` and what follows are those of printf(3). Texts that come from
// devices (SSIDs, names) are passed on as they are: octets that are no UTF-8, control characters and line ends may be
// among them, and it is the host that makes them harmless before they reach a terminal or a file.
//
// Threads: any, also with the plug-in's locks held: a log call must never call back into the plug-in, nor wait for a
//          thread that may be inside it.
// Fails:   never; a line that cannot be written is lost.

/// What a developer needs to follow a pass, and nobody else: dozens of lines an interface. Must be
/// cheap when it is off.
__attribute__((format(printf, 2, 3))) void pel_log_debug(int module, const char* format, ...);

/// What an administrator may want to know.
__attribute__((format(printf, 2, 3))) void pel_log_info(int module, const char* format, ...);

/// What somebody should look at.
__attribute__((format(printf, 2, 3))) void pel_log_error(int module, const char* format, ...);
