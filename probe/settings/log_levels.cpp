#include "probe/settings/log_levels.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "probe/settings/settings.h"
#include "probe/text/nearest_word.h"

namespace probe {
namespace {

constexpr std::array kLevels{log::Level::kDebug, log::Level::kInfo, log::Level::kWarning, log::Level::kError};

// Each line of the plug-in that may be written is compared with all of them.
constexpr std::size_t kMaxTexts = 100;
constexpr std::size_t kMaxOctets = 500;

}  // namespace

std::optional<log::Level> LevelNamed(const std::string& name) {
  const auto* const found =
      std::ranges::find_if(kLevels, [&](log::Level level) { return name == log::LevelName(level); });
  return found != kLevels.end() ? std::optional(*found) : std::nullopt;
}

const std::vector<std::string>& LevelNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    all.reserve(kLevels.size());
    for (const log::Level level : kLevels) all.emplace_back(log::LevelName(level));
    return all;
  }();
  return names;
}

std::string LevelsExpected() {
  std::string text;
  for (const std::string& name : LevelNames()) text += (text.empty() ? "one of \"" : ", \"") + name + "\"";
  return text;
}

std::string WhyNoLogLevel(const std::string& name) {
  return LevelNamed(name) ? "" : "must be " + LevelsExpected();
}

void ReadLogLevels(const toml::node& node, SettingsErrors& errors, log::TextLevels& levels) {
  const toml::table* const table = node.as_table();
  if (table == nullptr) return errors.Add(node.source().begin.line, kLogLevels, "must be a table");
  const auto known = std::ranges::count_if(*table, [&](const auto& one) {
    return levels.contains(std::string(one.first.str()));  // an earlier file's, which is overridden
  });
  if (levels.size() + table->size() - static_cast<std::size_t>(known) > kMaxTexts) {
    const std::string most = "must hold at most " + std::to_string(kMaxTexts) + " texts";
    return errors.Add(table->source().begin.line, kLogLevels, most);
  }
  for (const auto& [key, value] : *table) {
    const std::string text(key.str());
    const std::size_t line = key.source().begin.line;
    const std::string path = std::string(kLogLevels) + ".\"" + text + "\"";
    if (text.empty() || text.size() > kMaxOctets) {
      errors.Add(line, kLogLevels, "a text must have 1 to " + std::to_string(kMaxOctets) + " octets");
      continue;
    }
    const std::string name = value.is_string() ? value.ref<std::string>() : std::string();
    const auto level = LevelNamed(name);
    if (!level) {
      errors.Add(line, path, "must be " + LevelsExpected() + DidYouMean(name, LevelNames()));
      continue;
    }
    levels[text] = *level;
  }
}

std::string DescribeLogLevels() {
  return std::string("[") + kLogLevels +
         "]\n"
         "\n"
         "# Levels of single lines of the plug-in, above or below that which it gives them: a text that the line "
         "holds,\n"
         "# with * for each name and number, and the level. Of several texts in one line the longest counts.\n"
         "# (" +
         LevelsExpected() +
         ")\n"
         "#\n"
         "# Each look at the network report writes this line for each rogue access point and each device that hears "
         "it:\n"
         "\"[WirelessNetworkReport::GenerateSeenByString] Mac: *, hostname: *\" = \"debug\"\n";
}

}  // namespace probe
