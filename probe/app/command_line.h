#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "probe/recording/recording_settings.h"
#include "probe/settings/settings.h"
#include "probe/text/command_line_exit.h"

namespace probe {

/// What somebody typed after `vexora-probe`. Empty optionals were not given.
struct CommandLine {
  std::optional<std::string> config;       ///< Configuration file; nothing: the system's, if there is one.
  std::optional<std::string> plugin;       ///< In place of `plugin.path`.
  std::optional<std::string> log_level;    ///< In place of `logging.level`; one that this key accepts.
  std::optional<std::uint16_t> port;       ///< In place of `server.port`.
  bool is_check = false;                   ///< Look at the configuration, and start nothing.
  bool is_once = false;                    ///< Read all devices once, print them, and start nothing.
  bool is_live = false;                    ///< This machine and the file's devices, and no simulated network.
  bool is_simulated = false;               ///< A simulated network, and not this machine.
  recording::RecordingSettings recording;  ///< What to record into which file.
  bool has_no_journal = false;             ///< None is written, and none replayed, whatever the file says.
  unsigned speed = 1;                      ///< How many times faster than the true pace.
  std::optional<int> devices;              ///< In place of `sources.simulated.devices`.
  std::optional<int> clients;              ///< In place of `sources.simulated.clients`.

  /// Does what was asked for instead of running the probe, and gives the exit code; empty: run the probe.
  std::function<int()> subcommand;
};

/// Where the configuration is looked for when the command line names none.
inline constexpr const char* kSystemConfiguration = "/etc/vexora/probe.toml";

/// Parses a command line; `arguments[0]` is the program's name.
std::variant<CommandLine, CommandLineExit> ParseCommandLine(int count, const char* const* arguments);

/// The settings of the configuration file, overridden by those of the command line. Without `--config` that is
/// `system_file` where it exists, otherwise the defaults; nothing is looked for in the working directory.
///
/// `review`, as `ReadSettings` has it, is for a look that starts nothing.
/// Fails: throws `SettingsError`.
Settings SettingsFor(const CommandLine& command_line, const std::string& system_file = kSystemConfiguration,
                     SettingsReview* review = nullptr);

}  // namespace probe
