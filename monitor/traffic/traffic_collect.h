#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "monitor/traffic/traffic_records.h"
#include "platform/device_centre.h"

namespace monitoring::traffic {

/// The counters of one interface that is measured.
struct MeasuredInterface {
  std::string own_name;  ///< As the device has it.
  std::string name;      ///< The display name.
  Counters counters;
  std::int32_t if_index = 0;
};

/// What one device reports of its interfaces that are measured.
///
/// It is filled anew for each device and keeps the memory of the one before.
class Reading {
 public:
  using Interfaces = std::vector<MeasuredInterface>;

  time_t sampled_at = 0;  ///< When, by the device's clock; tells one reading from the next.

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  Interfaces::iterator begin() { return interfaces_.begin(); }
  Interfaces::iterator end() { return begin() + static_cast<Interfaces::difference_type>(size_); }
  Interfaces::const_iterator begin() const { return interfaces_.begin(); }
  Interfaces::const_iterator end() const { return begin() + static_cast<Interfaces::difference_type>(size_); }

  void Clear() {
    sampled_at = 0;
    size_ = 0;
  }

  /// Appends an interface, which still holds what stood there in an earlier reading.
  MeasuredInterface& Append();

  /// Puts the interfaces in the order of their display names. Of several with one name the last one is kept.
  void SortByName();

 private:
  Interfaces interfaces_;  // those behind `size_` keep their texts' memory
  std::size_t size_ = 0;
};

/// Reads the interfaces of a device that are measured: in operation, with statistics, and with a name that is neither
/// empty nor a plain number. Each is logged at debug level. Display names are not set.
void ReadInterfaces(const std::string& mac, const Device& device, Reading& reading);

/// Reads which wireless network an interface carries, and on which radio, into a record that may have held another.
/// Logged at debug level.
void ReadAttributeInfo(const Device& device, const std::string& interface, AttributeInfo& info);

}  // namespace monitoring::traffic
