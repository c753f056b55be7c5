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
  // The flag is read before a sleep only: after a sleep that the stop cuts short there is one pass more.
  while (!manager.stop_flag()) {
    sleep(kPaceSeconds);             // returns early when the host interrupts it with a signal, to stop
    const long now = time(nullptr);  // one time for all monitors, so that their samples of a pass agree
    monitoring::WithinBoundary("MonitorDataMergeTask::Run", [&] { manager.DataUpdate(now); });
  }
}
