#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"

namespace monitoring {

/// The devices that a pass reads, and which of them were cleaned up since it began: what was read of these is not
/// kept, for nobody would remove it again.
///
/// A monitor forgets a device and keeps a reading under one lock of its own. It calls `Remove` and `IsRemoved` with
/// that lock held, so that a clean-up comes before a reading is kept, or finds it.
///
/// Threads: `Begin` and the list that it gives are the engine's; the others are anybody's.
class PassDevices {
 public:
  /// Begins a pass over these devices. The list is valid until the next pass.
  ///
  /// Fails: with `std::bad_alloc`, and then the pass before goes on.
  const std::vector<std::string>& Begin(std::vector<std::string> macs) VEXORA_EXCLUDES(lock_);

  /// Notes that a device was cleaned up. Allocates nothing: a clean-up must not fail here.
  void Remove(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Whether a device was cleaned up since the pass began.
  bool IsRemoved(const std::string& mac) const VEXORA_EXCLUDES(lock_);

 private:
  mutable utilities::lock::Mutex lock_;
  // Written by the engine's thread with the lock held, and read by it without.
  std::vector<std::string> macs_;
  std::vector<const std::string*> removed_ VEXORA_GUARDED_BY(lock_);  // of macs_; has room for all of them
  // Asked for each device, and as good as always false. Relaxed: the monitor's own lock orders it.
  std::atomic<bool> is_any_removed_{false};
};

}  // namespace monitoring
