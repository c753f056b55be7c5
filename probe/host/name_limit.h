#pragma once

#include <cstddef>
#include <string>
#include <unordered_set>

namespace probe {

/// Which names of interfaces a source has told of one device since the probe started.
///
/// The plug-in keeps a history for each of them until the device is removed, so their number is bounded: a machine that
/// starts a container every minute, or a device that renames its ports in every reading, would fill the memory and
/// stretch the passes. A name that came in time stays good.
///
/// Threads: one at a time.
class NameLimit {
 public:
  /// More than the rows of the largest table that is read from a device, 10,000.
  static constexpr std::size_t kMaxNames = 12'000;

  /// Whether the name is one of those that are told; notes it while there is room.
  bool Admit(const std::string& name);

  /// Whether a name was refused that is to be reported: true once.
  bool TakeRefusal();

 private:
  std::unordered_set<std::string> names_;
  bool has_refused_ = false;
  bool is_reported_ = false;
};

}  // namespace probe
