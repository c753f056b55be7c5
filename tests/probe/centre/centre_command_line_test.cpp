// What can be typed after vexora-centre.

#include "probe/centre_app/centre_command_line.h"
#include "probe/host/log.h"
#include "probe/text/command_line_exit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "probe/app/command_line.h"
#include "probe/settings/setting_keys.h"
#include "probe/settings/settings.h"
#include "tests/support/test_folder.h"

namespace probe::centre {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

std::variant<CommandLine, CommandLineExit> Parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "vexora-centre");
  return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

CommandLineExit ExitOf(std::vector<const char*> arguments) {
  const auto parsed = Parse(std::move(arguments));
  const auto* exit = std::get_if<CommandLineExit>(&parsed);
  return exit != nullptr ? *exit : CommandLineExit{-1, "it is a command line"};
}

TEST(CentreCommandLine, ShowsHelpWithEveryKeyAndVersion) {
  const CommandLineExit help = ExitOf({"--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_THAT(help.text, HasSubstr(DescribeSettings(Program::kCentre)));
  const CommandLineExit version = ExitOf({"--version"});
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_THAT(version.text, StartsWith("vexora-centre "));
}

TEST(CentreCommandLine, EndsWithTwoWhenItCannotBeUsed) {
  for (const auto& wrong : std::vector<std::vector<const char*>>{
           {"--prot", "1"}, {"--port", "65536"}, {"--log", "loud"}, {"stray"}, {"--config"}})
    EXPECT_EQ(ExitOf(wrong).exit_code, kUnusable) << wrong.front();
  EXPECT_THAT(ExitOf({"--prot", "1"}).text, HasSubstr("did you mean \"--port\"?"));
}

TEST(CentreCommandLine, GoesBeforeTheFile) {
  const test::TestFolder folder;
  const std::string file = folder.Write("centre.toml", "[server]\nport = 1\n[logging]\nlevel = \"error\"\n");
  const auto parsed = Parse({"--config", file.c_str(), "--port", "2", "--log", "debug"});
  ASSERT_TRUE(std::holds_alternative<CommandLine>(parsed));
  const Settings settings = SettingsFor(std::get<CommandLine>(parsed));
  EXPECT_EQ(settings.server.port, 2);
  EXPECT_EQ(settings.log_level, log::Level::kDebug);
}

TEST(CentreCommandLine, TakesTheFileOfTheSystemWhereThereIsOne) {
  const test::TestFolder folder;
  EXPECT_EQ(SettingsFor(CommandLine{}, folder.Path("none.toml")).server.port, 8765);
  EXPECT_EQ(SettingsFor(CommandLine{}, folder.Write("centre.toml", "[server]\nport = 7\n")).server.port, 7);
}

}  // namespace
}  // namespace probe::centre
