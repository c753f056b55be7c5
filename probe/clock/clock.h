#pragma once

#include <sys/time.h>

#include <ctime>

namespace probe {

/// What `time`, `gettimeofday` and `sleep` of the C library do in executables that link `probe_clock_symbols`.
///
/// Threads: every thread of the process calls it.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The present moment.
  virtual timeval Now() = 0;

  /// Blocks the calling thread for so many seconds of this clock. Returns the seconds that were left when something
  /// ended the sleep early, 0 otherwise. Source: sleep(3).
  virtual unsigned Sleep(unsigned seconds) = 0;
};

/// Makes `clock` the clock of the process; null brings the system's back. The caller keeps owning it, and takes it out
/// again before it goes. Returns the clock that was there before; null for the system's.
Clock* InstallClock(Clock* clock);

/// The clock of the process: the installed one, or the system's, whose `Sleep` a signal ends early.
Clock& InstalledClock();

/// Installs a clock for as long as the scope lasts, and the one that was there before again.
class ClockInstallation {
 public:
  explicit ClockInstallation(Clock& clock) : before_(InstallClock(&clock)) {}
  ~ClockInstallation() { InstallClock(before_); }
  ClockInstallation(const ClockInstallation&) = delete;
  ClockInstallation& operator=(const ClockInstallation&) = delete;

 private:
  Clock* before_;
};

}  // namespace probe
