#include "tests/probe/app/probe_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

/// Starts the program with both of its outputs in the pipe.
pid_t Spawn(std::vector<std::string> words, int output) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  pid_t pid = 0;
  const int result = posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (result != 0) throw std::runtime_error("cannot start " + words[0]);
  return pid;
}

}  // namespace

ProbeProcess::ProbeProcess(const std::vector<std::string>& arguments, Journal journal) {
  std::vector<std::string> words{VEXORA_PROBE_FILE};
  if (journal == Journal::kNone) words.emplace_back("--no-journal");
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pipe_ = ends[0];
  pid_ = Spawn(std::move(words), ends[1]);
  close(ends[1]);
}

ProbeProcess::~ProbeProcess() {
  if (!is_over_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(pipe_);
}

ProbeProcess::Read ProbeProcess::ReadMore(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  pollfd ready{.fd = pipe_, .events = POLLIN, .revents = 0};
  if (poll(&ready, 1, static_cast<int>(std::max<long>(left, 0))) <= 0) return Read::kTooLate;
  std::array<char, 4096> text{};
  const ssize_t length = read(pipe_, text.data(), text.size());
  if (length <= 0) return Read::kEnd;
  output_.append(text.data(), static_cast<std::size_t>(length));
  return Read::kSomething;
}

bool ProbeProcess::AwaitOutput(const std::string& text) {
  const auto deadline = Clock::now() + kPatience;
  while (output_.find(text) == std::string::npos) {
    if (ReadMore(deadline) != Read::kSomething) return false;
  }
  return true;
}

int ProbeProcess::AwaitPort() {
  const std::string url = "ws://127.0.0.1:";
  if (!AwaitOutput(url) || !AwaitOutput("TrafficMonitor")) return 0;  // the last line of the start
  return std::atoi(output_.c_str() + output_.find(url) + url.size());
}

void ProbeProcess::Signal(int number) const {
  kill(pid_, number);
}

int ProbeProcess::AwaitExit() {
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
