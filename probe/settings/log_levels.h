#pragma once

#include <optional>
#include <string>
#include <vector>

#include "probe/host/log.h"
#include "probe/settings/settings_errors.h"
#include "probe/text/toml.h"

namespace probe {

/// The level of this name: "debug", "info", "warning" or "error".
std::optional<log::Level> LevelNamed(const std::string& name);

/// The names of all levels, the least severe first.
const std::vector<std::string>& LevelNames();

/// What a level has to be: `one of "debug", ...`.
std::string LevelsExpected();

/// Why this is the name of no level, in the form of a check of a command line; empty: it is one.
std::string WhyNoLogLevel(const std::string& name);

/// Adds the texts of the table `[logging.levels]` to `levels`; one that is there already gets the new level.
///
/// Fails: adds what is wrong to `errors`.
void ReadLogLevels(const toml::node& table, SettingsErrors& errors, log::TextLevels& levels);

/// The table as an example of the configuration file has it, with a line that is meant to be in force.
std::string DescribeLogLevels();

}  // namespace probe
