#pragma once

#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace test {

/// A `vexora-probe` that runs as a process of its own.
class ProbeProcess : public ChildProcess {
 public:
  /// That of this machine, where it would be without more words, is none of the tests' business.
  enum class Journal { kNone, kAsConfigured };

  explicit ProbeProcess(const std::vector<std::string>& arguments, Journal journal = Journal::kNone,
                        Output output = Output::kPipe);

  /// The program's file.
  static std::string File();

  /// The port that it said it listens on; 0 when it ended without having said so.
  int AwaitPort();
};

}  // namespace test
