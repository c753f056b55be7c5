#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"

namespace storm {

/// The topics of the live monitors.
extern const std::vector<std::string> kTopics;

/// Looks at every message and every report of the storm: that it follows its schema, and that its figures may be.
///
/// Threads: any.
class Checks {
 public:
  /// A message that was pushed, with its envelope.
  void Message(const std::string& text) VEXORA_EXCLUDES(lock_);

  /// A report, or a list of the reports on offer, by the name of its schema.
  void Report(const std::string& schema, const std::string& text) VEXORA_EXCLUDES(lock_);

  /// What `GetInterfaceTraffic` gave for an interface.
  void Speed(int device, const std::string& interface, const std::map<std::string, unsigned long long>& speeds)
      VEXORA_EXCLUDES(lock_);

  /// From now on a report may be "{}": there are no monitors any longer.
  void AllowNothing() { is_nothing_allowed_ = true; }

  /// Notes something that must not be. The first few are printed.
  void Fault(const std::string& what) VEXORA_EXCLUDES(lock_);

  int faults() const { return faults_; }
  /// How many of these were looked at and held more than nothing, by topic or schema.
  std::map<std::string, int> Filled() const VEXORA_EXCLUDES(lock_);

 private:
  void NoteFilled(const std::string& what) VEXORA_EXCLUDES(lock_);

  mutable utilities::lock::Mutex lock_;
  std::map<std::string, int> filled_ VEXORA_GUARDED_BY(lock_);
  std::atomic<int> faults_{0};
  std::atomic<bool> is_nothing_allowed_{false};
};

}  // namespace storm
