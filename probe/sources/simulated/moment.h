#pragma once

#include <cstdint>
#include <ctime>

namespace probe::simulated {

inline constexpr int kMinutesOfDay = 24 * 60;
inline constexpr int kSaturday = 5;  ///< As `Moment::weekday`; the weekend begins with it.

/// One moment by the local calendar, in whole numbers that serve as `when` of a throw.
struct Moment {
  time_t time = 0;          ///< Seconds since the epoch.
  std::int64_t minute = 0;  ///< Whole minutes since the epoch, rounded down.
  std::int64_t day = 0;     ///< Local calendar days since 1 January 1970.
  int weekday = 0;          ///< 0 Monday to 6 Sunday.
  int minute_of_day = 0;    ///< Minutes since local midnight.
  int second = 0;           ///< Seconds of the minute.

  /// Calendar weeks since the one of 1 January 1970; they begin on Monday.
  std::int64_t Week() const;

  /// The number of the stretch of `minutes_of_slot` minutes that the moment lies in; stretches begin `phase` minutes
  /// before the multiples of their length. They are as long before 1970 as after it.
  std::int64_t Slot(int minutes_of_slot, std::int64_t phase = 0) const;

  /// Minutes of the local calendar. An hour of them comes twice when summer time ends.
  std::int64_t CalendarMinute() const { return day * kMinutesOfDay + minute_of_day; }
};

/// The moment of `time` in the time zone of the process.
Moment MomentOf(time_t time);

/// The weekday of a local calendar day, 0 Monday to 6 Sunday.
int WeekdayOf(std::int64_t day);

/// The Monday with which a calendar week begins.
std::int64_t MondayOf(std::int64_t week);

}  // namespace probe::simulated
