#pragma once

namespace probe::snmp {

/// Ends all waits for devices at once: a descriptor that becomes readable and stays so.
///
/// Owner:   the poller; it outlives whoever waits.
/// Threads: any.
class StopEvent {
 public:
  /// Fails: throws `std::system_error` when there is no descriptor left.
  StopEvent();
  ~StopEvent();
  StopEvent(const StopEvent&) = delete;
  StopEvent& operator=(const StopEvent&) = delete;

  /// Ends every wait that goes on, and every later one. It cannot be taken back.
  void Set();

  /// Whether it was set.
  bool is_set() const;

  /// For poll(2): readable once it was set.
  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace probe::snmp
