#include "probe/host/log.h"

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

#include "platform/logging.h"
#include "platform/utilities/locks.h"
#include "probe/host/journal_priority.h"
#include "probe/host/level_rules.h"
#include "probe/text/utf8.h"

namespace probe::log {
namespace {

std::atomic<Level> threshold{Level::kInfo};
std::atomic<bool> is_plugin_muted{false};
std::array<std::atomic<std::uint64_t>, static_cast<std::size_t>(Level::kError) + 1> lines_written{};

spdlog::level::level_enum SpdlogLevel(Level level) {
  switch (level) {
    case Level::kDebug:
      return spdlog::level::debug;
    case Level::kInfo:
      return spdlog::level::info;
    case Level::kWarning:
      return spdlog::level::warn;
    case Level::kError:
      break;
  }
  return spdlog::level::err;
}

const char* ModuleName(int module) {
  switch (module) {
    case log_module::kMonitor:
      return "monitor";
    case log_module::kManager:
      return "manager";
    default:
      return "probe";
  }
}

/// Writes a line to standard error: time, level, module, text; for the journal, which notes the first two itself, the
/// level's priority, module, text.
void WriteToStandardError(Level level, int module, const std::string& text) {
  const char* const priority = StandardErrorPrefix(level);
  static const auto logger = [priority] {
    auto created = std::make_shared<spdlog::logger>("probe", std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
    // The library lets all lines pass: `threshold` has decided before a line is formatted.
    created->set_level(spdlog::level::trace);
    created->set_pattern(*priority != '\0' ? "%v" : "%Y-%m-%d %H:%M:%S.%e %^%-5l%$ %v");
    return created;
  }();
  logger->log(SpdlogLevel(level), "{}{:<7} {}", priority, ModuleName(module), text);
}

/// The current writer. The lock is held while it writes, so that lines of two threads do not mix.
struct Output {
  utilities::lock::Mutex lock;
  Writer writer VEXORA_GUARDED_BY(lock) = WriteToStandardError;
};

Output& TheOutput() {
  // Made when it is first used: constructors of static objects in other files may log.
  static Output output;
  return output;
}

/// The text of a printf-style call, of any length.
std::string Formatted(const char* format, va_list arguments) {
  constexpr std::size_t kUsualLength = 512;
  std::array<char, kUsualLength> usual{};
  va_list again;  // vsnprintf uses a list up, and a text that is too long for the array has to be written again
  va_copy(again, arguments);
  const int length = std::vsnprintf(usual.data(), usual.size(), format, arguments);
  std::string text;
  if (length > 0) {
    const auto octets = static_cast<std::size_t>(length);
    if (octets < usual.size()) {
      text.assign(usual.data(), octets);
    } else {
      text.resize(octets);
      std::vsnprintf(text.data(), octets + 1, format, again);
    }
  }
  va_end(again);
  return text;
}

// Requests of clients that this thread is answering.
thread_local unsigned request_scopes = 0;

/// What is left of the plug-in's budget.
struct PluginLines {
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::minutes kInterval{1};

  utilities::lock::Mutex lock;  // leaf
  std::optional<PluginBudget> budget VEXORA_GUARDED_BY(lock);
  double left VEXORA_GUARDED_BY(lock) = 0;
  std::size_t dropped VEXORA_GUARDED_BY(lock) = 0;
  Clock::time_point filled_at VEXORA_GUARDED_BY(lock);
  std::optional<Clock::time_point> told_at VEXORA_GUARDED_BY(lock);
};

PluginLines& ThePluginLines() {
  static PluginLines lines;
  return lines;
}

// Looked at before the lock: without a budget no line costs more than before.
std::atomic<bool> is_plugin_limited{false};

void TellDropped(std::size_t dropped) {
  if (dropped > 0) Warning("[Log] %zu lines of the plug-in were left out: they came too fast", dropped);
}

/// Whether the plug-in may write a line now. How many were dropped is told here, also by a line that needs no budget.
bool TakePluginLine() {
  if (!is_plugin_limited.load(std::memory_order_relaxed)) return true;
  PluginLines& lines = ThePluginLines();
  std::size_t dropped = 0;
  bool is_within = true;
  {
    const utilities::lock::lock_guard held(lines.lock);
    if (!lines.budget) return true;
    const auto now = PluginLines::Clock::now();
    if (request_scopes > 0) {
      const double passed = std::chrono::duration<double>(now - lines.filled_at).count();
      lines.left = std::min(lines.budget->burst, lines.left + passed * lines.budget->per_second);
      lines.filled_at = now;
      is_within = lines.left >= 1;
      lines.left -= is_within ? 1 : 0;
      lines.dropped += is_within ? 0 : 1;
    }
    if (lines.dropped > 0 && (!lines.told_at || now - *lines.told_at >= PluginLines::kInterval)) {
      dropped = std::exchange(lines.dropped, 0);
      lines.told_at = now;
    }
  }
  TellDropped(dropped);
  return is_within;
}

/// Writes a line, or loses it: those who log, destructors and handlers of exceptions among them, are promised that it
/// never fails.
void Write(Level level, int module, const char* format, va_list arguments) {
  try {
    // Before the lock, for which every thread that logs waits.
    const std::string line = PrintableLine(Formatted(format, arguments));
    Output& output = TheOutput();
    const utilities::lock::lock_guard held(output.lock);
    output.writer(level, module, line);
    lines_written.at(static_cast<std::size_t>(level)).fetch_add(1, std::memory_order_relaxed);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is no memory to tell of it
  }
}

bool IsWanted(Level level) {
  // Relaxed: one line more or less at a change of the level does no harm.
  return level >= threshold.load(std::memory_order_relaxed);
}

/// The levels that texts of the plug-in have been given.
struct PluginRules {
  utilities::lock::Mutex lock;  // leaf
  std::shared_ptr<const LevelRules> rules VEXORA_GUARDED_BY(lock);
};

PluginRules& ThePluginRules() {
  static PluginRules rules;
  return rules;
}

// The most severe level that a text has been given. Looked at before the lock: what is not written costs nothing more.
constexpr int kNoRule = -1;
std::atomic<int> highest_rule{kNoRule};

/// The level at which a line of the plug-in is written; nothing: it is dropped.
std::optional<Level> PluginLevel(Level level, const char* format) {
  if (is_plugin_muted.load(std::memory_order_relaxed)) return std::nullopt;
  const int highest = highest_rule.load(std::memory_order_relaxed);
  if (highest != kNoRule && (IsWanted(level) || IsWanted(static_cast<Level>(highest)))) {
    PluginRules& plugin_rules = ThePluginRules();
    std::shared_ptr<const LevelRules> rules;
    {
      const utilities::lock::lock_guard held(plugin_rules.lock);
      rules = plugin_rules.rules;
    }
    if (rules) level = rules->LevelOf(format, level);
  }
  if (!IsWanted(level) || (level > Level::kDebug && !TakePluginLine())) return std::nullopt;
  return level;
}

/// Writes a line of the plug-in at its level, or drops it.
void WriteForPlugin(Level level, int module, const char* format, va_list arguments) {
  try {
    const std::optional<Level> written = PluginLevel(level, format);
    if (written) Write(*written, module, format, arguments);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): as in Write
  }
}

}  // namespace

void SetLevel(Level level) {
  threshold.store(level);
}

std::function<void()> PreparePluginLevels(const TextLevels& levels) {
  auto rules = levels.empty() ? nullptr : std::make_shared<const LevelRules>(levels);
  return [rules = std::move(rules)] {
    PluginRules& plugin_rules = ThePluginRules();
    const utilities::lock::lock_guard held(plugin_rules.lock);
    plugin_rules.rules = rules;
    highest_rule.store(rules ? static_cast<int>(rules->highest()) : kNoRule);
  };
}

void SetPluginLevels(const TextLevels& levels) {
  PreparePluginLevels(levels)();
}

void MutePlugin(bool is_muted) {
  is_plugin_muted.store(is_muted);
}

void LimitPlugin(std::optional<PluginBudget> budget) {
  PluginLines& lines = ThePluginLines();
  std::size_t dropped = 0;
  {
    const utilities::lock::lock_guard held(lines.lock);
    lines.budget = budget;
    lines.left = budget ? budget->burst : 0;
    dropped = std::exchange(lines.dropped, 0);
    lines.filled_at = PluginLines::Clock::now();
    lines.told_at.reset();
    is_plugin_limited.store(budget.has_value());
  }
  TellDropped(dropped);
}

RequestScope::RequestScope() {
  ++request_scopes;
}

RequestScope::~RequestScope() {
  --request_scopes;
}

void SetWriter(Writer writer) {
  Output& output = TheOutput();
  const utilities::lock::lock_guard held(output.lock);
  output.writer = writer ? std::move(writer) : Writer(WriteToStandardError);
}

std::uint64_t LinesWritten(Level level) {
  return lines_written.at(static_cast<std::size_t>(level)).load(std::memory_order_relaxed);
}

const char* LevelName(Level level) {
  switch (level) {
    case Level::kDebug:
      return "debug";
    case Level::kInfo:
      return "info";
    case Level::kWarning:
      return "warning";
    case Level::kError:
      break;
  }
  return "error";
}

void Info(const char* format, ...) {
  if (!IsWanted(Level::kInfo)) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Level::kInfo, kProbeModule, format, arguments);
  va_end(arguments);
}

void Warning(const char* format, ...) {
  if (!IsWanted(Level::kWarning)) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Level::kWarning, kProbeModule, format, arguments);
  va_end(arguments);
}

void Error(const char* format, ...) {
  if (!IsWanted(Level::kError)) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Level::kError, kProbeModule, format, arguments);
  va_end(arguments);
}

}  // namespace probe::log

void pel_log_debug(int module, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  probe::log::WriteForPlugin(probe::log::Level::kDebug, module, format, arguments);
  va_end(arguments);
}

void pel_log_info(int module, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  probe::log::WriteForPlugin(probe::log::Level::kInfo, module, format, arguments);
  va_end(arguments);
}

void pel_log_error(int module, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  probe::log::WriteForPlugin(probe::log::Level::kError, module, format, arguments);
  va_end(arguments);
}

bool pel_log_is_debug_enabled() {
  using probe::log::Level;
  return probe::log::IsWanted(Level::kDebug) && !probe::log::is_plugin_muted.load(std::memory_order_relaxed);
}
