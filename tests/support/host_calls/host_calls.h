#pragma once

#include <functional>

namespace test {

/// Calls a function whenever the plug-in has asked the device centre, or a device, something or has logged a debug
/// line: with the answer made, but not yet given. Calls of the same thread only, and none that the function makes
/// itself. Debug lines are dropped meanwhile. One at a time.
///
/// Needs the library `test_host_calls`, which stands between the monitors and the host.
class HostCalls {
 public:
  explicit HostCalls(std::function<void()> after_each);
  ~HostCalls();
  HostCalls(const HostCalls&) = delete;
  HostCalls& operator=(const HostCalls&) = delete;

 private:
  std::function<void()> after_each_;
};

}  // namespace test
