#include "probe/app/command_line.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "probe/app/device_commands.h"
#include "probe/app/profile_commands.h"
#include "probe/app/token_command.h"
#include "probe/journal/journal_tools.h"
#include "probe/recording/recording_settings.h"
#include "probe/settings/log_levels.h"
#include "probe/settings/setting_keys.h"
#include "probe/sources/simulated/simulated_settings.h"
#include "probe/sources/snmp/profile_catalogue.h"
#include "probe/text/command_line_exit.h"
#include "probe/version/version.h"

namespace probe {
namespace {

/// The configuration file, where there is one.
std::optional<std::string> ConfigurationFile(const std::optional<std::string>& named, const std::string& system_file) {
  if (named || !std::filesystem::exists(system_file)) return named;
  return system_file;
}

std::string Footer() {
  return "SIGHUP: read the configuration anew; but stop, when the terminal from which it was started is gone.\n\n"
         "Exit codes: 0 stopped by SIGINT or SIGTERM, 1 could not start, 2 unusable command line, configuration or "
         "profile. "
         "With --check: 1 unusable configuration. With --once: 1 a device did not answer.\n\n"
         "Files *.toml in the folder probe.d beside the configuration file are read after it, in the order of their "
         "names: of a key in two of them the later counts, and devices add up.\n\n"
         "The configuration file, with every key and its default:\n\n" +
         DescribeSettings();
}

// An hour in a second, which makes sixty passes a second.
constexpr int kMaxSpeed = 3600;

/// Takes over which devices there are, and how fast their time goes.
void ChooseSources(const CommandLine& command_line, Settings& settings) {
  // Whichever is asked for is the only one, whatever the file enables.
  if (command_line.is_live || command_line.is_simulated) {
    settings.this_machine.enabled = command_line.is_live;
    settings.simulated.enabled = command_line.is_simulated;
    if (command_line.is_simulated) settings.snmp.devices.clear();
  }
  if (command_line.devices) settings.simulated.network.devices = *command_line.devices;
  if (command_line.clients) settings.simulated.network.clients = *command_line.clients;
  if ((command_line.devices || command_line.clients) && !settings.simulated.enabled) {
    throw SettingsError("--devices, --clients: there is no simulated network to size; use --simulated");
  }
  settings.recording = command_line.recording;
  if (command_line.has_no_journal) settings.journal.enabled = false;
  settings.speed = command_line.speed;
  if (settings.speed != 1 && settings.this_machine.enabled) {
    throw SettingsError(
        "--speed: this machine is one of the devices (sources.this_machine.enabled), and its counters run at their own "
        "pace; use --simulated");
  }
  if (settings.speed != 1 && !settings.snmp.devices.empty()) {
    throw SettingsError(
        "--speed: the file names devices that answer SNMP, and their counters run at their own pace; "
        "use --simulated");
  }
}

/// Returns the option that asks for a recording.
CLI::Option* DescribeRecording(CLI::App& app, recording::RecordingSettings& recording) {
  auto* record = app.add_option("--record", recording.path, "Write what happens as a recording, for probe-replay")
                     ->type_name("FILE");
  app.add_option("--record-bytes", recording.max_bytes, "Size at which a recording ends. Default: 8 GiB")
      ->type_name("N")
      ->check(CLI::Range(std::uint64_t{1024}, std::numeric_limits<std::uint64_t>::max()))
      ->needs(record);
  app.add_flag("--force", recording.may_overwrite, "Write the recording over a file that is there already")
      ->needs(record);
  app.add_flag("--anonymise", recording.is_anonymised,
               "Replace MACs, names, SSIDs and IP addresses in the recording, one to one")
      ->needs(record);
  return record;
}

void Describe(CLI::App& app, CommandLine& result) {
  app.add_option("--config", result.config,
                 std::string("Configuration file. Default: ") + kSystemConfiguration + ", where that exists")
      ->type_name("FILE");
  auto* check =
      app.add_flag("--check", result.is_check, "Say whether the configuration can be used, and start nothing");
  auto* once = app.add_flag("--once", result.is_once,
                            "Read all devices once, print them as /api/devices has them, and start nothing")
                   ->excludes(check);
  app.add_option("--plugin", result.plugin, "The plug-in, libmonitor.so. Default: the one that came with the probe")
      ->type_name("FILE")
      ->excludes(once);
  app.add_option("--log", result.log_level, "How much to log: debug, info, warning or error")
      ->type_name("LEVEL")
      ->check(&WhyNoLogLevel);
  app.add_option("--port", result.port, "TCP port to listen on; 0: any free one, which the log names")
      ->type_name("PORT")
      ->check(CLI::Range(0, 65535))
      ->excludes(once);
  auto* live =
      app.add_flag("--live", result.is_live, "Real devices: this machine, and those of the file. A pass a minute");
  auto* simulated = app.add_flag("--simulated", result.is_simulated, "A simulated network instead of real devices");
  simulated->excludes(live);
  app.add_option("--speed", result.speed, "Run everything so many times faster; not with real devices")
      ->type_name("N")
      ->check(CLI::Range(1, kMaxSpeed))
      ->excludes(live)
      ->excludes(once);
  DescribeRecording(app, result.recording)->excludes(once);
  app.add_flag("--no-journal", result.has_no_journal, "Keep no journal, and know nothing of what was before")
      ->excludes(once);
  app.add_option("--devices", result.devices, "Devices of the simulated network")
      ->type_name("N")
      ->check(CLI::Range(0, SimulatedSettings::kMaxDevices));
  app.add_option("--clients", result.clients, "Wireless clients of the simulated network")
      ->type_name("N")
      ->check(CLI::Range(0, SimulatedSettings::kMaxClients));
  app.set_version_flag("--version", std::string("vexora-probe ") + kVersionText, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this text and exit");
  app.footer(Footer());
}

/// "profiles check FILE" and "profiles list".
void DescribeProfiles(CLI::App& app, CommandLine& result) {
  CLI::App* profiles = app.add_subcommand("profiles", "Profiles of devices that answer SNMP");
  profiles->require_subcommand(1);
  CLI::App* check = profiles->add_subcommand("check", "Say whether a profile is right, and what is wrong");
  // The callback runs after parsing, when the values are there; the command itself runs later, and has its own.
  auto file = std::make_shared<std::string>();
  auto walk = std::make_shared<std::string>();
  check->add_option("FILE", *file, "The profile, a TOML file")->required();
  check->add_option("--walk", *walk, "Read this saved walk with it, and print what was read")->type_name("WALK");
  check->callback([&result, file, walk] {
    result.subcommand = [file, walk] {
      return CheckProfileCommand(*file, *walk, snmp::ProfileFolders(), std::cout, std::cerr);
    };
  });
  CLI::App* list = profiles->add_subcommand("list", "Name the profiles and the devices that they are for");
  list->callback([&result] {
    result.subcommand = [] { return ListProfilesCommand(snmp::ProfileFolders(), std::cout, std::cerr); };
  });
}

/// The options that say how a device is asked. They have the names of the configuration's keys; secrets come from
/// files, since everybody can read the command line of a running program.
void DescribeDevice(CLI::App& command, const std::shared_ptr<DeviceChoice>& choice) {
  const auto add = [&](const char* option, const char* key, const char* help) {
    command
        .add_option_function<std::string>(
            option, [choice, key](const std::string& text) { choice->keys[key] = text; }, help)
        ->type_name("");
  };
  command
      .add_option("ADDRESS", choice->address, "Host or address, with or without a port; or a device's name in the file")
      ->required();
  add("--version", "version", "1, 2c or 3. Default: 2c");
  add("--community-file", "community_file", "File with the community. Default: the community \"public\"");
  add("--user", "user", "Version 3: the user");
  add("--auth", "auth", "Version 3: sha, sha224, sha256, sha384, sha512 or md5");
  add("--auth-key-file", "auth_key_file", "File with its passphrase");
  add("--privacy", "privacy", "Version 3: aes or des");
  add("--privacy-key-file", "privacy_key_file", "File with its passphrase");
  add("--profile", "profile", "Profile to read it with. Default: recognised");
}

/// "doctor ADDRESS" and "walk ADDRESS".
void DescribeDevices(CLI::App& app, CommandLine& result) {
  using Command = int (*)(const DeviceChoice&, const std::vector<std::filesystem::path>&, std::ostream&, std::ostream&);
  const auto add = [&](const char* name, const char* help, Command command) {
    auto choice = std::make_shared<DeviceChoice>();
    CLI::App* described = app.add_subcommand(name, help);
    DescribeDevice(*described, choice);
    described->callback([&result, choice, command] {
      result.subcommand = [choice, command, config = result.config] {
        choice->config = ConfigurationFile(config, kSystemConfiguration);
        return command(*choice, snmp::ProfileFolders(), std::cout, std::cerr);
      };
    });
  };
  add("doctor", "Say why a device does not answer SNMP, or what is read of it", &DoctorCommand);
  add("walk", "Print what the profiles read of a device, to be saved as FILE.snmprec", &WalkCommand);
}

/// "journal info DIR", "journal export DIR", "journal check DIR" and "journal forget DIR MAC".
void DescribeJournal(CLI::App& app, CommandLine& result) {
  CLI::App* journal = app.add_subcommand("journal", "What the probe has written down of its devices");
  journal->require_subcommand(1);
  auto folder = std::make_shared<std::string>();
  const auto add = [&](const char* name, const char* help) {
    CLI::App* command = journal->add_subcommand(name, help);
    command->add_option("DIR", *folder, "The state directory, or the journal's folder in it")->required();
    return command;
  };
  add("info", "Say which days it holds, and the size of each")->callback([&result, folder] {
    result.subcommand = [folder] { return journal::PrintJournalInfo(*folder, std::cout, std::cerr); };
  });
  add("export", "Print it as a recording, for probe-replay")->callback([&result, folder] {
    result.subcommand = [folder] { return journal::ExportJournal(*folder, std::cout, std::cerr); };
  });
  CLI::App* forget = add("forget", "Have the probe forget what it knew of a device");
  auto mac = std::make_shared<std::string>();
  forget->add_option("MAC", *mac, "Its id, as the pages show it")->required();
  forget->callback([&result, folder, mac] {
    result.subcommand = [folder, mac] { return journal::ForgetInJournal(*folder, *mac, std::cout, std::cerr); };
  });
  CLI::App* check = add("check", "Read all of it, and say what is cut off or corrupt");
  auto is_repair = std::make_shared<bool>(false);
  check->add_flag("--repair", *is_repair, "Take what is cut off or corrupt away");
  check->callback([&result, folder, is_repair] {
    result.subcommand = [folder, is_repair] {
      return journal::CheckJournal(*folder, *is_repair, std::cout, std::cerr);
    };
  });
}

/// "token".
void DescribeToken(CLI::App& app, CommandLine& result) {
  app.add_subcommand("token", "Make a token for server.token or server.token_file, and print it")->callback([&result] {
    result.subcommand = [] { return PrintToken(std::cout, std::cerr); };
  });
}

/// Complains about options that stand before a subcommand, to which they mean nothing. Of all options it may use the
/// configuration file only. Empty when there are none.
std::string ComplaintBeforeSubcommand(const CLI::App& app) {
  const std::vector<CLI::App*> subcommands = app.get_subcommands();
  if (subcommands.empty()) return {};
  for (const CLI::Option* option : app.get_options()) {
    if (option->count() == 0 || option->get_name() == "--config") continue;
    return option->get_name() + " means nothing before the subcommand " + subcommands.front()->get_name() +
           "\nRun with --help for more information.\n";
  }
  return {};
}

}  // namespace

std::variant<CommandLine, CommandLineExit> ParseCommandLine(int count, const char* const* arguments) {
  CLI::App app("A network probe: samples devices once a minute and pushes what it measures to websocket clients.",
               "vexora-probe");
  CommandLine result;
  Describe(app, result);
  DescribeProfiles(app, result);
  DescribeDevices(app, result);
  DescribeJournal(app, result);
  DescribeToken(app, result);
  try {
    app.parse(count, arguments);
    if (std::string complaint = ComplaintBeforeSubcommand(app); !complaint.empty()) {
      return CommandLineExit{kUnusable, std::move(complaint)};
    }
    return result;
  } catch (const CLI::ParseError& error) {
    return ExitFor(app, error, {arguments + 1, arguments + count});
  }
}

Settings SettingsFor(const CommandLine& command_line, const std::string& system_file, SettingsReview* review) {
  Settings settings;
  if (const auto file = ConfigurationFile(command_line.config, system_file)) settings = ReadSettings(*file, review);
  if (command_line.plugin) settings.plugin_path = *command_line.plugin;
  if (command_line.log_level) settings.log_level = LevelNamed(*command_line.log_level).value_or(settings.log_level);
  if (command_line.port) settings.server.port = *command_line.port;
  ChooseSources(command_line, settings);
  return settings;
}

}  // namespace probe
