#include "probe/app/service_signals.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace probe {
namespace {

bool IsBlocked(int signal) {
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  return sigismember(&mask, signal) == 1;
}

/// What a child process with a terminal of its own says of something.
bool IsTrueWithTerminal(const std::function<bool()>& ask) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) _exit(ask() ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  close(terminal);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) <= 1);
  return WEXITSTATUS(status) == 0;
}

TEST(ServiceSignals, TakeATerminalForGoneOnlyWhenItIs) {
  EXPECT_TRUE(IsTrueWithTerminal([] {
    const ServiceSignals signals;
    const rlimit none{0, 0};
    return setrlimit(RLIMIT_NOFILE, &none) == 0 && !signals.IsTerminalGone();
  })) << "there is no descriptor left to look with";
  const auto lose_terminal = [] {
    ServiceSignals signals;
    if (ioctl(STDIN_FILENO, TIOCNOTTY) != 0) _exit(2);
    signals.Wait();  // the kernel sends SIGHUP with it
    return signals.IsTerminalGone();
  };
  EXPECT_TRUE(IsTrueWithTerminal(lose_terminal));
  EXPECT_FALSE(IsTrueWithTerminal([&] {
    std::signal(SIGHUP, SIG_IGN);
    return lose_terminal();
  })) << "it was started to survive its terminal";
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
