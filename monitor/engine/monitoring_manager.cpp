#include "monitor/engine/monitoring_manager.h"

#include <utility>
#include <vector>

#include "monitor/engine/constants.h"
#include "monitor/engine/merge_task.h"
#include "platform/logging.h"
#include "platform/tasks.h"

using utilities::lock::lock_guard;

namespace {

/// The topics that a monitor feeds: its own name, but for the client-count monitor, which feeds two others.
std::vector<std::string> TopicsOf(const std::string& name) {
  if (name == monitoring::kClientCountMonitor) {
    return {monitoring::kSsidClientCountMonitor, monitoring::kDevicesClientCountMonitor};
  }
  return {name};
}

}  // namespace

MonitoringManager& MonitoringManager::GetInstance() {
  static MonitoringManager manager;
  return manager;
}

void MonitoringManager::RegisterMonitor(std::shared_ptr<Monitor> monitor) {
  if (monitor == nullptr) return;
  const std::string name = monitor->GetMonitorName();
  {
    const lock_guard held(registry_lock_);
    if (!monitors_.emplace(name, monitor).second) return;
  }
  // Without the lock: the host may ask for the monitor while it adds the subscriber.
  auto& subscriptions = subscribes::SubscribesManager::GetInstance();
  for (const std::string& topic : TopicsOf(name)) subscriptions.AddSubscriber(topic, monitor);
}

std::shared_ptr<Monitor> MonitoringManager::GetMonitor(const std::string& name) const {
  const lock_guard held(registry_lock_);
  const auto found = monitors_.find(name);
  return found == monitors_.end() ? nullptr : found->second;
}

MonitoringManager::Registry MonitoringManager::Monitors() const {
  const lock_guard held(registry_lock_);
  return monitors_;
}

void MonitoringManager::DataUpdate(const long& now) {
  for (const auto& [name, monitor] : Monitors()) {
    monitor->set_current_time(now);
    monitor->DataUpdate();
  }
}

void MonitoringManager::Cleanup(const std::string& mac) {
  for (const auto& [name, monitor] : Monitors()) monitor->Cleanup(mac);
}

void MonitoringManager::startMonitorEngine() {
  if (task_manager::StartTask(std::make_shared<MonitorDataMergeTask>()) < 0) {
    pel_log_error(log_module::kManager, "[MonitoringManager::startMonitorEngine] Add monitor merge task failed");
  }
}

void MonitoringManager::stopMonitorEngine() {
  set_stop_flag(true);  // before the wait: the task looks at it after each pass
  for (const auto& [name, monitor] : Monitors()) monitor->stop_monitor();
  // No lock is held: the pass that the task may still make looks at the registry.
  task_manager::WaitTaskPool(monitoring::kMergeTask);
  pel_log_debug(log_module::kManager, "[MonitoringManager::stopMonitorEngine] The merge task is finished");
  Registry released;  // freed without the lock: a monitor's destructor calls the host
  const lock_guard held(registry_lock_);
  monitors_.swap(released);
}

bool MonitoringManager::stop_flag() const {
  const lock_guard held(stop_lock_);
  return stop_flag_;
}

void MonitoringManager::set_stop_flag(const bool& stop) {
  const lock_guard held(stop_lock_);
  stop_flag_ = stop;
}
