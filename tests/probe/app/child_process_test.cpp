#include "tests/support/child_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>

namespace {

using test::ChildProcess;

TEST(ChildProcessTest, IsKilledWithTheTestThatStartedIt) {
  std::array<int, 2> pids{};
  ASSERT_EQ(pipe(pids.data()), 0);
  const pid_t starter = fork();
  ASSERT_GE(starter, 0);
  if (starter == 0) {
    const ChildProcess program({"sleep", "600"});
    const pid_t pid = program.pid();
    if (write(pids[1], &pid, sizeof(pid)) == sizeof(pid)) pause();
    _exit(1);
  }
  pid_t program = 0;
  ASSERT_EQ(read(pids[0], &program, sizeof(program)), static_cast<ssize_t>(sizeof(program)));
  const int watch = static_cast<int>(syscall(SYS_pidfd_open, program, 0));
  ASSERT_GE(watch, 0);
  pollfd end{.fd = watch, .events = POLLIN, .revents = 0};
  EXPECT_EQ(poll(&end, 1, 0), 0) << "it does not run";

  kill(starter, SIGKILL);
  waitpid(starter, nullptr, 0);

  constexpr std::chrono::milliseconds kWait = test::kPatience;
  EXPECT_EQ(poll(&end, 1, static_cast<int>(kWait.count())), 1) << "it goes on";
  syscall(SYS_pidfd_send_signal, watch, SIGKILL, nullptr, 0);
  for (const int file : {watch, pids[0], pids[1]}) close(file);
}

TEST(ChildProcessTest, IsAProgramOfThePathThatMayBeMissing) {
  ChildProcess program({"sh", "-c", "echo out; echo err >&2; exit 3"});
  EXPECT_EQ(program.AwaitExit(), 3);
  EXPECT_EQ(program.output(), "out\nerr\n");
  constexpr int kNotFound = 127;
  EXPECT_EQ(ChildProcess({"/no/such/program"}).AwaitExit(), kNotFound);
}

}  // namespace
