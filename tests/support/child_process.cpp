#include "tests/support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <utility>

using utilities::lock::lock_guard;

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
  // ThreadSanitizer takes the threads that the parent has not joined yet for the child's, when it sees it end.
  syscall(SYS_exit_group, kNotFound);
  std::abort();
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

ChildProcess::ChildProcess(std::vector<std::string> words, Output output) : stop_(eventfd(0, EFD_CLOEXEC)) {
  if (output == Output::kTerminal) {
    pid_ = SpawnOnTerminal(std::move(words), source_);
  } else {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    source_ = ends[0];
    pid_ = Spawn(std::move(words), ends[1]);
    close(ends[1]);
  }
  reader_ = std::thread([this] { ReadAll(); });
}

ChildProcess::~ChildProcess() {
  if (!is_over_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  StopReading();
  close(stop_);
  if (source_ >= 0) close(source_);
  if (process_ >= 0) close(process_);
}

void ChildProcess::ReadAll() {
  std::array<char, 4096> text{};
  std::array<pollfd, 2> ready{
      {{.fd = source_, .events = POLLIN, .revents = 0}, {.fd = stop_, .events = POLLIN, .revents = 0}}};
  while (poll(ready.data(), ready.size(), -1) > 0 && ready[1].revents == 0) {
    const ssize_t length = read(source_, text.data(), text.size());
    if (length <= 0) break;
    const lock_guard held(lock_);
    output_.append(text.data(), static_cast<std::size_t>(length));
    changed_.NotifyAll();
  }
  const lock_guard held(lock_);
  has_ended_ = true;
  changed_.NotifyAll();
}

void ChildProcess::StopReading() {
  eventfd_write(stop_, 1);
  if (reader_.joinable()) reader_.join();
}

std::string ChildProcess::output() const {
  const lock_guard held(lock_);
  return output_;
}

bool ChildProcess::AwaitOutput(const std::string& text) {
  const auto deadline = Clock::now() + kPatience;
  const lock_guard held(lock_);
  while (output_.find(text) == std::string::npos) {
    if (has_ended_ || !changed_.WaitUntil(lock_, deadline)) return false;
  }
  return true;
}

void ChildProcess::CloseTerminal() {
  process_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  StopReading();
  close(std::exchange(source_, -1));
}

void ChildProcess::Signal(int number) const {
  kill(pid_, number);
}

int ChildProcess::AwaitExit() {
  constexpr int kDidNotEnd = -1000;
  const auto deadline = Clock::now() + kPatience;
  if (process_ >= 0) {
    pollfd ended{.fd = process_, .events = POLLIN, .revents = 0};
    const auto patience = std::chrono::duration_cast<std::chrono::milliseconds>(kPatience).count();
    if (poll(&ended, 1, static_cast<int>(patience)) <= 0) return kDidNotEnd;
  } else {
    const lock_guard held(lock_);
    while (!has_ended_ && changed_.WaitUntil(lock_, deadline)) continue;
    if (!has_ended_) return kDidNotEnd;
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  is_over_ = true;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace test
