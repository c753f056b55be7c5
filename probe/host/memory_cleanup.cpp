#include "probe/host/memory_cleanup.h"

#include <atomic>
#include <utility>
#include <vector>

#include "platform/tasks.h"
#include "platform/utilities/locks.h"

namespace {

// Atomic: it is registered on one thread and called on any.
std::atomic<MonitorMemoryCleanup> registered{nullptr};

/// Who is told of clean-ups, and those that wait. The plug-in is called without the lock.
struct CleanUps {
  utilities::lock::Mutex lock;
  utilities::lock::CondVar changed;
  std::function<void(const std::string&, probe::CleanUpReason)> observer VEXORA_GUARDED_BY(lock);
  bool are_held VEXORA_GUARDED_BY(lock) = false;
  std::vector<std::string> waiting VEXORA_GUARDED_BY(lock);
  bool is_in_pass VEXORA_GUARDED_BY(lock) = false;
  std::vector<std::pair<std::string, probe::CleanUpReason>> behind_pass VEXORA_GUARDED_BY(lock);
  unsigned under_way VEXORA_GUARDED_BY(lock) = 0;  // calls of the plug-in
};

CleanUps& TheCleanUps() {
  static CleanUps clean_ups;
  return clean_ups;
}

}  // namespace

void RegisterMonitorMemoryCleanup(MonitorMemoryCleanup cleanup) {
  registered.store(cleanup);
}

void probe::CallMemoryCleanup(const std::string& mac) {
  const MonitorMemoryCleanup cleanup = registered.load();
  if (cleanup != nullptr) cleanup(mac);
}

void probe::CleanUpDevice(const std::string& mac, CleanUpReason reason) {
  CleanUps& clean_ups = TheCleanUps();
  {
    const utilities::lock::lock_guard held(clean_ups.lock);
    if (clean_ups.is_in_pass) {
      clean_ups.behind_pass.emplace_back(mac, reason);
      return;
    }
    if (clean_ups.are_held) {
      clean_ups.waiting.push_back(mac);
      // At once: a process that goes down meanwhile has forgotten those that wait.
      if (clean_ups.observer) clean_ups.observer(mac, reason);
      return;
    }
    ++clean_ups.under_way;
  }
  CallMemoryCleanup(mac);
  const utilities::lock::lock_guard held(clean_ups.lock);
  if (clean_ups.observer) clean_ups.observer(mac, reason);
  if (--clean_ups.under_way == 0) clean_ups.changed.NotifyAll();
}

void probe::HoldCleanUpsForPass() {
  CleanUps& clean_ups = TheCleanUps();
  const utilities::lock::lock_guard held(clean_ups.lock);
  clean_ups.is_in_pass = true;
  while (clean_ups.under_way != 0) clean_ups.changed.Wait(clean_ups.lock);
}

void probe::ReleaseCleanUpsAfterPass() {
  CleanUps& clean_ups = TheCleanUps();
  std::vector<std::pair<std::string, CleanUpReason>> behind_pass;
  {
    const utilities::lock::lock_guard held(clean_ups.lock);
    clean_ups.is_in_pass = false;
    behind_pass.swap(clean_ups.behind_pass);
  }
  for (const auto& [mac, reason] : behind_pass) CleanUpDevice(mac, reason);
}

void probe::HoldCleanUps(bool hold) {
  CleanUps& clean_ups = TheCleanUps();
  std::vector<std::string> waiting;
  {
    const utilities::lock::lock_guard held(clean_ups.lock);
    clean_ups.are_held = hold;
    if (!hold) waiting.swap(clean_ups.waiting);
  }
  for (const std::string& mac : waiting) CallMemoryCleanup(mac);
}

void probe::SetCleanUpObserver(std::function<void(const std::string& mac, CleanUpReason reason)> observer) {
  CleanUps& clean_ups = TheCleanUps();
  const utilities::lock::lock_guard held(clean_ups.lock);
  clean_ups.observer = std::move(observer);
}
