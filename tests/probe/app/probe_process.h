#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace test {

/// For an answer that comes at once from a working probe.
inline constexpr std::chrono::seconds kPatience{60};

/// A `vexora-probe` that runs as a process of its own, as somebody starts it from a shell. Killed when it goes.
class ProbeProcess {
 public:
  /// That of this machine, where it would be without more words, is none of the tests' business.
  enum class Journal { kNone, kAsConfigured };

  explicit ProbeProcess(const std::vector<std::string>& arguments, Journal journal = Journal::kNone);
  ~ProbeProcess();
  ProbeProcess(const ProbeProcess&) = delete;
  ProbeProcess& operator=(const ProbeProcess&) = delete;

  /// Waits until it has written `text` to standard output or standard error. False when it ended first, or took longer
  /// than a minute.
  bool AwaitOutput(const std::string& text);

  /// The port that it said it listens on; 0 when it ended without having said so.
  int AwaitPort();

  /// Sends it a signal.
  void Signal(int number) const;

  /// Waits until it ends. Returns its exit code, the negative number of the signal that ended it, or -1000 when it did
  /// not end within a minute.
  int AwaitExit();

  /// All that it has written so far.
  const std::string& output() const { return output_; }

 private:
  enum class Read { kSomething, kEnd, kTooLate };
  Read ReadMore(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = 0;
  int pipe_ = -1;
  bool is_over_ = false;
  std::string output_;
};

}  // namespace test
