#pragma once

#include <cstdint>
#include <string>

namespace vexora_probe::monitor {

/// Where a pass stands in the calendar of the local time zone.
struct ReportTime {
  std::string day;           ///< Key of the current day.
  std::string week;          ///< Key of the current week.
  std::string week_start;    ///< Its first day.
  std::string week_end;      ///< Its last day.
  std::int32_t weekday = 0;  ///< 0 for Sunday.
  std::int32_t slots = 0;    ///< Five-minute slots of the day that have begun.

  /// Whether a day lies in the current week, both ends included.
  bool IsInWeek(const std::string& other) const { return week_start <= other && other <= week_end; }

  /// Days of the week that have begun.
  std::int32_t WeekdaysBegun() const { return weekday + 1; }
};

}  // namespace vexora_probe::monitor
