#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/tasks.h"

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

  /// As `task_manager::StartTask`; refuses a task whose name is running with -1.
  int Start(std::shared_ptr<Task> task);

  /// As `task_manager::WaitTaskPool`.
  void Wait(const std::string& name);

 private:
  struct RunningTask {
    std::thread thread;
    bool is_over = false;
  };

  /// Starts the thread of a task that was just filed. False when there can be no more threads.
  bool StartThread(RunningTask& running, std::shared_ptr<Task> task);
  void Run(std::shared_ptr<Task> task, RunningTask& running);

  std::mutex lock_;
  std::condition_variable task_over_;
  std::map<std::string, std::shared_ptr<RunningTask>> tasks_;  // by name, until waited for; guarded by lock_
};

}  // namespace probe
