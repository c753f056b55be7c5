#include "probe/host/memory_cleanup.h"

#include <atomic>

#include "platform/tasks.h"

namespace {
// Atomic: it is registered on one thread and called on any.
std::atomic<MonitorMemoryCleanup> registered{nullptr};
}  // namespace

void RegisterMonitorMemoryCleanup(MonitorMemoryCleanup cleanup) {
  registered.store(cleanup);
}

void probe::CleanUpDevice(const std::string& mac) {
  const MonitorMemoryCleanup cleanup = registered.load();
  if (cleanup != nullptr) cleanup(mac);
}
