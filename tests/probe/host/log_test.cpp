#include "probe/host/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "platform/logging.h"
#include "tests/support/log_capture.h"

namespace {

using probe::log::Level;
using test::LogCapture;
using test::LogLine;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(Log, KeepsLevelModuleAndText) {
  const LogCapture log;
  pel_log_debug(2, "a %d", 1);
  pel_log_info(2, "b %s", "x");
  pel_log_error(19, "c");
  probe::log::Info("d");
  probe::log::Error("e");
  EXPECT_THAT(log.Lines(), ElementsAre(LogLine{Level::kDebug, 2, "a 1"}, LogLine{Level::kInfo, 2, "b x"},
                                       LogLine{Level::kError, 19, "c"}, LogLine{Level::kInfo, 0, "d"},
                                       LogLine{Level::kError, 0, "e"}));
}

TEST(Log, CountsTheLinesThatAreWrittenByLevel) {
  const LogCapture log;
  const auto written = [](Level level) { return probe::log::LinesWritten(level); };
  const auto infos = written(Level::kInfo);
  const auto errors = written(Level::kError);
  probe::log::Info("a");
  pel_log_error(2, "b");
  probe::log::SetLevel(Level::kError);
  probe::log::Info("c");
  probe::log::Error("d");
  EXPECT_EQ(written(Level::kInfo) - infos, 1U);
  EXPECT_EQ(written(Level::kError) - errors, 2U);
}

TEST(Log, DropsWhatIsBelowTheLevel) {
  const LogCapture log;
  probe::log::SetLevel(Level::kError);
  pel_log_debug(2, "a");
  pel_log_info(2, "b");
  probe::log::Info("c");
  EXPECT_THAT(log.Lines(), IsEmpty());
  pel_log_error(2, "d");
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("d"));
}

TEST(Log, LetsNoNetworkNameForgeALineOrReachTheTerminal) {
  const LogCapture log;
  pel_log_info(2, "ssid %s", "x\n2026-11-15 error forged\x1b[31m\xff");
  EXPECT_THAT(log.Texts(Level::kInfo), ElementsAre("ssid x\\x0a2026-11-15 error forged\\x1b[31m\xEF\xBF\xBD"));
}

TEST(Log, HoldsLinesOfAnyLength) {
  const LogCapture log;
  const std::string text(10'000, 'x');
  pel_log_info(2, "%s", text.c_str());
  EXPECT_THAT(log.Texts(Level::kInfo), ElementsAre(text));
}

TEST(Log, LeavesOutLinesOfThePluginBeyondItsBudgetAndCountsThem) {
  const LogCapture log;
  probe::log::LimitPlugin(probe::log::PluginBudget{.burst = 100, .per_second = 0});
  {
    const probe::log::RequestScope scope;
    for (int line = 0; line < 1'000; ++line) pel_log_error(2, "rogue %d", line);
    pel_log_info(2, "information");
  }
  probe::log::Error("of the probe itself");
  probe::log::LimitPlugin(std::nullopt);
  EXPECT_EQ(log.Texts(Level::kError, "rogue").size(), 100U);
  EXPECT_THAT(log.Texts(Level::kInfo, "information"), IsEmpty());
  EXPECT_THAT(log.Texts(Level::kWarning),
              ElementsAre("[Log] 1 lines of the plug-in were left out: they came too fast",
                          "[Log] 900 lines of the plug-in were left out: they came too fast"))
      << "at once, then once a minute, and the rest at the end";
  EXPECT_THAT(log.Texts(Level::kError, "itself"), ElementsAre("of the probe itself"));
}

TEST(Log, LeavesNoLineOfTheEngineOut) {
  const LogCapture log;
  probe::log::LimitPlugin(probe::log::PluginBudget{.burst = 10, .per_second = 0});
  {
    const probe::log::RequestScope scope;
    for (int line = 0; line < 100; ++line) pel_log_error(2, "asked for");
  }
  for (int line = 0; line < 1'000; ++line) pel_log_error(2, "rogue %d", line);
  std::thread([] { pel_log_error(2, "rogue of another thread"); }).join();
  probe::log::LimitPlugin(std::nullopt);
  EXPECT_EQ(log.Texts(Level::kError, "rogue").size(), 1'001U) << "whatever clients have used up";
  EXPECT_EQ(log.Texts(Level::kError, "asked for").size(), 10U);
}

TEST(Log, CountsNoDebugLinesAndGivesThePluginMoreWithTime) {
  const LogCapture log;
  const probe::log::RequestScope scope;
  probe::log::LimitPlugin(probe::log::PluginBudget{.burst = 1, .per_second = 1'000});
  for (int line = 0; line < 100; ++line) pel_log_debug(2, "d");
  EXPECT_EQ(log.Texts(Level::kDebug).size(), 100U);
  pel_log_error(2, "first");
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  pel_log_error(2, "second");
  probe::log::LimitPlugin(std::nullopt);
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("first", "second"));
}

TEST(Log, TellsWhetherDebugLinesAreWritten) {
  const LogCapture log;
  EXPECT_TRUE(pel_log_is_debug_enabled());
  probe::log::SetLevel(Level::kInfo);
  EXPECT_FALSE(pel_log_is_debug_enabled());
}

TEST(Log, GoesToStandardErrorByDefault) {
  ::testing::internal::CaptureStderr();
  pel_log_info(2, "hello");
  pel_log_debug(2, "too much");
  const std::string written = ::testing::internal::GetCapturedStderr();
  EXPECT_THAT(written, HasSubstr("info  monitor hello\n"));
  EXPECT_THAT(written, ::testing::Not(HasSubstr("too much")));
}

}  // namespace
