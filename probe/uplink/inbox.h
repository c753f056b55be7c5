#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/utilities/locks.h"
#include "probe/uplink/spool.h"

namespace probe::uplink {

/// The texts of passes until they lie in the spool: whoever puts them in never waits for the disk.
///
/// Threads: any.
class Inbox {
 public:
  /// Texts above `max_bytes` in all are cut off, oldest first.
  explicit Inbox(std::size_t max_bytes) : max_bytes_(max_bytes) {}

  /// Puts texts behind those that are there.
  void Put(std::vector<SpooledMessage> messages) VEXORA_EXCLUDES(lock_);

  /// All that is there, oldest first; nothing is left.
  std::vector<SpooledMessage> TakeAll() VEXORA_EXCLUDES(lock_);

  /// Puts what was taken in front of what has come since.
  void PutBack(std::vector<SpooledMessage> messages) VEXORA_EXCLUDES(lock_);

  /// How many texts were cut off.
  std::uint64_t cut() const VEXORA_EXCLUDES(lock_);

 private:
  void CutOff() VEXORA_REQUIRES(lock_);

  const std::size_t max_bytes_;
  mutable utilities::lock::Mutex lock_;  // leaf lock
  std::vector<SpooledMessage> messages_ VEXORA_GUARDED_BY(lock_);
  std::uint64_t cut_ VEXORA_GUARDED_BY(lock_) = 0;
};

}  // namespace probe::uplink
