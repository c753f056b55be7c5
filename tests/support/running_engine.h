#pragma once

#include <atomic>
#include <ctime>
#include <functional>
#include <vector>

#include "probe/clock/virtual_clock.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace test {

/// The engine with all its monitors, running over a network on a virtual clock, a minute a pass. One at a time.
///
/// Made for tests in which host threads call in while passes run; ThreadSanitizer watches.
class RunningEngine {
 public:
  static constexpr time_t kStart = 1'795'219'200;
  static constexpr int kPasses = 40;

  /// `refresh` describes the network as it is at a pass, counted from 0; it is called before the engine starts and
  /// before every pass.
  explicit RunningEngine(std::function<void(Network&, int pass)> refresh);
  ~RunningEngine();
  RunningEngine(const RunningEngine&) = delete;
  RunningEngine& operator=(const RunningEngine&) = delete;

  /// Runs `kPasses` passes, and `call` again and again on each of `threads` other threads until they are done.
  void DuringPasses(int threads, const std::function<void()>& call);

  /// Calls `call` again and again on four other threads while the engine stops.
  void StopWhile(const std::function<void()>& call);

  /// The messages sent since the last call.
  std::vector<SentMessage> Sent() { return messages_.Take(); }

 private:
  std::function<void(Network&, int)> refresh_;
  probe::VirtualClock clock_{kStart};
  probe::ClockInstallation installation_{clock_};
  Network network_;
  MessageCapture messages_;
};

}  // namespace test
