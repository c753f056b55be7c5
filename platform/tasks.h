#pragma once

#include <memory>
#include <string>
#include <utility>

/// A piece of work that a thread of the host runs. The plug-in derives from it.
///
/// Owner:   shared between the plug-in and the host, which releases it as soon as the task is over.
/// Threads: made on one thread, run on another; its name is constant.
class Task {
 public:
  /// Makes a task of this name.
  ///
  /// Fails: never throws, but for `std::bad_alloc`.
  explicit Task(std::string name) : name_(std::move(name)) {}
  virtual ~Task() = default;  // runs in the plug-in's code
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  /// The work. The host calls it once, on the task's thread; the task is over when it returns.
  ///
  /// Threads: the task's own. Calls every other service of the host.
  /// Fails:   never throws.
  virtual void Run() = 0;

  /// The name by which `WaitTaskPool` finds the task.
  ///
  /// Owner: the task. Fails: never.
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

namespace task_manager {

/// Runs a task on a thread of its own, beside the caller. The plug-in calls the host.
///
/// Owner:   shared until the task is over.
/// Threads: any. Returns at once, without waiting for the task.
/// Fails:   0 or more means that the task runs or will run, a negative number that it will not; a host may refuse a
///          second task of a name that is running. Never throws.
int StartTask(std::shared_ptr<Task> task);

/// Blocks until every task of this name is over. The plug-in calls the host, from `stop_monitor`.
///
/// When it returns, the host holds no reference to such a task any more, so that the library with the task's code may
/// be unloaded.
///
/// The plug-in's task spends its life in `sleep(60)`. A host that wants to stop promptly interrupts that sleep, with a
/// signal to the task's thread whose handler does nothing: `sleep` then returns early and the task runs to its end.
/// One signal may come too early, before the sleep: repeat it until the task is over.
///
/// Threads: any but the task's own.
/// Fails:   returns at once for a name that nobody started; never throws.
void WaitTaskPool(const std::string& name);

}  // namespace task_manager

/// Forgets a device: frees what the plug-in holds for this MAC. The host calls the plug-in.
///
/// Threads: any, also during a pass. Waits for the pass where both touch the same data, so the caller must hold no lock
///          that a platform call of the plug-in takes.
/// Fails:   an empty MAC changes nothing and is logged; never throws.
using MonitorMemoryCleanup = void (*)(const std::string& mac);

/// Hands over the function to be called when a device is dropped. The plug-in calls the host.
///
/// A later registration replaces an earlier one.
///
/// Owner:   the function is code of the plug-in: the host forgets it before it unloads the library.
/// Threads: called on the thread that calls `RegisterMonitors`. Fails: never.
void RegisterMonitorMemoryCleanup(MonitorMemoryCleanup cleanup);
