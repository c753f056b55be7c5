#include "probe/app/stop_signals.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <csignal>

namespace probe {
namespace {

bool IsBlocked(int signal) {
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  return sigismember(&mask, signal) == 1;
}

TEST(StopSignals, AreKeptUntilSomebodyWaitsForThem) {
  StopSignals signals;

  kill(getpid(), SIGTERM);

  EXPECT_STREQ(signals.Wait(), "SIGTERM");
}

TEST(StopSignals, AreToldApart) {
  StopSignals signals;

  kill(getpid(), SIGINT);

  EXPECT_STREQ(signals.Wait(), "SIGINT");
}

TEST(StopSignals, AreBlockedForAsLongAsTheObjectLives) {
  {
    const StopSignals signals;
    EXPECT_TRUE(IsBlocked(SIGINT));
    EXPECT_TRUE(IsBlocked(SIGTERM));
  }
  EXPECT_FALSE(IsBlocked(SIGINT));
  EXPECT_FALSE(IsBlocked(SIGTERM));
}

}  // namespace
}  // namespace probe
