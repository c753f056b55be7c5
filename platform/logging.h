#pragma once

/// Module numbers, the first argument of every log call: which part of the plug-in writes the line.
namespace log_module {
inline constexpr int kMonitor = 2;   ///< The monitors.
inline constexpr int kManager = 19;  ///< The monitoring manager.
}  // namespace log_module

// The plug-in calls the host.
//
// Holds for every call below:
// Each call is one log line, without a line end. `module` is one of the numbers above; `format` and what follows are
// those of printf(3). Texts that come from devices (SSIDs, names) are passed on as they are: octets that are no UTF-8,
// control characters and line ends may be among them, and the host escapes them before they reach a terminal or a file.
//
// Owner:   the arguments stay the caller's and are valid during the call only.
// Threads: any, also with the plug-in's locks held: a log call must never call back into the plug-in, nor wait for a
//          thread that may be inside it.
// Fails:   never; a line that cannot be written is lost.

/// Writes a line at level debug: what a developer needs to follow a pass, dozens of lines for each interface. Must
/// be cheap while the host logs no debug lines.
__attribute__((format(printf, 2, 3))) void pel_log_debug(int module, const char* format, ...);

/// Writes a line at level info: what an administrator may want to know.
__attribute__((format(printf, 2, 3))) void pel_log_info(int module, const char* format, ...);

/// Writes a line at level error: what somebody should look at.
__attribute__((format(printf, 2, 3))) void pel_log_error(int module, const char* format, ...);

/// Whether debug lines are written at present: before work that serves nothing but them, the plug-in asks.
///
/// A host may leave this one function out; the plug-in then takes it that they are, and does that work in every pass.
/// The answer may change at any time.
__attribute__((weak)) bool pel_log_is_debug_enabled();
