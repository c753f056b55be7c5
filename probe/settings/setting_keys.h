#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "probe/settings/settings.h"

namespace probe {

/// A value as the configuration file can hold it.
using SettingValue = std::variant<bool, std::int64_t, std::string, std::vector<std::string>>;

/// One key of the configuration file. The type of its value is that of its default.
struct SettingKey {
  std::string table;     ///< "limits", "sources.this_machine".
  std::string name;      ///< The key within its table.
  std::string help;      ///< What it settles, in a sentence or two.
  std::string expected;  ///< What its value has to be: "a whole number from 1 to 100000".

  std::function<bool(const SettingValue&)> accepts;            ///< Whether a value of the right type is in range.
  std::function<SettingValue(const Settings&)> read;           ///< The value in `Settings`.
  std::function<void(Settings&, const SettingValue&)> assign;  ///< Takes an accepted value over.

  /// "limits.connections".
  std::string Path() const { return table + "." + name; }
};

/// Whether a changed value takes effect in a probe that runs, when it reads its configuration anew.
bool TakesEffectAtReload(const SettingKey& key);

/// All keys of a program, those of one table together: the one place that knows them. Parsing, help and the example
/// follow it.
const std::vector<SettingKey>& SettingKeys(Program program = Program::kProbe);

/// The configuration file that says nothing: every table, and every key as a comment, explained and with its default.
std::string DescribeSettings(Program program = Program::kProbe);

}  // namespace probe
