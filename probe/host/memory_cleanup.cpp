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
  std::function<void(const std::string&)> observer VEXORA_GUARDED_BY(lock);
  bool are_held VEXORA_GUARDED_BY(lock) = false;
  std::vector<std::string> waiting VEXORA_GUARDED_BY(lock);
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

void probe::CleanUpDevice(const std::string& mac) {
  CleanUps& clean_ups = TheCleanUps();
  {
    const utilities::lock::lock_guard held(clean_ups.lock);
    if (clean_ups.are_held) {
      clean_ups.waiting.push_back(mac);
      // At once: a process that goes down meanwhile has forgotten those that wait.
      if (clean_ups.observer) clean_ups.observer(mac);
      return;
    }
  }
  CallMemoryCleanup(mac);
  // Afterwards, so that a pass which began before is written down before: the clean-up has the last word.
  const utilities::lock::lock_guard held(clean_ups.lock);
  if (clean_ups.observer) clean_ups.observer(mac);
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

void probe::SetCleanUpObserver(std::function<void(const std::string& mac)> observer) {
  CleanUps& clean_ups = TheCleanUps();
  const utilities::lock::lock_guard held(clean_ups.lock);
  clean_ups.observer = std::move(observer);
}
