#pragma once

#include <cstddef>
#include <string>

#include "monitor/clientcount/client_count_records.h"
#include "monitor/engine/json_writer.h"

namespace monitoring::clientcount {

/// Appends a series as a JSON object: the minute since the epoch, in decimal -> the count.
void AppendSamples(std::string& text, const Series& series);

/// Writes a JSON object: id -> its series, and a key for the sum of all of them.
class SeriesWriter {
 public:
  /// Opens the object at the end of `text`, to which nobody else appends. `sum_key` is a constant.
  SeriesWriter(std::string& text, const char* sum_key) : text_(text), object_(text), sum_key_(sum_key) {}

  /// Adds a series, which is an object as text. Ids come in ascending order.
  void Add(const std::string& id, const std::string& samples);

  /// Adds the sum, in place of a series whose id is the key of the sum, and closes the object. The last call.
  void Close(const Totals& totals);

 private:
  std::string& text_;
  ObjectWriter object_;
  const char* sum_key_;
  // The series that has the key of the sum, an SSID that somebody chose: where it begins, and its length, 0 for none.
  std::size_t namesake_ = 0;
  std::size_t namesake_length_ = 0;
};

/// A JSON object: SSID -> `{"count"}`.
std::string CurrentSsidsText(const CountById& counts);

/// A JSON object: device MAC -> (SSID -> `{"ssid", "count"}`).
std::string CurrentDevicesText(const CurrentCounts& counts);

}  // namespace monitoring::clientcount
