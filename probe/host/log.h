#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace probe::log {

/// The severity of a log line; a greater value is more severe.
enum class Level { kDebug, kInfo, kWarning, kError };

/// Text of a line of the plug-in, as `LevelRules` understands it -> the level that such lines get. No text is empty.
using TextLevels = std::map<std::string, Level>;

/// Writes one log line: level, module number, and the text with control characters escaped (`PrintableLine`).
///
/// Called with a lock held, one line at a time, so it must not log itself.
using Writer = std::function<void(Level level, int module, const std::string& text)>;

/// Module number of the probe's own lines, beside those of the plug-in.
inline constexpr int kProbeModule = 0;

/// Drops all lines below this level from now on. Default: info. Threads: any.
void SetLevel(Level level);

/// Gives lines of the plug-in other levels by their texts from now on, before anything else looks at their level; an
/// empty list leaves all as they are, as in the beginning. Lines that the plug-in prepares only where debug lines are
/// logged (`pel_log_is_debug_enabled`) cannot be turned up. Threads: any.
void SetPluginLevels(const TextLevels& levels);

/// What gives lines of the plug-in these levels when it is called, as `SetPluginLevels` does. Threads: any. Fails: only
/// here, for want of memory; what is returned does not.
std::function<void()> PreparePluginLevels(const TextLevels& levels);

/// Drops all lines of the plug-in while it is true. Threads: any.
void MutePlugin(bool is_muted);

/// The lines of the plug-in that are written for clients: so many at once, and so many a second in the long run.
struct PluginBudget {
  double burst = 0;
  double per_second = 0;
};

/// Drops the plug-in's lines of information and above within a `RequestScope` beyond a budget from now on, and says
/// how many: once a minute, and when the budget is changed. A client's question can make it write thousands; what it
/// writes of its own accord is not counted, so that no client keeps that out of the log. Neither are debug lines, which
/// somebody has asked for. Nothing: all lines are written, as in the beginning. Threads: any.
void LimitPlugin(std::optional<PluginBudget> budget);

/// What this thread does as long as one is there, it does to answer a client's request. Scopes may lie within others.
class RequestScope {
 public:
  RequestScope();
  ~RequestScope();
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;
};

/// Sends lines to `writer` from now on, in place of standard error; an empty function brings standard error back.
/// Threads: any.
void SetWriter(Writer writer);

/// Writes one line of the probe's own. Threads: any. Fails: never; a line for which there is no memory is lost.
__attribute__((format(printf, 1, 2))) void Info(const char* format, ...);
__attribute__((format(printf, 1, 2))) void Warning(const char* format, ...);
__attribute__((format(printf, 1, 2))) void Error(const char* format, ...);

/// Lines of this level that were written since the process started. Threads: any.
std::uint64_t LinesWritten(Level level);

/// "debug", "info", "warning" or "error".
const char* LevelName(Level level);

}  // namespace probe::log
