#pragma once

#include <chrono>
#include <optional>

namespace probe {

/// Tells the service manager how the service fares, where one has started it; else nothing happens.
///
/// `state` is one of sd_notify(3), or several, a line each: "READY=1". Threads: any. Fails: never.
void TellServiceManager(const char* state);

/// The time within which the service manager wants a sign of life, again and again; nothing: it does not ask.
///
/// Source: sd_watchdog_enabled(3).
std::optional<std::chrono::microseconds> WatchdogInterval();

/// Tells the service manager that its configuration is being read anew, and in the end that it is ready again.
///
/// Source: sd_notify(3), "RELOADING=1".
class ReloadNotice {
 public:
  ReloadNotice();
  ~ReloadNotice();
  ReloadNotice(const ReloadNotice&) = delete;
  ReloadNotice& operator=(const ReloadNotice&) = delete;
};

}  // namespace probe
