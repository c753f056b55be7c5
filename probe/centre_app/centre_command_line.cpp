#include "probe/centre_app/centre_command_line.h"

#include <CLI/CLI.hpp>
#include <filesystem>

#include "probe/settings/log_levels.h"
#include "probe/settings/setting_keys.h"
#include "probe/text/command_line_exit.h"
#include "probe/version/version.h"

namespace probe::centre {
namespace {

std::string Footer() {
  return "Exit codes: 0 stopped by SIGINT or SIGTERM, 1 could not start, 2 unusable command line or configuration. "
         "With --check: 1 unusable configuration.\n\n"
         "Files *.toml in the folder centre.d beside the configuration file are read after it, in the order of their "
         "names: of a key in two of them the later counts, and groups add up.\n\n"
         "The configuration file, with every key and its default:\n\n" +
         DescribeSettings(Program::kCentre);
}

void Describe(CLI::App& app, CommandLine& result) {
  app.add_option("--config", result.config,
                 std::string("Configuration file. Default: ") + kSystemConfiguration + ", where that exists")
      ->type_name("FILE");
  app.add_flag("--check", result.is_check, "Say whether the configuration can be used, and start nothing");
  app.add_option("--log", result.log_level, "How much to log: debug, info, warning or error")
      ->type_name("LEVEL")
      ->check(&WhyNoLogLevel);
  app.add_option("--port", result.port, "TCP port to listen on; 0: any free one, which the log names")
      ->type_name("PORT")
      ->check(CLI::Range(0, 65535));
  app.set_version_flag("--version", std::string("vexora-centre ") + kVersionText, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this text and exit");
  app.footer(Footer());
}

}  // namespace

std::variant<CommandLine, CommandLineExit> ParseCommandLine(int count, const char* const* arguments) {
  CLI::App app("Shows the sites of many probes: reads what they send to a stream of NATS servers.", "vexora-centre");
  CommandLine result;
  Describe(app, result);
  try {
    app.parse(count, arguments);
    return result;
  } catch (const CLI::ParseError& error) {
    return ExitFor(app, error, {arguments + 1, arguments + count});
  }
}

Settings SettingsFor(const CommandLine& command_line, const std::string& system_file) {
  Settings settings;
  std::optional<std::string> file = command_line.config;
  if (!file && std::filesystem::exists(system_file)) file = system_file;
  if (file) settings = ReadSettings(*file, nullptr, Program::kCentre);
  if (command_line.log_level) settings.log_level = LevelNamed(*command_line.log_level).value_or(settings.log_level);
  if (command_line.port) settings.server.port = *command_line.port;
  return settings;
}

}  // namespace probe::centre
