// The installed examples, packaging/probe.toml and centre.toml, against the tables of keys.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "probe/settings/log_levels.h"
#include "probe/settings/setting_keys.h"
#include "probe/settings/settings.h"

namespace probe {
namespace {

std::string Example(Program program = Program::kProbe) {
  std::ifstream file(std::string(VEXORA_PACKAGING) + (program == Program::kCentre ? "/centre.toml" : "/probe.toml"));
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// The example with every key switched on: those are the comments without a blank after the "#".
std::string SwitchedOn(const std::string& example) {
  std::istringstream lines(example);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    const bool is_key = line.size() > 1 && line[0] == '#' && line[1] != ' ';
    result += (is_key ? line.substr(1) : line) + "\n";
  }
  return result;
}

TEST(ExampleFile, ShowsEveryKeyAsTheTableDescribesIt) {
  const std::string example = Example();
  const auto keys_begin = example.find("[server]");
  ASSERT_NE(keys_begin, std::string::npos);

  EXPECT_EQ(example.substr(keys_begin), DescribeSettings());
  EXPECT_THAT(example.substr(0, keys_begin), ::testing::MatchesRegex("(#[^\n]*\n)+\n"));
}

TEST(ExampleFile, IsAcceptedAndChangesNoKey) {
  const Settings defaults;
  const Settings settings = ParseSettings(Example(), "probe.toml");

  EXPECT_EQ(settings.log_levels, ParseSettings(DescribeLogLevels(), "probe.toml").log_levels);
  for (const SettingKey& key : SettingKeys()) EXPECT_EQ(key.read(settings), key.read(defaults)) << key.Path();
}

TEST(ExampleFile, HoldsTheDefaultsWhenItsKeysAreSwitchedOn) {
  const Settings defaults;
  const std::string switched_on = SwitchedOn(Example());
  ASSERT_NE(switched_on.find("\nport = 8765\n"), std::string::npos);

  const Settings settings = ParseSettings(switched_on, "probe.toml");

  for (const SettingKey& key : SettingKeys()) EXPECT_EQ(key.read(settings), key.read(defaults)) << key.Path();
}

TEST(ExampleFile, OfACentreShowsEveryKeyAndChangesNone) {
  const std::string example = Example(Program::kCentre);
  const auto keys_begin = example.find("[server]");
  ASSERT_NE(keys_begin, std::string::npos);
  EXPECT_EQ(example.substr(keys_begin), DescribeSettings(Program::kCentre));

  const Settings defaults;
  const Settings settings = ParseSettings(SwitchedOn(example), "centre.toml", Program::kCentre);
  for (const SettingKey& key : SettingKeys(Program::kCentre))
    EXPECT_EQ(key.read(settings), key.read(defaults)) << key.Path();
  EXPECT_TRUE(settings.centre.groups.empty());
}

TEST(SettingKeys, AreAllDifferentAndExplained) {
  for (const Program program : {Program::kProbe, Program::kCentre}) {
    std::set<std::string> paths;
    for (const SettingKey& key : SettingKeys(program)) {
      EXPECT_TRUE(paths.insert(key.Path()).second) << key.Path();
      EXPECT_FALSE(key.help.empty()) << key.Path();
      EXPECT_FALSE(key.expected.empty()) << key.Path();
    }
  }
}

TEST(SettingKeys, AcceptTheirOwnDefaults) {
  const Settings defaults;
  for (const SettingKey& key : SettingKeys()) EXPECT_TRUE(key.accepts(key.read(defaults))) << key.Path();
}

}  // namespace
}  // namespace probe
