#pragma once

#include <map>
#include <memory>
#include <string>
#include <thread>

#include "platform/tasks.h"
#include "platform/utilities/locks.h"

namespace probe {

/// The reference host's task service: a thread for each task, one task of a name at a time.
///
/// Waiting for a task interrupts its sleep: `WaitTaskPool` sends its thread a signal with an empty handler, again and
/// again until the task is over, for a signal that arrives just before the sleep begins would otherwise be lost.
///
/// Threads: any.
class TaskService {
 public:
  /// The one task service of the process, behind `task_manager`.
  static TaskService& Instance();

  /// As `task_manager::StartTask`; -1 for a task of a name that is running.
  int Start(std::shared_ptr<Task> task) VEXORA_EXCLUDES(lock_);

  /// As `task_manager::WaitTaskPool`.
  void Wait(const std::string& name) VEXORA_EXCLUDES(lock_);

 private:
  struct RunningTask {
    std::thread thread;
    bool is_over = false;  ///< Guarded by the service's lock.
  };

  /// Starts the thread of a task that was just added. False when the system gives no more threads.
  bool StartThread(RunningTask& running, std::shared_ptr<Task> task);
  void Run(std::shared_ptr<Task> task, RunningTask& running) VEXORA_EXCLUDES(lock_);

  utilities::lock::Mutex lock_;
  utilities::lock::CondVar task_over_;
  std::map<std::string, std::shared_ptr<RunningTask>> tasks_ VEXORA_GUARDED_BY(lock_);  // by name, until waited for
};

}  // namespace probe
