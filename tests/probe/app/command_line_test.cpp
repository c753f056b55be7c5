#include "probe/app/command_line.h"
#include "probe/host/log.h"
#include "probe/settings/settings.h"
#include "probe/text/command_line_exit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "probe/settings/setting_keys.h"
#include "tests/support/test_folder.h"

namespace probe {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

std::variant<CommandLine, CommandLineExit> Parse(const std::vector<std::string>& words) {
  std::vector<const char*> arguments{"vexora-probe"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

CommandLine Usable(const std::vector<std::string>& words) {
  const auto parsed = Parse(words);
  EXPECT_TRUE(std::holds_alternative<CommandLine>(parsed)) << std::get<CommandLineExit>(parsed).text;
  return std::get<CommandLine>(parsed);
}

CommandLineExit Answered(const std::vector<std::string>& words) {
  const auto parsed = Parse(words);
  EXPECT_TRUE(std::holds_alternative<CommandLineExit>(parsed));
  return std::get<CommandLineExit>(parsed);
}

TEST(CommandLine, MayBeEmpty) {
  const CommandLine command_line = Usable({});

  EXPECT_EQ(command_line.config, std::nullopt);
  EXPECT_EQ(command_line.plugin, std::nullopt);
  EXPECT_EQ(command_line.log_level, std::nullopt);
  EXPECT_EQ(command_line.port, std::nullopt);
}

TEST(CommandLine, TakesEachOption) {
  const CommandLine command_line =
      Usable({"--config", "/a.toml", "--plugin=/b.so", "--live", "--log", "debug", "--port", "0"});

  EXPECT_EQ(command_line.config, "/a.toml");
  EXPECT_EQ(command_line.plugin, "/b.so");
  EXPECT_EQ(command_line.log_level, "debug");
  EXPECT_EQ(command_line.port, 0);
  EXPECT_TRUE(command_line.is_live);
}

TEST(CommandLine, RefusesWhatHasNoMeaningForOneReading) {
  const std::vector<std::vector<std::string>> options = {{"--port", "0"},  {"--plugin", "/b.so"},
                                                         {"--speed", "2"}, {"--record", "/r.jsonl"},
                                                         {"--no-journal"}, {"--check"}};
  for (std::vector<std::string> words : options) {
    const std::string option = words.front();
    words.emplace_back("--once");
    const CommandLineExit answer = Answered(words);
    EXPECT_EQ(answer.exit_code, kUnusable) << option;
    EXPECT_THAT(answer.text, HasSubstr("--once"));
    EXPECT_THAT(answer.text, HasSubstr(option));
  }
  EXPECT_TRUE(Usable({"--once", "--simulated", "--devices", "20", "--log", "error", "--config", "/a.toml"}).is_once);
}

TEST(CommandLine, RefusesWhatHasNoMeaningBeforeASubcommand) {
  const std::vector<std::vector<std::string>> options = {
      {"--once"}, {"--check"}, {"--simulated"}, {"--port", "0"}, {"--log", "debug"}};
  const std::vector<std::vector<std::string>> subcommands = {
      {"doctor", "192.0.2.1"}, {"journal", "info", "/a"}, {"profiles", "list"}, {"token"}};
  for (const std::vector<std::string>& option : options) {
    for (const std::vector<std::string>& subcommand : subcommands) {
      std::vector<std::string> words = option;
      words.insert(words.end(), subcommand.begin(), subcommand.end());
      const CommandLineExit answer = Answered(words);
      EXPECT_EQ(answer.exit_code, kUnusable) << option[0] << " " << subcommand[0];
      EXPECT_THAT(answer.text, StartsWith(option[0] + " means nothing before the subcommand " + subcommand[0] + "\n"));
    }
  }
  EXPECT_TRUE(Usable({"--config", "/a.toml", "doctor", "192.0.2.1"}).subcommand) << "which looks its device up there";
}

TEST(CommandLine, HasCommandsForProfiles) {
  EXPECT_TRUE(Usable({"profiles", "list"}).subcommand);
  EXPECT_TRUE(Usable({"profiles", "check", "/a.toml", "--walk", "/b.snmprec"}).subcommand);
  EXPECT_FALSE(Usable({}).subcommand) << "runs the probe";
  EXPECT_EQ(Answered({"profiles"}).exit_code, kUnusable);
  EXPECT_EQ(Answered({"profiles", "check"}).exit_code, kUnusable);
  EXPECT_THAT(Answered({"profiles", "--help"}).text, HasSubstr("check"));
}

TEST(CommandLine, ChecksTheProfileThatIsNamed) {
  EXPECT_EQ(Usable({"profiles", "check", "/missing/profile.toml"}).subcommand(), kUnusable);
}

TEST(CommandLine, TakesEachOptionOfASimulatedNetwork) {
  const Settings settings =
      SettingsFor(Usable({"--simulated", "--speed=60", "--devices=20", "--clients", "30", "--record", "/r.jsonl"}), "");

  EXPECT_TRUE(settings.simulated.enabled);
  EXPECT_FALSE(settings.this_machine.enabled);
  EXPECT_EQ(settings.speed, 60u);
  EXPECT_EQ(settings.recording.path, "/r.jsonl");
  EXPECT_FALSE(settings.recording.may_overwrite);
  EXPECT_FALSE(settings.recording.is_anonymised);
  EXPECT_EQ(settings.simulated.network.devices, 20);
  EXPECT_EQ(settings.simulated.network.clients, 30);
}

TEST(CommandLine, WatchesThisMachineAtTheTruePaceByDefault) {
  for (const std::vector<std::string>& words : {std::vector<std::string>{}, {"--live"}}) {
    const Settings settings = SettingsFor(Usable(words), "");
    EXPECT_TRUE(settings.this_machine.enabled);
    EXPECT_FALSE(settings.simulated.enabled);
    EXPECT_EQ(settings.speed, 1u);
  }
}

TEST(CommandLine, RefusesToSpeedUpRealDevices) {
  EXPECT_EQ(Answered({"--live", "--speed", "60"}).exit_code, kUnusable);
  EXPECT_EQ(Answered({"--live", "--simulated"}).exit_code, kUnusable);
  EXPECT_EQ(Answered({"--simulated", "--speed", "0"}).exit_code, kUnusable);
  try {
    SettingsFor(Usable({"--speed", "60"}), "");
    FAIL() << "this machine is a device by default";
  } catch (const SettingsError& error) {
    EXPECT_THAT(error.what(), HasSubstr("its counters run at their own pace; use --simulated"));
  }
}

TEST(CommandLine, DevicesThatAnswerSnmpAreRealOnes) {
  const test::TestFolder folder;
  const std::string file = folder.Write("probe.toml",
                                        "[sources.this_machine]\nenabled = false\n"
                                        "[[sources.snmp.devices]]\naddress = \"192.0.2.1\"\ncommunity = \"x\"\n");
  EXPECT_EQ(SettingsFor(Usable({"--config", file}), "").snmp.devices.size(), 1U);
  EXPECT_EQ(SettingsFor(Usable({"--config", file, "--live"}), "").snmp.devices.size(), 1U);
  EXPECT_EQ(SettingsFor(Usable({"--config", file, "--simulated", "--speed", "60"}), "").snmp.devices.size(), 0U);
  EXPECT_THROW(SettingsFor(Usable({"--config", file, "--speed", "60"}), ""), SettingsError);
}

TEST(CommandLine, RefusesToSizeANetworkThatIsNotSimulated) {
  for (const char* option : {"--devices=20", "--clients=30"}) {
    EXPECT_THROW(SettingsFor(Usable({option}), ""), SettingsError) << option;
    EXPECT_THROW(SettingsFor(Usable({"--live", option}), ""), SettingsError) << option;
  }
  EXPECT_EQ(Answered({"--simulated", "--devices", "10001"}).exit_code, kUnusable);
  EXPECT_EQ(Answered({"--simulated", "--clients", "1000001"}).exit_code, kUnusable);
}

TEST(CommandLine, HelpShowsEveryOptionAndEveryKeyOfTheConfigurationFile) {
  const CommandLineExit help = Answered({"--help"});

  EXPECT_EQ(help.exit_code, 0);
  for (const char* option : {"--config", "--plugin", "--live", "--simulated", "--speed", "--devices", "--clients",
                             "--log", "--port", "--version", "--help"}) {
    EXPECT_THAT(help.text, HasSubstr(option));
  }
  EXPECT_THAT(help.text, HasSubstr(DescribeSettings()));
}

TEST(CommandLine, TellsTheVersion) {
  const CommandLineExit version = Answered({"--version"});

  EXPECT_EQ(version.exit_code, 0);
  EXPECT_THAT(version.text, ::testing::MatchesRegex("vexora-probe [0-9]+\\.[0-9]+\\.[0-9]+( .commit [0-9a-f]+.)?\n"));
}

struct Unusable {
  const char* name;
  std::vector<std::string> words;
  const char* complaint;
};

class UnusableCommandLine : public ::testing::TestWithParam<Unusable> {};

TEST_P(UnusableCommandLine, IsAnsweredWithTheReasonAndExitCode2) {
  const CommandLineExit answer = Answered(GetParam().words);

  EXPECT_EQ(answer.exit_code, 2);
  EXPECT_EQ(answer.text, std::string(GetParam().complaint) + "\nRun with --help for more information.\n");
}

INSTANTIATE_TEST_SUITE_P(
    OneFault, UnusableCommandLine,
    ::testing::Values(
        Unusable{"UnknownOption", {"--frob"}, "There is no option --frob"},
        Unusable{"MisspeltOption", {"--prot", "3"}, "There is no option --prot; did you mean \"--port\"?"},
        Unusable{"MisspeltOptionOfASubcommand",
                 {"doctor", "192.0.2.1", "--usr", "x"},
                 "There is no option --usr; did you mean \"--user\"?"},
        Unusable{"NoOption", {"probe.toml"}, "The following argument was not expected: probe.toml"},
        Unusable{
            "UnknownLevel", {"--log", "verbose"}, "--log: must be one of \"debug\", \"info\", \"warning\", \"error\""},
        Unusable{"PortAboveTheRange", {"--port", "65536"}, "--port: Value 65536 not in range 0 to 65535"},
        Unusable{"NegativePort", {"--port", "-1"}, "--port: Value -1 not in range 0 to 65535"},
        Unusable{"NoFile", {"--config"}, "--config: 1 required FILE missing"}),
    [](const auto& test) { return test.param.name; });

TEST(SettingsFor, AreTheDefaultsWithoutAnyFile) {
  const Settings settings = SettingsFor({}, "/no/such/file");

  EXPECT_EQ(settings.server.port, 8765);
  EXPECT_EQ(settings.log_level, log::Level::kInfo);
}

TEST(SettingsFor, ComeFromTheFileOfTheSystem) {
  const test::TestFolder folder;

  EXPECT_EQ(SettingsFor({}, folder.Write("probe.toml", "[server]\nport = 1\n")).server.port, 1);
}

TEST(SettingsFor, ComeFromTheNamedFileInPlaceOfTheSystems) {
  const test::TestFolder folder;
  CommandLine command_line;
  command_line.config = folder.Write("mine.toml", "[logging]\nlevel = \"error\"\n");

  const Settings settings = SettingsFor(command_line, folder.Write("probe.toml", "[server]\nport = 1\n"));

  EXPECT_EQ(settings.server.port, 8765);
  EXPECT_EQ(settings.log_level, log::Level::kError);
}

TEST(SettingsFor, TakeTheCommandLineBeforeTheFile) {
  const test::TestFolder folder;
  CommandLine command_line;
  command_line.plugin = "/b.so";
  command_line.log_level = "debug";
  command_line.port = std::uint16_t{2};
  const std::string file =
      folder.Write("probe.toml", "[server]\nport = 1\n[plugin]\npath = \"/a.so\"\n[logging]\nlevel = \"error\"\n");

  const Settings settings = SettingsFor(command_line, file);

  EXPECT_EQ(settings.server.port, 2);
  EXPECT_EQ(settings.plugin_path, "/b.so");
  EXPECT_EQ(settings.log_level, log::Level::kDebug);
}

TEST(SettingsFor, NeedTheNamedFileToBeThere) {
  CommandLine command_line;
  command_line.config = "/no/such/file";

  EXPECT_THROW(SettingsFor(command_line, "/no/such/file/either"), SettingsError);
}

}  // namespace
}  // namespace probe
