#pragma once

#include "platform/tasks.h"

/// The engine: a pass over all monitors every minute, until the manager's stop flag is set.
///
/// Threads: `Run` runs on a thread of the host's task service, the only one that is the library's own for its life.
class MonitorDataMergeTask final : public Task {
 public:
  MonitorDataMergeTask();

  /// Sleeps a minute before each pass, so the first pass runs a minute after the start, and a stop that comes during
  /// the sleep lets one more pass run. The time between passes is a minute and the length of a pass.
  void Run() override;
};
