#include "probe/host/task_service.h"

#include <pthread.h>

#include <chrono>
#include <csignal>
#include <new>
#include <string>
#include <system_error>
#include <utility>

int task_manager::StartTask(std::shared_ptr<Task> task) {
  return probe::TaskService::Instance().Start(std::move(task));
}

void task_manager::WaitTaskPool(const std::string& name) {
  probe::TaskService::Instance().Wait(name);
}

using utilities::lock::lock_guard;

namespace probe {
namespace {

constexpr int kWakeSignal = SIGUSR1;
constexpr auto kWakeInterval = std::chrono::milliseconds(5);

/// Makes the wake signal interrupt system calls and do nothing else.
void InstallWakeHandler() {
  // Without SA_RESTART, with which sem_wait(3), in which the virtual clock sleeps, would go on waiting. signal(7)
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigemptyset(&action.sa_mask);
  sigaction(kWakeSignal, &action, nullptr);
}

}  // namespace

TaskService& TaskService::Instance() {
  static TaskService service;
  return service;
}

int TaskService::Start(std::shared_ptr<Task> task) {
  if (task == nullptr) return -1;
  const lock_guard held(lock_);
  if (tasks_.contains(task->name())) return -1;
  InstallWakeHandler();
  try {
    const auto place = tasks_.emplace(task->name(), std::make_shared<RunningTask>()).first;
    if (StartThread(*place->second, std::move(task))) return 0;
    tasks_.erase(place);
  } catch (const std::bad_alloc&) {
    // Nothing was added: the place of a task is made last.
  }
  return -1;
}

bool TaskService::StartThread(RunningTask& running, std::shared_ptr<Task> task) {
  try {
    running.thread =
        std::thread([this, &running, owned = std::move(task)]() mutable { Run(std::move(owned), running); });
    return true;
  } catch (const std::system_error&) {
    return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void TaskService::Run(std::shared_ptr<Task> task, RunningTask& running) {
  task->Run();
  task.reset();  // its code may be unloaded as soon as the waiter is told
  const lock_guard held(lock_);
  running.is_over = true;
  task_over_.NotifyAll();
}

void TaskService::Wait(const std::string& name) {
  const lock_guard held(lock_);
  const auto found = tasks_.find(name);
  if (found == tasks_.end()) return;
  // Shared, for another waiter may take the task out of the map first.
  const std::shared_ptr<RunningTask> running = found->second;
  auto next_signal = std::chrono::steady_clock::now() + kWakeInterval;
  while (!running->is_over) {
    const bool is_signal_due = !task_over_.WaitUntil(lock_, next_signal);
    if (!is_signal_due || running->is_over) continue;  // a task that is over may have been joined by another waiter
    pthread_kill(running->thread.native_handle(), kWakeSignal);
    next_signal = std::chrono::steady_clock::now() + kWakeInterval;
  }
  if (!running->thread.joinable()) return;  // another waiter was first
  running->thread.join();                   // at once: the thread is past its last use of lock_
  tasks_.erase(name);
}

}  // namespace probe
