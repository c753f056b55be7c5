#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "platform/utilities/locks.h"

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
  bool AwaitOutput(const std::string& text) VEXORA_EXCLUDES(lock_);

  /// Closes its terminal, as somebody closes a window.
  void CloseTerminal();

  /// Sends it a signal.
  void Signal(int number) const;

  /// Waits until it ends. Returns its exit code, the negative number of the signal that ended it, or -1000 when it did
  /// not end within a minute.
  int AwaitExit() VEXORA_EXCLUDES(lock_);

  /// All that it has written so far and that was read.
  std::string output() const VEXORA_EXCLUDES(lock_);

  pid_t pid() const { return pid_; }

 private:
  /// Reads what it writes for as long as it does, so that it never waits for room, whatever the test is doing.
  void ReadAll() VEXORA_EXCLUDES(lock_);
  void StopReading();

  pid_t pid_ = 0;
  int source_ = -1;   // pipe or terminal
  int process_ = -1;  // that can be waited for, when the terminal has been closed
  int stop_ = -1;     // becomes readable when nothing more is to be read
  bool is_over_ = false;

  mutable utilities::lock::Mutex lock_;
  utilities::lock::CondVar changed_;
  std::string output_ VEXORA_GUARDED_BY(lock_);
  bool has_ended_ VEXORA_GUARDED_BY(lock_) = false;  // what it writes
  std::thread reader_;                               // last: the rest is ready when it runs
};

}  // namespace test
