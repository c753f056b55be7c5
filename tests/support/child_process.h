#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace test {

/// For an answer that comes at once from a working program.
inline constexpr std::chrono::seconds kPatience{60};

/// A program that runs as a process of its own, as somebody starts it from a shell. Killed when it goes.
class ChildProcess {
 public:
  /// What it writes to: a pipe, or a terminal of its own, whose session it leads.
  enum class Output { kPipe, kTerminal };

  /// `words`: the program, looked for in the path unless it has a slash, and its arguments.
  explicit ChildProcess(std::vector<std::string> words, Output output = Output::kPipe);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits until it has written `text` to standard output or standard error. False when it ended first, or took longer
  /// than a minute.
  bool AwaitOutput(const std::string& text);

  /// Closes its terminal, as somebody closes a window.
  void CloseTerminal();

  /// Sends it a signal.
  void Signal(int number) const;

  /// Waits until it ends. Returns its exit code, the negative number of the signal that ended it, or -1000 when it did
  /// not end within a minute.
  int AwaitExit();

  /// All that it has written so far.
  const std::string& output() const { return output_; }

  pid_t pid() const { return pid_; }

 private:
  enum class Read { kSomething, kEnd, kTooLate };
  Read ReadMore(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = 0;
  int pipe_ = -1;
  bool is_over_ = false;
  std::string output_;
};

}  // namespace test
