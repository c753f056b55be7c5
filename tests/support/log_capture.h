#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/log.h"

namespace test {

/// One captured log line.
struct LogLine {
  probe::log::Level level;
  int module;
  std::string text;

  friend bool operator==(const LogLine&, const LogLine&) = default;
};
std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// Takes all log lines, debug included, in place of standard error for as long as it lives. Threads: any may log.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> Lines() const;
  /// The texts of the lines of a level that contain `part`, in order.
  std::vector<std::string> Texts(probe::log::Level level, const std::string& part = "") const;
  void Forget();

 private:
  mutable utilities::lock::Mutex lock_;
  std::vector<LogLine> lines_ VEXORA_GUARDED_BY(lock_);
};

}  // namespace test
