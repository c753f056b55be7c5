#include "monitor/engine/merge_task.h"

#include <unistd.h>

#include <ctime>

#include "monitor/engine/boundary.h"
#include "monitor/engine/constants.h"
#include "monitor/engine/monitoring_manager.h"

namespace {
constexpr unsigned kPaceSeconds = 60;
}  // namespace

MonitorDataMergeTask::MonitorDataMergeTask() : Task(monitoring::kMergeTask) {}

void MonitorDataMergeTask::Run() {
  MonitoringManager& manager = MonitoringManager::GetInstance();
  while (!manager.stop_flag()) {
    sleep(kPaceSeconds);
    const long now = time(nullptr);
    monitoring::WithinBoundary("MonitorDataMergeTask::Run", [&] { manager.DataUpdate(now); });
  }
}
