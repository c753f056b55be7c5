#pragma once

#include <csignal>

namespace probe {

/// The signals by which people and service managers steer the probe, SIGINT, SIGTERM and SIGHUP, taken one at a time
/// and by one thread only.
///
/// Threads started while it lives inherit the blocked signals, so that none of them is ever interrupted: make it before
///          the first thread. The same thread makes it, waits and lets it go.
class ServiceSignals {
 public:
  /// Blocks them. Fails: throws `std::system_error` when there are no descriptors to wait with.
  ServiceSignals();

  /// Gives the thread back its former signal mask.
  ~ServiceSignals();
  ServiceSignals(const ServiceSignals&) = delete;
  ServiceSignals& operator=(const ServiceSignals&) = delete;

  /// Blocks until one of them comes, or has come since they were blocked, and returns its name; null after `Interrupt`.
  const char* Wait();

  /// Whether the terminal from which the process was started is gone: a SIGHUP then tells of that, and not of another
  /// configuration. Never for a process that was started with SIGHUP ignored: it is to survive its terminal.
  bool IsTerminalGone() const;

  /// Ends the wait, or the next one, for another reason than a signal. Threads: any.
  void Interrupt();

 private:
  sigset_t former_{};
  int interrupted_;    // an eventfd
  int arrivals_ = -1;  // a signalfd
  const bool ends_with_terminal_;
};

}  // namespace probe
