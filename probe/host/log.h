#pragma once

#include <functional>
#include <string>

namespace probe::log {

/// The severity of a log line; a greater value is more severe.
enum class Level { kDebug, kInfo, kError };

/// Writes one log line: level, module number, and the text with control characters escaped (`PrintableLine`).
///
/// Called with a lock held, one line at a time, so it must not log itself.
using Writer = std::function<void(Level level, int module, const std::string& text)>;

/// Module number of the probe's own lines, beside those of the plug-in.
inline constexpr int kProbeModule = 0;

/// Drops all lines below this level from now on. Default: info. Threads: any.
void SetLevel(Level level);

/// Drops all lines of the plug-in while it is true. Threads: any.
void MutePlugin(bool is_muted);

/// Sends lines to `writer` from now on, in place of standard error; an empty function brings standard error back.
/// Threads: any.
void SetWriter(Writer writer);

/// Writes one line of the probe's own. Threads: any.
__attribute__((format(printf, 1, 2))) void Info(const char* format, ...);
__attribute__((format(printf, 1, 2))) void Error(const char* format, ...);

/// "debug", "info" or "error".
const char* LevelName(Level level);

}  // namespace probe::log
