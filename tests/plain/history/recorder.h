#pragma once

#include <string>
#include <vector>

namespace history {

/// Takes down, in one order, what can be seen from outside: each log line with level and module, and each message with
/// its connection. One at a time.
class Recorder {
 public:
  Recorder();
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// What was taken down since the last call, an entry an event.
  std::vector<std::string> Take();

  /// Without a send function messages are dropped.
  static void InstallSendFunction(bool is_installed);
};

/// What distinguishes two lists of events, in words for a person; empty for equal ones.
std::string Difference(const std::vector<std::string>& product, const std::vector<std::string>& plain);

}  // namespace history
