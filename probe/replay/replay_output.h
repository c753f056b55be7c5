#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/host/log.h"
#include "probe/replay/pass_meter.h"

namespace probe {

/// What comes out of a replay, as JSON Lines on a stream.
///
/// Lines are kept until `Flush`: a push or a log line that comes in the middle of a pass costs the pass a copy of its
/// text and no more. Threads: any.
class ReplayOutput {
 public:
  explicit ReplayOutput(std::ostream& stream) : stream_(stream) {}

  void Push(std::uint64_t pass, time_t at, const std::string& connection, const std::string& text);
  void Return(const std::string& entry, time_t at, const std::string& text);
  void Return(const std::string& entry, time_t at, const std::map<std::string, unsigned long long>& out);
  void Log(log::Level level, int module, const std::string& text);
  void Timing(const PassCost& cost);

  /// Drops what comes from now on.
  void Mute();

  /// Writes all that was kept.
  void Flush();

 private:
  /// One line to be; what its kind does not need is empty.
  struct Event {
    enum class Kind { kPush, kReturn, kReturnMap, kLog } kind;
    std::uint64_t pass = 0;
    time_t at = 0;
    std::string name;  ///< Connection, entry point or log level.
    int module = 0;
    std::string text;
    std::map<std::string, unsigned long long> out;
  };

  void Keep(Event event);
  static std::string LineOf(Event event);

  std::ostream& stream_;  // the driver's thread only
  utilities::lock::Mutex lock_;
  std::vector<Event> events_ VEXORA_GUARDED_BY(lock_);
  bool is_muted_ VEXORA_GUARDED_BY(lock_) = false;
  std::uint64_t pushes_ VEXORA_GUARDED_BY(lock_) = 0;
  std::uint64_t bytes_ VEXORA_GUARDED_BY(lock_) = 0;
};

}  // namespace probe
