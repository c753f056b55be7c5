#include "probe/settings/log_levels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "probe/host/log.h"
#include "probe/settings/settings.h"

namespace probe {
namespace {

using log::Level;
using ::testing::ElementsAre;
using ::testing::Pair;

log::TextLevels LevelsIn(const std::string& table) {
  return ParseSettings("[logging.levels]\n" + table, "probe.toml").log_levels;
}

std::string LevelComplaint(const std::string& text) {
  try {
    ParseSettings(text, "probe.toml");
    return "";
  } catch (const SettingsError& error) {
    return error.what();
  }
}

TEST(LogLevelSettings, GiveTextsLevels) {
  EXPECT_THAT(LevelsIn("\"Allocate JSON failed\" = \"debug\"\n'Mac: *' = \"warning\"\nplain = \"error\"\n"),
              ElementsAre(Pair("Allocate JSON failed", Level::kDebug), Pair("Mac: *", Level::kWarning),
                          Pair("plain", Level::kError)));
  EXPECT_THAT(LevelsIn(""), ElementsAre());
}

TEST(LogLevelSettings, NameTheLevelThatWasProbablyMeant) {
  const std::string expected = "must be one of \"debug\", \"info\", \"warning\", \"error\"";
  EXPECT_EQ(LevelComplaint("[logging.levels]\n\"a b\" = \"debgu\"\nc = \"loud\"\nd = 1\n"),
            "probe.toml:2: logging.levels.\"a b\": " + expected + "; did you mean \"debug\"?\n" +
                "probe.toml:3: logging.levels.\"c\": " + expected + "\n" +
                "probe.toml:4: logging.levels.\"d\": " + expected);
}

TEST(LogLevelSettings, RefuseWhatWouldMatchEverythingOrNothing) {
  EXPECT_EQ(LevelComplaint("[logging.levels]\n\"\" = \"debug\"\n"),
            "probe.toml:2: logging.levels: a text must have 1 to 500 octets");
  EXPECT_EQ(LevelComplaint("[logging.levels]\n" + std::string(500, 'x') + " = \"debug\"\n"), "");
  EXPECT_NE(LevelComplaint("[logging.levels]\n" + std::string(501, 'x') + " = \"debug\"\n"), "");
  EXPECT_EQ(LevelComplaint("[logging]\nlevels = 5\n"), "probe.toml:2: logging.levels: must be a table");
}

TEST(LogLevelSettings, AreHeldForSoManyTextsAndNoMore) {
  std::string table = "[logging.levels]\n";
  for (int text = 0; text < 100; ++text) table += "t" + std::to_string(text) + " = \"info\"\n";
  EXPECT_EQ(LevelComplaint(table), "");
  EXPECT_EQ(LevelComplaint(table + "more = \"info\"\n"), "probe.toml:1: logging.levels: must hold at most 100 texts");
}

TEST(LogLevelSettings, SuggestTheTable) {
  EXPECT_EQ(LevelComplaint("[logging.levls]\nx = \"info\"\n"),
            "probe.toml:1: logging.levls: there is no such table; did you mean \"logging.levels\"?");
}

TEST(LogLevelSettings, OfTheExampleQuietenTheNetworkReport) {
  const Settings settings = ParseSettings(DescribeLogLevels(), "probe.toml");
  EXPECT_THAT(settings.log_levels,
              ElementsAre(Pair("[WirelessNetworkReport::GenerateSeenByString] Mac: *, hostname: *", Level::kDebug)));
}

}  // namespace
}  // namespace probe
