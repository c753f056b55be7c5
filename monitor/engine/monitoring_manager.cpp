#include "monitor/engine/monitoring_manager.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <utility>
#include <vector>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/merge_task.h"
#include "monitor/engine/pass_devices.h"
#include "platform/logging.h"
#include "platform/tasks.h"

using monitoring::WithinBoundary;
using utilities::lock::lock_guard;

namespace {

/// The topics that a monitor feeds: its own name, but for the client-count monitor, which feeds two others.
std::vector<std::string> TopicsOf(const std::string& name) {
  if (name == monitoring::kClientCountMonitor) {
    return {monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor};
  }
  return {name};
}

/// A boundary around an operation of one monitor: a defect of one is not to hide those of the others. Needs no memory.
template <typename Step>
void WithinMonitor(const std::string& name, const char* operation, std::atomic<bool>& is_reported, Step step) {
  std::array<char, 128> place{};
  static_cast<void>(std::snprintf(place.data(), place.size(), "%s::%s", name.c_str(), operation));
  WithinBoundary(place.data(), step, monitoring::kDefectPolicy, is_reported);
}

/// Has clean-ups noted while a pass is made, also one from which a cancelled thread unwinds.
class NotedCleanUps {
 public:
  NotedCleanUps() { monitoring::PassCleanUps::GetInstance().Open(); }
  ~NotedCleanUps() { monitoring::PassCleanUps::GetInstance().Close(); }
  NotedCleanUps(const NotedCleanUps&) = delete;
  NotedCleanUps& operator=(const NotedCleanUps&) = delete;
};

}  // namespace

MonitoringManager& MonitoringManager::GetInstance() {
  static MonitoringManager manager;
  return manager;
}

MonitoringManager::MonitoringManager()
    : merge_task_(monitoring::kMergeTask),
      monitors_(std::make_shared<const Registry>()),
      no_monitors_(std::make_shared<const Registry>()) {}

void MonitoringManager::RegisterMonitor(const std::shared_ptr<Monitor>& monitor) {
  if (monitor == nullptr) return;
  const std::string name = monitor->GetMonitorName();
  const SharedRegistry before = Monitors();
  const auto known = before->find(name);
  if (known != before->end()) {
    Subscribe(name, known->second);
    return;
  }
  const Registered registered{monitor, std::make_shared<State>()};
  auto registry = std::make_shared<Registry>(*before);
  registry->emplace(name, registered);
  {
    const lock_guard held(registry_lock_);
    monitors_ = std::move(registry);
  }
  try {
    Subscribe(name, registered);
  } catch (...) {
    // A monitor that nobody can subscribe to would keep its place from one that comes when there is memory again.
    if (registered.state->topics_fed == 0) {
      const lock_guard held(registry_lock_);
      monitors_ = before;
    }
    throw;
  }
}

void MonitoringManager::Subscribe(const std::string& name, const Registered& registered) {
  // Without the lock: the host may ask for the monitor while it adds the subscriber.
  auto& subscriptions = subscribes::SubscribesManager::GetInstance();
  const std::vector<std::string> topics = TopicsOf(name);
  for (std::size_t& fed = registered.state->topics_fed; fed < topics.size(); ++fed) {
    subscriptions.AddSubscriber(topics[fed], registered.monitor);
  }
}

std::shared_ptr<Monitor> MonitoringManager::GetMonitor(const std::string& name) const {
  const SharedRegistry monitors = Monitors();
  const auto found = monitors->find(name);
  return found == monitors->end() ? nullptr : found->second.monitor;
}

MonitoringManager::SharedRegistry MonitoringManager::Monitors() const {
  const lock_guard held(registry_lock_);
  return monitors_;
}

void MonitoringManager::DataUpdate(const long& now) {
  const SharedRegistry monitors = Monitors();
  // Also of those monitors whose turn comes late: devices may stand still in the host for the whole pass.
  const NotedCleanUps noted;
  for (const auto& [name, registered] : *monitors) {
    WithinMonitor(name, "DataUpdate", registered.state->is_defect_reported, [&, &each = *registered.monitor] {
      each.set_current_time(now);
      each.DataUpdate();
    });
  }
}

void MonitoringManager::Cleanup(const std::string& mac) {
  const SharedRegistry monitors = Monitors();
  // First: a monitor that begins its pass meanwhile finds it here, or is told below.
  monitoring::PassCleanUps::GetInstance().Note(mac);
  for (const auto& [name, registered] : *monitors) {
    WithinMonitor(name, "Cleanup", registered.state->is_defect_reported,
                  [&mac, &each = *registered.monitor] { each.Cleanup(mac); });
  }
}

void MonitoringManager::startMonitorEngine() {
  if (task_manager::StartTask(std::make_shared<MonitorDataMergeTask>()) < 0) {
    pel_log_error(log_module::kManager, "[MonitoringManager::startMonitorEngine] Add monitor merge task failed");
  }
}

void MonitoringManager::stopMonitorEngine() {
  set_stop_flag(true);  // before the wait: the task looks at it after each pass
  SharedRegistry monitors = Monitors();
  for (const auto& [name, registered] : *monitors) {
    WithinMonitor(name, "stop_monitor", registered.state->is_defect_reported,
                  [&each = *registered.monitor] { each.stop_monitor(); });
  }
  // No lock is held: the pass that the task may still make looks at the registry.
  task_manager::WaitTaskPool(merge_task_);
  WithinBoundary("MonitoringManager::stopMonitorEngine", [] {
    pel_log_debug(log_module::kManager, "[MonitoringManager::stopMonitorEngine] The merge task is finished");
  });
  // The monitors are freed without the lock, with the last reference: a monitor's destructor calls the host.
  const lock_guard held(registry_lock_);
  monitors_ = no_monitors_;
}

bool MonitoringManager::stop_flag() const {
  const lock_guard held(stop_lock_);
  return stop_flag_;
}

void MonitoringManager::set_stop_flag(const bool& stop) {
  const lock_guard held(stop_lock_);
  stop_flag_ = stop;
}
