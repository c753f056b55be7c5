#include "probe/sources/simulated/moment.h"

namespace probe::simulated {
namespace {

constexpr std::int64_t kDaysOfWeek = 7;
constexpr std::int64_t kFirstWeekday = 3;  // 1 January 1970 was a Thursday

/// Days since 1 January 1970 of a date of the Gregorian calendar. The year is counted from March, so that the day that
/// some years have more comes last in it.
std::int64_t DaysOf(std::int64_t year, int month, int day) {
  if (month <= 2) --year;
  const std::int64_t era = FloorDivide(year, 400);
  const std::int64_t year_of_era = year - era * 400;
  const std::int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  constexpr std::int64_t kDaysOfEra = 146'097;
  constexpr std::int64_t kDaysToEpoch = 719'468;  // from 1 March 0000
  return era * kDaysOfEra + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - kDaysToEpoch;
}

}  // namespace

std::int64_t FloorDivide(std::int64_t dividend, std::int64_t divisor) {
  return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

int WeekdayOf(std::int64_t day) {
  return static_cast<int>(day + kFirstWeekday - FloorDivide(day + kFirstWeekday, kDaysOfWeek) * kDaysOfWeek);
}

std::int64_t MondayOf(std::int64_t week) {
  return week * kDaysOfWeek - kFirstWeekday;
}

std::int64_t Moment::Week() const {
  return FloorDivide(day + kFirstWeekday, kDaysOfWeek);
}

Moment MomentOf(time_t time) {
  tm local{};
  localtime_r(&time, &local);
  Moment moment;
  moment.time = time;
  moment.minute = FloorDivide(time, 60);
  moment.day = DaysOf(std::int64_t{local.tm_year} + 1900, local.tm_mon + 1, local.tm_mday);
  moment.weekday = WeekdayOf(moment.day);
  moment.minute_of_day = local.tm_hour * 60 + local.tm_min;
  moment.second = local.tm_sec;
  return moment;
}

}  // namespace probe::simulated
