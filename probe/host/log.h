#pragma once

#include <functional>
#include <optional>
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

/// The lines of the plug-in that are written for clients: so many at once, and so many a second in the long run.
struct PluginBudget {
  double burst = 0;
  double per_second = 0;
};

/// Drops the plug-in's lines of information and errors within a `RequestScope` beyond a budget from now on, and says
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
__attribute__((format(printf, 1, 2))) void Error(const char* format, ...);

/// "debug", "info" or "error".
const char* LevelName(Level level);

}  // namespace probe::log
