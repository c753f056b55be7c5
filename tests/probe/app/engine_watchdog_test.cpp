#include "probe/app/engine_watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "tests/support/log_capture.h"

namespace probe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::chrono::milliseconds kInterval{40};

/// Waits until it is true, however slow the machine.
void AwaitWatchdog(const std::function<bool()>& condition) {
  while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(EngineWatchdog, GivesSignsForAsLongAsTheEngineMakesProgress) {
  const test::LogCapture log;
  double steps = 0;  // the watchdog's thread alone counts
  std::atomic<int> signs{0};
  {
    const EngineWatchdog watchdog(
        kInterval, [&] { return ++steps; }, [&] { ++signs; });
    AwaitWatchdog([&] { return signs >= 30; });
  }
  EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(EngineWatchdog, SaysOnceWhyItGivesNoneForAStuckEngineAndGoesOnWithTheEngine) {
  const test::LogCapture log;
  std::atomic<int> steps{0};
  std::atomic<int> signs{0};
  const EngineWatchdog watchdog(
      kInterval, [&] { return steps.load(); }, [&] { ++signs; });
  const auto complaints = [&] { return log.Texts(log::Level::kError); };

  AwaitWatchdog([&] { return !complaints().empty(); });
  const int before = signs;
  std::this_thread::sleep_for(2 * kInterval);
  EXPECT_EQ(signs, before);
  EXPECT_THAT(complaints(), ElementsAre(StartsWith("[Watchdog] the engine has been stuck for ")));

  ++steps;
  AwaitWatchdog([&] { return signs > before; });
  AwaitWatchdog([&] { return complaints().size() == 2; });
}

TEST(EngineWatchdog, GivesNoSignBehindItsEnd) {
  std::atomic<int> signs{0};
  {
    const EngineWatchdog watchdog(
        std::chrono::hours(1), [] { return 0; }, [&] { ++signs; });
    AwaitWatchdog([&] { return signs > 0; });
  }
  EXPECT_EQ(signs, 1) << "it ends at once, and not after a tenth of an hour";
}

}  // namespace
}  // namespace probe
