#pragma once

#include <map>
#include <string>
#include <vector>

#include "probe/host/log.h"

namespace probe::log {

/// Finds the level of a line of the plug-in by its text, for levels that an administrator has given to texts.
///
/// A text stands for each line whose fixed words contain it: what the plug-in fills in, names and numbers, is a `*` in
/// them ("Mac: *, hostname: *"). So no name from the air chooses the level of a line, and no line has to be written
/// before its level is known. Of several texts that match the longest counts.
///
/// Threads: any; it never changes.
class LevelRules {
 public:
  explicit LevelRules(const TextLevels& levels);

  /// The level of a line with this format of printf(3); `level` where no text matches.
  Level LevelOf(const char* format, Level level) const;

  /// The most severe level that a line gets by a text. To be called with at least one text.
  Level highest() const { return highest_; }

 private:
  struct Rule {
    std::string text;
    std::string sign;  // a part of the text that each format which matches has as it is; empty: there is none
    Level level;
  };

  std::vector<Rule> rules_;  // the longest text first
  Level highest_ = Level::kDebug;
};

/// The fixed words of a format of printf(3): each conversion is a `*`.
std::string FixedWords(const char* format);

}  // namespace probe::log
