#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "probe/settings/settings.h"
#include "probe/text/command_line_exit.h"

namespace probe::centre {

/// What somebody typed after `vexora-centre`. Empty optionals were not given.
struct CommandLine {
  std::optional<std::string> config;     ///< Configuration file; nothing: the system's, if there is one.
  std::optional<std::string> log_level;  ///< In place of `logging.level`; one that this key accepts.
  std::optional<std::uint16_t> port;     ///< In place of `server.port`.
  bool is_check = false;                 ///< Look at the configuration, and start nothing.
};

/// Where the configuration is looked for when the command line names none.
inline constexpr const char* kSystemConfiguration = "/etc/vexora/centre.toml";

/// Parses a command line; `arguments[0]` is the program's name.
std::variant<CommandLine, CommandLineExit> ParseCommandLine(int count, const char* const* arguments);

/// The settings of the configuration file, overridden by those of the command line. Without `--config` that is
/// `system_file` where it exists, otherwise the defaults.
///
/// Fails: throws `SettingsError`.
Settings SettingsFor(const CommandLine& command_line, const std::string& system_file = kSystemConfiguration);

}  // namespace probe::centre
