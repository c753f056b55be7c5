#include "probe/host/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

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
