#pragma once

#include <cstdint>
#include <ctime>
#include <string>

/// Names of days, weeks and moments in the local time zone: the keys of the day and week buckets.
///
/// Units: seconds since the epoch. Threads: any.
/// Fails: never a fault. A time that has no calendar date gives the keys of an empty date (1900-01-00); one whose year
///        has more than four digits gives texts that are empty or lack a part, for the keys have room for four.
namespace monitoring::time_keys {

inline constexpr std::int32_t kDaySeconds = 86'400;  ///< Of a day without a change of the clock.

/// What the local clock and calendar show; all zero for a time that has no calendar date.
tm LocalTime(time_t time);

/// Whole minutes since the epoch, rounded towards 0: the stamp of samples in messages.
constexpr std::int64_t Minute(long time) {
  constexpr std::int64_t kMinuteSeconds = 60;
  return std::int64_t{time} / kMinuteSeconds;
}

/// The local date, as in 2026-11-15.
std::string Day(long time);

/// The local date and time, as in 2026-11-15 07:14:35.
std::string DateTime(long time);

/// The Sunday-to-Saturday week that holds `time`, as in 2026-11-15/2026-11-21.
///
/// Every day is taken as 86400 seconds, on purpose: around a daylight-saving change either end may fall one calendar
/// day off.
std::string Week(long time);

/// How far the local clock stands into its day: hours, minutes and seconds as they are read off it.
///
/// On a day on which the clock is put forward or back that is not the time that has passed.
std::int32_t SecondsIntoDay(long time);

/// How far the local clock stands into its Sunday-to-Saturday week, in days of 86400 seconds.
std::int32_t SecondsIntoWeek(long time);

}  // namespace monitoring::time_keys
