#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "probe/host/device_snapshot.h"
#include "probe/journal/journal_entry.h"

namespace probe::journal {

/// What becomes of a device before a pass.
struct NamedChange {
  std::string mac;
  std::shared_ptr<const DeviceSnapshot> snapshot;  ///< Null: it is not known, or no longer; its place in the lists is.
};

/// Follows the passes of a journal over its segments: which devices change, appear and are forgotten.
///
/// Threads: one at a time.
class EntryFollower {
 public:
  /// Another segment begins. What its first pass does not find is forgotten: after a restart the sources may not have
  /// reported every device again.
  void BeginSegment();

  /// The changes before this pass, those of devices that are named for the first time in the order of their places.
  std::vector<NamedChange> Follow(const PassEntry& pass);

 private:
  void ForgetOthers(const PassEntry& pass, std::vector<NamedChange>& changes);

  std::vector<std::string> macs_;  // of the segment, by place
  std::set<std::string> known_;
  bool is_first_pass_ = false;
};

}  // namespace probe::journal
