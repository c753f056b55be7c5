#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "platform/utilities/locks.h"

namespace monitoring {

/// The devices that were cleaned up since the engine's pass began, for the monitors whose turn in it has not come: the
/// host may still name such a device to them. One for the process.
///
/// Threads: `Open` and `Close` are the engine's; the others are anybody's.
class PassCleanUps {
 public:
  static PassCleanUps& GetInstance();

  PassCleanUps() = default;
  PassCleanUps(const PassCleanUps&) = delete;
  PassCleanUps& operator=(const PassCleanUps&) = delete;

  /// A pass begins: clean-ups are noted from now on, until it is closed.
  void Open() VEXORA_EXCLUDES(lock_);
  void Close() VEXORA_EXCLUDES(lock_);

  /// Notes that a device is about to be cleaned up. Never fails, for a clean-up must not fail here: when there is no
  /// memory for it, `Noted` does.
  void Note(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Those noted.
  ///
  /// Fails: with `std::bad_alloc`, also when there was no memory to note one.
  std::vector<std::string> Noted() const VEXORA_EXCLUDES(lock_);

 private:
  mutable utilities::lock::Mutex lock_;  // leaf
  bool is_open_ VEXORA_GUARDED_BY(lock_) = false;
  bool is_one_missing_ VEXORA_GUARDED_BY(lock_) = false;
  std::vector<std::string> noted_ VEXORA_GUARDED_BY(lock_);
};

/// The devices that a monitor's pass reads, and which of them were cleaned up since it began: what was read of these is
/// not kept, for nobody would remove it again.
///
/// A monitor forgets a device and keeps a reading under one lock of its own. It calls `Remove` and `IsRemoved` with
/// that lock held, so that a clean-up comes before a reading is kept, or finds it.
///
/// Threads: `Begin`, `End` and the list are the engine's; the others are anybody's.
class PassDevices {
 public:
  /// Begins a pass over these devices. The list is valid until the next one begins. Those that `PassCleanUps` has noted
  /// count as removed.
  ///
  /// Fails: with `std::bad_alloc`, and then the pass before goes on.
  const std::vector<std::string>& Begin(std::vector<std::string> macs) VEXORA_EXCLUDES(lock_);

  /// Everything that was read is kept: from now on a clean-up finds it, and there is nothing to note.
  void End() VEXORA_EXCLUDES(lock_);

  /// Notes that a device was cleaned up. Allocates nothing: a clean-up must not fail here.
  void Remove(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Whether a device was cleaned up since the pass began.
  bool IsRemoved(const std::string& mac) const VEXORA_EXCLUDES(lock_);

 private:
  struct Place {
    const std::string* mac = nullptr;  // of macs_
    bool is_removed = false;
  };

  /// The first place of a MAC, by which it is looked up; null for one that is not in the list.
  static Place* Find(std::vector<Place>& places, const std::string& mac);

  mutable utilities::lock::Mutex lock_;  // before that of PassCleanUps
  // Written by the engine's thread with the lock held, and read by it without.
  std::vector<std::string> macs_;
  // In the order of the MACs. Mutable for `Find`, which gives what `Remove` changes.
  mutable std::vector<Place> places_ VEXORA_GUARDED_BY(lock_);
  // Asked for each device, and as good as always false. Relaxed: the monitor's own lock orders it.
  std::atomic<bool> is_any_removed_{false};
};

}  // namespace monitoring
