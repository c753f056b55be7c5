#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "monitor/reports/network/network_records.h"

/// Days and weeks: what client counts and traffic have in common when samples become days, and days a week.
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

/// `dividend` / `divisor` by the rules of IEEE 754: a divisor of 0 gives infinity or not-a-number, and a report shows
/// these in the first five minutes of a day.
double Quotient(double dividend, std::int32_t divisor);

/// Calls `finish` with every record of a day before today, the oldest day first.
void ForEachFinishedRecord(
    const std::string& today, Buckets& daily,
    const std::function<void(const std::string& day, const std::string& id, AccessPoints& measured)>& finish);

/// Drops the oldest day when there are more than `kMaxReportDays`. Returns whether it did.
bool DropOldestDay(Buckets& daily);
bool DropOldestDay(RogueBuckets& daily);

/// ID -> its records of the days of the current week, oldest first. Valid as long as `daily`.
using WeekOfIds = std::map<std::string, std::vector<const Networks*>>;

/// The days of the current week, by ID. Calls `outside` with each day that is not in it.
WeekOfIds RegroupByWeek(const Buckets& daily, const ReportTime& time,
                        const std::function<void(const std::string& day)>& outside);

}  // namespace vexora_probe::monitor
