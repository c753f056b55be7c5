#include "probe/app/service_signals.h"

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

TEST(ServiceSignals, AreKeptUntilSomebodyWaitsForThem) {
  ServiceSignals signals;

  kill(getpid(), SIGTERM);

  EXPECT_STREQ(signals.Wait(), "SIGTERM");
}

TEST(ServiceSignals, AreToldApart) {
  ServiceSignals signals;

  kill(getpid(), SIGINT);
  EXPECT_STREQ(signals.Wait(), "SIGINT");
  kill(getpid(), SIGHUP);
  EXPECT_STREQ(signals.Wait(), "SIGHUP");
}

TEST(ServiceSignals, AreBlockedForAsLongAsTheObjectLives) {
  {
    const ServiceSignals signals;
    EXPECT_TRUE(IsBlocked(SIGINT));
    EXPECT_TRUE(IsBlocked(SIGTERM));
    EXPECT_TRUE(IsBlocked(SIGHUP));
  }
  EXPECT_FALSE(IsBlocked(SIGINT));
  EXPECT_FALSE(IsBlocked(SIGTERM));
  EXPECT_FALSE(IsBlocked(SIGHUP));
}

}  // namespace
}  // namespace probe
