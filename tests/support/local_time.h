#pragma once

#include <ctime>
#include <string>

namespace test {

/// Makes a time zone the local one until the end of the scope, when UTC takes its place.
///
/// Threads: none may read local times meanwhile. Fails: a zone that the machine does not have fails the test.
class LocalZone {
 public:
  explicit LocalZone(const std::string& name) { Set(name); }
  ~LocalZone();
  LocalZone(const LocalZone&) = delete;
  LocalZone& operator=(const LocalZone&) = delete;

  /// Makes another one the local one.
  void Set(const std::string& name);
};

/// The moment of a local date and time. Of an hour that comes twice, `is_summer_time` tells which.
time_t At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int is_summer_time = -1);

}  // namespace test
