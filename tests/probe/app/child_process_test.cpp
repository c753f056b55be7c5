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
#include <cstddef>
#include <string>

namespace {

using test::ChildProcess;

constexpr std::chrono::milliseconds kWait = test::kPatience;

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

  EXPECT_EQ(poll(&end, 1, static_cast<int>(kWait.count())), 1) << "it goes on";
  syscall(SYS_pidfd_send_signal, watch, SIGKILL, nullptr, 0);
  for (const int file : {watch, pids[0], pids[1]}) close(file);
}

TEST(ChildProcessTest, NeverWaitsForRoomForWhatItWrites) {
  std::array<int, 2> done{};
  ASSERT_EQ(pipe(done.data()), 0);
  constexpr std::size_t kManyOctets = 1'000'000;  // a pipe holds some 65,000
  ChildProcess program({"sh", "-c", "yes | head -c 1000000; echo >&" + std::to_string(done[1])});
  close(done[1]);
  pollfd ready{.fd = done[0], .events = POLLIN, .revents = 0};
  // Nobody has asked for what it writes.
  ASSERT_EQ(poll(&ready, 1, static_cast<int>(kWait.count())), 1) << "it waits for a reader";
  EXPECT_TRUE((ready.revents & POLLIN) != 0);
  close(done[0]);
  EXPECT_EQ(program.AwaitExit(), 0);
  EXPECT_EQ(program.output().size(), kManyOctets);
}

TEST(ChildProcessTest, IsAProgramOfThePathThatMayBeMissing) {
  ChildProcess program({"sh", "-c", "echo out; echo err >&2; exit 3"});
  EXPECT_EQ(program.AwaitExit(), 3);
  EXPECT_EQ(program.output(), "out\nerr\n");
  constexpr int kNotFound = 127;
  EXPECT_EQ(ChildProcess({"/no/such/program"}).AwaitExit(), kNotFound);
}

}  // namespace
