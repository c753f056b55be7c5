#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "monitor/engine/monitor.h"
#include "platform/utilities/locks.h"

/// The register of all monitors and the driver of the engine. One for the process.
///
/// Threads: `RegisterMonitor`, `startMonitorEngine` and `stopMonitorEngine` belong to the host's start-up and shutdown
///          paths, one thread at a time; the rest may be called from any thread, also while the engine stops.
class MonitoringManager {
 public:
  /// The one manager, made at first use.
  static MonitoringManager& GetInstance();

  MonitoringManager(const MonitoringManager&) = delete;
  MonitoringManager& operator=(const MonitoringManager&) = delete;

  /// Registers a monitor under its name and makes it the subscriber of its topics. The first of a name wins; a later
  /// one is ignored without a log line.
  ///
  /// Fails: with what the host throws, or `std::bad_alloc`, when it ran out of memory. The monitor is not registered
  /// then,
  ///        unless it feeds one of its topics already: another call for its name adds it to the others.
  void RegisterMonitor(const std::shared_ptr<Monitor>& monitor) VEXORA_EXCLUDES(registry_lock_);

  /// The monitor of this name; an empty pointer when there is none.
  std::shared_ptr<Monitor> GetMonitor(const std::string& name) const VEXORA_EXCLUDES(registry_lock_);

  /// One pass over all monitors, in the order of their names. One that fails ends its own pass only. Threads: the
  /// engine's.
  void DataUpdate(const long& now) VEXORA_EXCLUDES(registry_lock_);

  /// Has every monitor forget a device, also when one of them fails. Threads: any, also during a pass.
  void Cleanup(const std::string& mac) VEXORA_EXCLUDES(registry_lock_);

  /// Starts the engine's task. A refusal is logged; the monitors stay registered and nothing is tried again.
  void startMonitorEngine();

  /// Stops the engine, waits for its task and releases all monitors. It cannot be started again in this process.
  ///
  /// Needs no memory: the host unloads the library when it returns.
  void stopMonitorEngine() VEXORA_EXCLUDES(registry_lock_, stop_lock_);

  /// Whether the engine was told to stop.
  bool stop_flag() const VEXORA_EXCLUDES(stop_lock_);
  void set_stop_flag(const bool& stop) VEXORA_EXCLUDES(stop_lock_);

 private:
  struct State {
    std::atomic<bool> is_defect_reported{false};
    std::size_t topics_fed = 0;  // of its topics, in their order. Only used while monitors are registered.
  };
  struct Registered {
    std::shared_ptr<Monitor> monitor;
    std::shared_ptr<State> state;  // one for the monitor, in every state of the registry
  };
  using Registry = std::map<std::string, Registered>;  // by GetMonitorName()

  MonitoringManager();
  ~MonitoringManager() = default;

  using SharedRegistry = std::shared_ptr<const Registry>;

  /// Makes a monitor the subscriber of those of its topics that it does not feed yet.
  static void Subscribe(const std::string& name, const Registered& registered);

  /// The registry as it is now, which never changes. Monitors are called without the lock: they call the host, and the
  /// host may ask for a monitor meanwhile.
  SharedRegistry Monitors() const VEXORA_EXCLUDES(registry_lock_);

  const std::string merge_task_;  // its name; made in time, because the stop must not need memory
  mutable utilities::lock::Mutex registry_lock_;
  SharedRegistry monitors_ VEXORA_GUARDED_BY(registry_lock_);  // never null; replaced as a whole
  const SharedRegistry no_monitors_;
  mutable utilities::lock::Mutex stop_lock_;
  bool stop_flag_ VEXORA_GUARDED_BY(stop_lock_) = false;
};
