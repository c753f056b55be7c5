#include "monitor/engine/boundary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <new>
#include <stdexcept>

#include "tests/support/log_capture.h"

namespace {

using monitoring::DefectPolicy;
using monitoring::WithinBoundary;
using probe::log::Level;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

[[noreturn]] void ThrowOutOfRange() {
  throw std::out_of_range("no such view");
}

void ThrowBadAlloc() {
  throw std::bad_alloc();
}

TEST(Boundary, RunsTheStep) {
  int runs = 0;
  WithinBoundary("Test", [&] { ++runs; });
  EXPECT_EQ(runs, 1);
}

TEST(Boundary, SurvivesAnExhaustedHeapWithoutAWord) {
  const test::LogCapture log;
  std::atomic<bool> is_reported{false};
  for (const DefectPolicy policy : {DefectPolicy::kEndProcess, DefectPolicy::kLogAndSurvive}) {
    bool is_begun = false;
    bool is_done = false;
    WithinBoundary(
        "Test",
        [&] {
          is_begun = true;
          ThrowBadAlloc();
          is_done = true;
        },
        policy, is_reported);
    EXPECT_TRUE(is_begun);
    EXPECT_FALSE(is_done);
  }
  WithinBoundary("Test", &ThrowBadAlloc);
  EXPECT_THAT(log.Lines(), IsEmpty());
  EXPECT_FALSE(is_reported);
}

/// Runs a step under the policy of a release, at a place that has logged nothing yet.
template <typename Step>
void WithinReleaseBoundary(const char* place, Step step) {
  std::atomic<bool> is_reported{false};
  WithinBoundary(place, step, DefectPolicy::kLogAndSurvive, is_reported);
}

TEST(Boundary, LogsAnyOtherExceptionInARelease) {
  const test::LogCapture log;
  WithinReleaseBoundary("TrafficMonitor::PushDataBySID", &ThrowOutOfRange);
  EXPECT_THAT(
      log.Lines(),
      ElementsAre(test::LogLine{
          Level::kError, 19, "[TrafficMonitor::PushDataBySID] Unexpected exception std::out_of_range: no such view"}));
}

TEST(Boundary, LogsWhatIsNoStandardExceptionInARelease) {
  const test::LogCapture log;
  WithinReleaseBoundary("Test", [] { throw 7; });
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("[Test] Unexpected exception int: not a std::exception"));
}

TEST(Boundary, LogsOnceForEachPlace) {
  const test::LogCapture log;
  std::atomic<bool> first{false};
  std::atomic<bool> second{false};
  for (int pass = 0; pass < 3; ++pass) {
    WithinBoundary("First", &ThrowOutOfRange, DefectPolicy::kLogAndSurvive, first);
    WithinBoundary("Second", &ThrowOutOfRange, DefectPolicy::kLogAndSurvive, second);
  }
  EXPECT_THAT(log.Texts(Level::kError), ElementsAre("[First] Unexpected exception std::out_of_range: no such view",
                                                    "[Second] Unexpected exception std::out_of_range: no such view"));
}

TEST(BoundaryDeathTest, EndsADebugBuildWithTheExceptionAndThePlace) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  std::atomic<bool> is_reported{false};
  EXPECT_DEATH(
      WithinBoundary("TrafficMonitor::PushDataBySID", &ThrowOutOfRange, DefectPolicy::kEndProcess, is_reported),
      "\\[TrafficMonitor::PushDataBySID\\] Unexpected exception std::out_of_range: no such view");
  EXPECT_DEATH(WithinBoundary(
                   "Test", [] { throw 7; }, DefectPolicy::kEndProcess, is_reported),
               "\\[Test\\] Unexpected exception int: not a std::exception");
}

TEST(Boundary, HasThePolicyOfTheBuild) {
#ifdef NDEBUG
  EXPECT_EQ(monitoring::kDefectPolicy, DefectPolicy::kLogAndSurvive);
#else
  EXPECT_EQ(monitoring::kDefectPolicy, DefectPolicy::kEndProcess);
#endif
}

/// Blocks until it is cancelled; notes whether its frame was unwound.
void* WaitToBeCancelled(void* argument) {
  struct Note {
    bool& is_unwound;
    ~Note() { is_unwound = true; }
  };
  WithinBoundary("Test", [argument] {
    const Note note{*static_cast<bool*>(argument)};
    pause();  // a cancellation point, as a host's log call may be
  });
  return nullptr;
}

TEST(Boundary, LetsACancelledThreadUnwind) {
  const test::LogCapture log;
  bool is_unwound = false;
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, &WaitToBeCancelled, &is_unwound), 0);
  ASSERT_EQ(pthread_cancel(thread), 0);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_TRUE(is_unwound);
  EXPECT_THAT(log.Lines(), IsEmpty());
}

}  // namespace
