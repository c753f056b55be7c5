#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "probe/clock/clock.h"
#include "probe/clock/virtual_clock.h"
#include "tests/support/message_capture.h"
#include "tests/support/network.h"

namespace test {

/// So many devices make a small network: enough that each pass takes a while.
inline constexpr int kDeviceCount = 5;

/// The MAC of a device of a small network, counted from 0.
std::string DeviceMac(int device);

/// How many passes are run, and how long after each other by the clock.
struct Passes {
  int count = 40;
  time_t seconds_apart = 60;
};

/// The engine with all its monitors, running over a network on a virtual clock. One at a time.
///
/// Made for tests in which host threads call in while passes run; ThreadSanitizer watches. Only errors are logged.
class RunningEngine {
 public:
  static constexpr time_t kStart = 1'795'219'200;  // 2026-11-21 00:00:00 UTC, a Saturday
  static constexpr int kPasses = Passes{}.count;   // unless a test asks for others

  /// What a host thread does again and again. Both the thread and its calls are counted from 0.
  using Call = std::function<void(int caller, int round)>;

  /// `refresh` describes the network as it is at a pass, counted from 0; it is called before the engine starts and
  /// before every pass.
  explicit RunningEngine(std::function<void(Network&, int pass)> refresh);
  ~RunningEngine();
  RunningEngine(const RunningEngine&) = delete;
  RunningEngine& operator=(const RunningEngine&) = delete;

  /// Runs passes, and `call` again and again on each of `threads` other threads: from before the first pass until each
  /// of them has begun and ended a call after the last.
  void DuringPasses(int threads, const Call& call, Passes passes = {});
  void DuringPasses(int threads, const std::function<void()>& call, Passes passes = {});

  /// Runs a pass, and calls `call` again and again on four other threads while the engine stops.
  void StopWhile(const std::function<void()>& call);

  /// The messages sent since the last call.
  std::vector<SentMessage> Sent() { return messages_.Take(); }

 private:
  void RunPass(int pass, time_t moment);

  std::function<void(Network&, int)> refresh_;
  probe::VirtualClock clock_{kStart};
  probe::ClockInstallation installation_{clock_};
  Network network_;
  MessageCapture messages_;
};

}  // namespace test
