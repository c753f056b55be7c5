#include "probe/sources/snmp/wait.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace probe::snmp {

Wait WaitForInput(int descriptor, std::chrono::steady_clock::time_point deadline, const StopEvent* stop) {
  using Duration = std::chrono::steady_clock::duration;
  // poll(2) counts milliseconds in an int, so that a longer wait takes several calls.
  constexpr Duration kMaxWait = std::chrono::hours(1);
  while (true) {
    const Duration left = std::clamp(deadline - std::chrono::steady_clock::now(), Duration(0), kMaxWait);
    std::array<pollfd, 2> waiting = {
        pollfd{.fd = stop == nullptr ? -1 : stop->descriptor(), .events = POLLIN, .revents = 0},
        pollfd{.fd = descriptor, .events = POLLIN, .revents = 0}};
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    const int ready = poll(waiting.data(), waiting.size(), static_cast<int>(milliseconds));
    if (ready > 0 && waiting[0].revents != 0) return Wait::kStopped;
    if (ready > 0 && (waiting[1].revents & POLLERR) != 0) return Wait::kError;
    if (ready > 0 && waiting[1].revents != 0) return Wait::kReady;
    // Nothing can be waited for: the system allows the process fewer descriptors than it asks about.
    if (ready < 0 && errno != EINTR) return Wait::kTooLate;
    if (deadline <= std::chrono::steady_clock::now()) return Wait::kTooLate;
  }
}

}  // namespace probe::snmp
