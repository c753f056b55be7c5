#include "probe/host/level_rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/logging.h"
#include "probe/host/log.h"
#include "tests/support/log_capture.h"

namespace {

using probe::log::FixedWords;
using probe::log::Level;
using probe::log::LevelRules;
using probe::log::TextLevels;
using test::LogCapture;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(LevelRules, ShowAStarForWhatAFormatFillsIn) {
  EXPECT_EQ(FixedWords("Mac: %s, hostname: %s"), "Mac: *, hostname: *");
  EXPECT_EQ(FixedWords("%-5ld of %zu, %5.1f %%, %#llx"), "* of *, * %, *");
  EXPECT_EQ(FixedWords("plain"), "plain");
  EXPECT_EQ(FixedWords("cut off %"), "cut off ");
}

TEST(LevelRules, FindALineByAPartOfItsFixedWords) {
  const LevelRules rules(TextLevels{{"Mac: *, hostname: *", Level::kDebug}, {"50 % of", Level::kError}});
  EXPECT_EQ(rules.LevelOf("[Seen] Mac: %s, hostname: %s", Level::kError), Level::kDebug);
  EXPECT_EQ(rules.LevelOf("[Seen] Mac: %s, name: %s", Level::kError), Level::kError);
  EXPECT_EQ(rules.LevelOf("50 %% of %d", Level::kInfo), Level::kError);
  EXPECT_EQ(rules.LevelOf("", Level::kInfo), Level::kInfo);
  EXPECT_EQ(rules.highest(), Level::kError);
}

TEST(LevelRules, GoByTheLongestTextOfSeveral) {
  const LevelRules rules(
      TextLevels{{"failed", Level::kError}, {"Allocate JSON failed", Level::kDebug}, {"A", Level::kInfo}});
  EXPECT_EQ(rules.LevelOf("[HealthMonitor::GenerateJsonMsg] Allocate JSON failed", Level::kWarning), Level::kDebug);
  EXPECT_EQ(rules.LevelOf("Add task failed", Level::kWarning), Level::kError);
}

/// The log with levels for some texts, until it goes.
struct LeveledLog : LogCapture {
  explicit LeveledLog(const TextLevels& levels, Level level = Level::kInfo) {
    probe::log::SetLevel(level);
    probe::log::SetPluginLevels(levels);
  }
  ~LeveledLog() { probe::log::SetPluginLevels({}); }
};

TEST(LogLevels, TurnALineOfThePluginDown) {
  const LeveledLog log({{"Allocate JSON failed", Level::kDebug}});
  pel_log_error(2, "[HealthMonitor] Allocate JSON failed");
  pel_log_error(2, "[HealthMonitor] something else failed");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kError, 2, "[HealthMonitor] something else failed"}));
  probe::log::SetLevel(Level::kDebug);
  pel_log_error(2, "[HealthMonitor] Allocate JSON failed");
  EXPECT_THAT(log.Texts(Level::kDebug), ElementsAre("[HealthMonitor] Allocate JSON failed"));
}

TEST(LogLevels, TurnALineOfThePluginUp) {
  const LeveledLog log({{"Cleanup for mac: *", Level::kError}, {"ssid: *", Level::kWarning}}, Level::kWarning);
  pel_log_info(2, "Cleanup for mac: %s", "02:fc");
  pel_log_info(2, "another");
  pel_log_debug(2, "ssid: %s", "x");
  EXPECT_THAT(log.Lines(),
              ElementsAre(LogLine{Level::kError, 2, "Cleanup for mac: 02:fc"}, LogLine{Level::kWarning, 2, "ssid: x"}));
}

TEST(LogLevels, AreNotChosenByNamesThatComeFromTheAir) {
  const LeveledLog log({{"Allocate JSON failed", Level::kDebug}});
  pel_log_error(2, "rogue %s", "Allocate JSON failed");
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("rogue Allocate JSON failed"));
}

TEST(LogLevels, LeaveLinesOfTheProbeItselfAlone) {
  const LeveledLog log({{"Allocate JSON failed", Level::kDebug}});
  probe::log::Error("Allocate JSON failed");
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("Allocate JSON failed"));
}

TEST(LogLevels, TakeNoBudgetForLinesThatAreTurnedDown) {
  const LeveledLog log({{"rogue", Level::kDebug}});
  probe::log::LimitPlugin(probe::log::PluginBudget{.burst = 1, .per_second = 0});
  {
    const probe::log::RequestScope scope;
    for (int line = 0; line < 10; ++line) pel_log_error(2, "rogue %d", line);
    pel_log_error(2, "other");
  }
  probe::log::LimitPlugin(std::nullopt);
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("other"));
  EXPECT_THAT(log.Texts(Level::kWarning), IsEmpty()) << "none was left out for want of budget";
}

TEST(LogLevels, AreTakenBack) {
  const LeveledLog log({{"failed", Level::kDebug}});
  probe::log::SetPluginLevels({});
  pel_log_error(2, "failed");
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("failed"));
}

TEST(LogLevels, DropLinesOfAMutedPlugin) {
  const LeveledLog log({{"x", Level::kError}});
  probe::log::MutePlugin(true);
  pel_log_debug(2, "x");
  pel_log_error(2, "x");
  probe::log::MutePlugin(false);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
