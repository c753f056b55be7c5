#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "monitor/traffic/traffic_records.h"
#include "platform/utilities/locks.h"

namespace monitoring::traffic {

/// The newest speed of each interface, for readers who are not to wait for a fold or a message: their lock is held for
/// writing only while what was staged is put in place, which makes, copies and frees nothing.
///
/// A fold stages the speeds of one device after the other beside those that are shown, and shows them all at once.
///
/// Threads: `Find` any. The others one at a time; the traffic monitor calls them with its collection lock held.
class NewestSpeeds {
 public:
  /// In bytes per second.
  struct Speed {
    std::uint64_t input = 0;
    std::uint64_t output = 0;

    friend bool operator==(const Speed&, const Speed&) = default;
  };

  /// Takes the newest "1m" samples of a device, without showing them yet.
  ///
  /// Fails: with `std::bad_alloc`, also after it was called for other devices; what is shown stays.
  void Stage(const std::string& mac, const DeviceRecord& device) VEXORA_EXCLUDES(lock_);

  /// Shows what was staged; every device of `devices` was. Others are forgotten. Needs no memory.
  void Show(const Devices& devices) VEXORA_EXCLUDES(lock_);

  /// Shows the newest "1m" samples of one device, whatever is staged of others.
  ///
  /// Fails: with `std::bad_alloc`, and then nothing has changed.
  void ShowDevice(const std::string& mac, const DeviceRecord& device) VEXORA_EXCLUDES(lock_);

  void Remove(const std::string& mac) VEXORA_EXCLUDES(lock_);

  /// Nothing for an interface that has no sample.
  std::optional<Speed> Find(const std::string& mac, const std::string& interface) const VEXORA_EXCLUDES(lock_);

 private:
  /// One interface: one speed that is shown and one that is staged.
  struct Row {
    std::string name;
    std::array<Speed, 2> speeds;
    std::array<bool, 2> is_known{};
  };
  using Rows = std::vector<Row>;  // sorted by name
  using RowsByMac = std::map<std::string, Rows, std::less<>>;

  /// Rows for the interfaces of a device, without speeds.
  static Rows RowsFor(const DeviceRecord& device);
  static bool HasNamesOf(const Rows& rows, const DeviceRecord& device);
  static void Write(const DeviceRecord& device, std::size_t place, Rows& rows);

  // Leaf lock. Staging holds it for reading, too: it writes what no reader looks at.
  mutable utilities::lock::RwLock lock_;
  RowsByMac devices_ VEXORA_GUARDED_BY(lock_);
  std::size_t shown_ VEXORA_GUARDED_BY(lock_) = 0;  // which speed of a row is shown, 0 or 1
  RowsByMac changed_;                               // staged, of devices whose interfaces have become others
};

}  // namespace monitoring::traffic
