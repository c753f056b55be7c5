#include "tests/support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

/// Becomes the program, in a child. It is killed with the thread that started it: a test that is killed itself calls no
/// destructor.
[[noreturn]] void Become(pid_t parent, const std::vector<char*>& arguments) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // The parent may have gone before, and nobody would say so.
  if (getppid() == parent) execvp(arguments[0], arguments.data());
  constexpr int kNotFound = 127;  // as a shell says it
  _exit(kNotFound);
}

std::vector<char*> ArgumentsOf(std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  return arguments;
}

/// Starts the program with both of its outputs in the pipe.
pid_t Spawn(std::vector<std::string> words, int output) {
  const std::vector<char*> arguments = ArgumentsOf(words);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("cannot start " + words[0]);
  if (pid == 0) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    Become(parent, arguments);
  }
  return pid;
}

/// Starts the program in a session and on a terminal of its own, of which `terminal` becomes the other end.
pid_t SpawnOnTerminal(std::vector<std::string> words, int& terminal) {
  const std::vector<char*> arguments = ArgumentsOf(words);
  const pid_t parent = getpid();
  const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (pid < 0) throw std::runtime_error("no terminal");
  if (pid == 0) Become(parent, arguments);
  return pid;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> words, Output output) {
  if (output == Output::kTerminal) {
    pid_ = SpawnOnTerminal(std::move(words), pipe_);
    return;
  }
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pipe_ = ends[0];
  pid_ = Spawn(std::move(words), ends[1]);
  close(ends[1]);
}

ChildProcess::~ChildProcess() {
  if (!is_over_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(pipe_);
}

ChildProcess::Read ChildProcess::ReadMore(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  pollfd ready{.fd = pipe_, .events = POLLIN, .revents = 0};
  if (poll(&ready, 1, static_cast<int>(std::max<std::int64_t>(left, 0))) <= 0) return Read::kTooLate;
  std::array<char, 4096> text{};
  const ssize_t length = read(pipe_, text.data(), text.size());
  if (length <= 0) return Read::kEnd;
  output_.append(text.data(), static_cast<std::size_t>(length));
  return Read::kSomething;
}

bool ChildProcess::AwaitOutput(const std::string& text) {
  const auto deadline = Clock::now() + kPatience;
  while (output_.find(text) == std::string::npos) {
    if (ReadMore(deadline) != Read::kSomething) return false;
  }
  return true;
}

void ChildProcess::CloseTerminal() {
  close(pipe_);
  // What can be waited for is now the process itself.
  pipe_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
}

void ChildProcess::Signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::AwaitExit() {
  constexpr int kDidNotEnd = -1000;
  const auto deadline = Clock::now() + kPatience;
  Read read = Read::kSomething;
  while (read == Read::kSomething) read = ReadMore(deadline);
  if (read == Read::kTooLate) return kDidNotEnd;
  int status = 0;
  waitpid(pid_, &status, 0);
  is_over_ = true;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace test
